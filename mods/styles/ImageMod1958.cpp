#include "mods/styles/ImageMod1958.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModBlur.h"
#include "mods/basic/ImageModLuminanceContrast.h"
#include "mods/basic/ImageModSaturation.h"
#include "mods/colour/ColorizeFilters.h"
#include "mods/curves/ToneCurveFilters.h"

namespace {

// The rates at which the variation moves this look's settings.
constexpr double F2 = 0.033740705144660564;
constexpr double F4 = 0.06000441866188032;
constexpr double F6 = 0.08105308810215502;

char const* const curves1958[2] = {
    "0.000000 0.152174 0.143478 0.241304 0.208696 0.465217 1.000000 0.756522 1.000000 1.000000",
    "0.000000 0.556522 0.360870 0.621739 0.680435 0.389130 1.000000 0.347826"};

// The print's softness: the blur step's amount (version 2).
double softness1958(double v)
{
    return std::cos((2.0 * v + 607.92) * 0.09525309133691824) * 5.0 + 20.0;
}

} // namespace

ImageMod1958::ImageMod1958(int version)
    : ImageModTemplate("1958", "1958 Camera")
{
    description = "Those nostalgic maroon hues from Christmases decked with cowboy hats and BB guns.";
    addStyleVars(1.0f, 0.0f, version);
}

int ImageMod1958::getExtraPixelRadiusRequired(int width, int height, float)
{
    if (version != 2)
        return 0;
    return blurRadiusFor(softness1958(variation()), std::max(width, height));
}

void ImageMod1958::buildSteps(float a, double v, StyleSteps* steps) const
{
    steps->add<ImageModLuminanceCurve>(a, curves1958[0]);
    steps->add<ImageModColorizeCurve>(curves1958[1], colourFromHSV(wave(v, 342.0, 8.0, F4), 0.95, 1.0), a);
    steps->add<ImageModLuminanceContrast>(float(1.0 + a * wave(v, 0.12, 0.05, F2)), 128.0f);
    steps->add<ImageModSaturation>(float(1.0 - a * wave(v, 0.25, 0.06, F6)), 1);
    if (version == 2)
        steps->add<ImageModBlur>(float(softness1958(v)), float(100.0 * a * 0.4));
}
