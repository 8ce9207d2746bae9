#include "mods/styles/ImageModMagazine.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModLuminanceContrast.h"
#include "mods/basic/ImageModSaturation.h"
#include "mods/colour/ColorOverlayFilters.h"
#include "mods/colour/ColorizeFilters.h"
#include "mods/curves/ToneCurveFilters.h"

namespace {

// The rates at which the variation moves this look's settings.
constexpr double F2 = 0.033740705144660564;
constexpr double F3 = 0.044673449142009804;
constexpr double F4 = 0.06000441866188032;
constexpr double F6 = 0.08105308810215502;

char const* const magazineCurves[2] = {
    "0.000000 0.000000 0.146341 0.146341 0.439024 0.371951 0.695122 0.560976 0.878049 0.790650 1.000000 1.000000",
    "0.000000 0.500000 0.111511 0.660837 0.471223 0.708374 0.773381 0.488424 1.000000 0.500000"};

} // namespace

ImageModMagazine::ImageModMagazine(int version)
    : ImageModTemplate("Magazine", "Magazine Camera")
{
    description = "Rich tones and contrast perfect for glossy pages.";
    addStyleVars(1.0f, 0.0f, version);
}

void ImageModMagazine::buildSteps(float a, double v, StyleSteps* steps) const
{
    if (version == 2) {
        steps->add<ImageModLuminanceContrast>(float(1.0 + a * wave(v, 0.28, 0.06, F4)), 118.0f);
        steps->add<ImageModColorizeCurve>(magazineCurves[1], colourFromHSV(wave(v, 20.0, 25.0, F2, 1.0), 0.55, 1.0),
                                          a);
        steps->add<ImageModColorFilter>(float(a * wave(v, 0.12, 0.05, F6)), OVRGBColor(150.0f, 132.0f, 112.0f));
        steps->add<ImageModLuminanceCurve>(float(a * 0.7), magazineCurves[0]);
        steps->add<ImageModSaturation>(float(1.0 + a * wave(v, 0.28, 0.08, F3, 2.0)), 2);
        return;
    }
    steps->add<ImageModLuminanceContrast>(float(1.0 + 0.2 * a), 128.0f);
    steps->add<ImageModColorizeCurve>(magazineCurves[1], OVRGBColor(255.0f, 190.0f, 150.0f), a);
    steps->add<ImageModLuminanceCurve>(a, magazineCurves[0]);
    steps->add<ImageModSaturation>(float(1.0 + 0.2 * a), 1);
}
