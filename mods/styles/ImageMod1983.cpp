#include "mods/styles/ImageMod1983.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModBlur.h"
#include "mods/basic/ImageModContrast.h"
#include "mods/basic/ImageModGammaLegacy.h"
#include "mods/basic/ImageModNoise.h"
#include "mods/basic/ImageModVignette.h"
#include "mods/colour/TonalColorFilters.h"
#include "mods/curves/ChannelCurveFilters.h"
#include "mods/curves/ToneRegionFilters.h"

namespace {

// The rates at which the variation moves this look's settings.
constexpr double F1 = 0.029405306921233814;
constexpr double F2 = 0.033740705144660564;
constexpr double F3 = 0.044673449142009804;
constexpr double F4 = 0.06000441866188032;
constexpr double F5 = 0.07037167577160562;
constexpr double F6 = 0.08105308810215502;
constexpr double F8 = 0.088027427631207;
constexpr double F9 = 0.09525309133691824;

char const* const curves1983[4] = {
    "0.000000 0.000000 0.200276 0.178177 0.665746 0.897790 1.000000 1.000000",
    "0.000000 0.000000 0.241758 0.000000 0.394231 0.379121 0.766484 0.824176 1.000000 1.000000",
    "0.000000 0.000000 0.616022 0.732044 1.000000 1.000000",
    "0.000000 0.000000 0.825967 0.820442 1.000000 1.000000"};

// The glow's blur amount (version 3).
double glow1983(double v)
{
    return std::cos((1.4 * v - 16.0) * 0.033740705144660564) * 4.5 + 18.5;
}

} // namespace

ImageMod1983::ImageMod1983(int version)
    : ImageModTemplate("1983", "1983 Camera")
{
    description = "Think underground breakdance competition.";
    addStyleVars(1.0f, 0.0f, version);
}

int ImageMod1983::getExtraPixelRadiusRequired(int width, int height, float)
{
    if (version != 3)
        return 0;
    return blurRadiusFor(glow1983(variation()), std::max(width, height));
}

void ImageMod1983::buildSteps(float a, double v, StyleSteps* steps) const
{
    steps->add<ImageModShadows>()->setFloatVar(0, float(1.0 - a * wave(v, 0.2, 0.08, F4)));
    steps->add<ImageModRGBCurves>(curves1983[2], curves1983[3], curves1983[1], float(a * 0.7), curves1983[0]);
    steps->add<ImageModVignette>(float(a * wave(v, 0.3, 0.08, F2)), 50.0f, 0.85f);
    steps->add<ImageModGammaLegacy>(float(1.0 + a * wave(v, 0.1, 0.05, F6)));
    steps->add<ImageModSplitTone>(float(a * wave(v, 0.2, 0.06, F1)),
                                  colourFromHSV(wave(v, 275.0, 25.0, F5, 0.5), 0.65, 0.35),
                                  colourFromHSV(wave(v, 25.0, 10.0, F8), 0.35, 1.0));
    auto* grain = steps->add<ImageModNoise>(float(a * wave(v, 25.0, 6.0, F9)), 45.0f, 55.0f);
    grain->setVersion(1);
    steps->add<ImageModContrast>(float(1.0 + a * wave(v, 0.15, 0.05, F3)), 115.0f);
    if (version == 3)
        steps->add<ImageModBlur>(float(glow1983(v)), float(100.0 * a * 0.3));
}
