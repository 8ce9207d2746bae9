#include "mods/styles/ImageModSkater.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModBlur.h"
#include "mods/basic/ImageModGammaLegacy.h"
#include "mods/basic/ImageModNoise.h"
#include "mods/basic/ImageModSaturation.h"
#include "mods/basic/ImageModVignette.h"
#include "mods/curves/ChannelCurveFilters.h"

namespace {

// The rates at which the variation moves this look's settings.
constexpr double F2 = 0.033740705144660564;
constexpr double F3 = 0.044673449142009804;
constexpr double F4 = 0.06000441866188032;
constexpr double F6 = 0.08105308810215502;

char const* const skaterCurves[3] = {
    "0.000000 0.000000 0.382653 0.112245 0.594388 0.849490 1.000000 1.000000",
    "0.000000 0.086735 0.438775 0.132653 0.561224 0.923469 1.000000 1.000000",
    "0.000000 0.102041 0.377551 0.142857 0.556122 0.859694 1.000000 1.000000"};

// The softness of the cheap lens: the blur step's amount.
double skaterBlur(float a, double v)
{
    return a * wave(v, 6.0, 2.0, 0.09525309133691824);
}

} // namespace

ImageModSkater::ImageModSkater(int version)
    : ImageModTemplate("Skater", "Skater Camera")
{
    description = "Skinned knees and noisy photos.";
    addStyleVars(1.0f, 0.0f, version);
}

int ImageModSkater::getExtraPixelRadiusRequired(int width, int height, float)
{
    return blurRadiusFor(skaterBlur(amount(), variation()), std::max(width, height));
}

void ImageModSkater::buildSteps(float a, double v, StyleSteps* steps) const
{
    steps->add<ImageModBlur>(float(skaterBlur(a, v)), 100.0f);
    steps->add<ImageModGammaLegacy>(float(1.0 + a * wave(v, 0.15, 0.05, F4)));
    steps->add<ImageModVignette>(float(a * wave(v, 0.3, 0.08, F3, 1.0)), 55.0f, 0.8f);
    steps->add<ImageModRGBCurves>(skaterCurves[0], skaterCurves[1], skaterCurves[2], float(a * 0.7));
    steps->add<ImageModSaturation>(float(1.0 + a * wave(v, 0.15, 0.1, F2, 0.4)), 1);
    auto* grain = steps->add<ImageModNoise>(float(a * wave(v, 32.0, 8.0, F6)), 35.0f, 31.0f);
    grain->setVersion(1);
}
