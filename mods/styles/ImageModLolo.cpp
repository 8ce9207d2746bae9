#include "mods/styles/ImageModLolo.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModContrast.h"
#include "mods/basic/ImageModLuminanceContrast.h"
#include "mods/basic/ImageModSaturation.h"
#include "mods/colour/ColorizeFilters.h"

namespace {

// The rates at which the variation moves this look's settings.
constexpr double F1 = 0.029405306921233814;
constexpr double F2 = 0.033740705144660564;
constexpr double F4 = 0.06000441866188032;
constexpr double F6 = 0.08105308810215502;

char const* const loloCurve = "0.000000 0.500000 0.457143 0.702439 1.000000 0.500000";

} // namespace

ImageModLolo::ImageModLolo()
    : ImageModTemplate("Lolo", "Lolo Camera")
{
    description = "Colorful, vibrant photos shot from the hip.";
    addStyleVars(1.0f, 0.0f, 1);
}

void ImageModLolo::buildSteps(float a, double v, StyleSteps* steps) const
{
    steps->add<ImageModLuminanceContrast>(float(1.0 + a * wave(v, 0.2, 0.05, F4)), 120.0f);
    steps->add<ImageModSaturation>(float(1.0 + a * wave(v, 0.45, 0.15, F2)), 2);
    steps->add<ImageModColorizeCurve>(loloCurve, colourFromHSV(wave(v, 200.0, 150.0, F1, 1.0), 0.7, 1.0),
                                      float(a * 0.8));
    steps->add<ImageModContrast>(float(1.0 + a * wave(v, 0.1, 0.04, F6)), 127.5f);
}
