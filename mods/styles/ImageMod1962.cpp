#include "mods/styles/ImageMod1962.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModBlur.h"
#include "mods/basic/ImageModContrast.h"
#include "mods/basic/ImageModNoise.h"
#include "mods/basic/ImageModSaturation.h"
#include "mods/curves/ToneCurveFilters.h"
#include "mods/styles/ImageModColorcross.h"
#include "mods/styles/ImageModMono.h"

namespace {

char const* const curves1962[2] = {
    "0.000000 0.081633 1.000000 1.000000",
    "0.000000 0.082609 0.278261 0.156522 0.500000 0.493478 1.000000 1.000000"};

// The blur step's amount at angle t (version 4); it grows with Amount.
double softness1962(float a, double t)
{
    return (std::cos(0.711 * t) * 0.225 + 0.775) * (1.2 * a) * (std::cos(0.537 * t) * 5.0 + 21.0);
}

} // namespace

ImageMod1962::ImageMod1962(int version)
    : ImageModTemplate("1962", "1962 Camera")
{
    description = "Dynamic, high-contrast black and whites from the photojournalism of a bygone era.";
    addStyleVars(1.0f, 0.0f, version);
}

int ImageMod1962::getExtraPixelRadiusRequired(int width, int height, float)
{
    if (version != 4)
        return 0;
    return blurRadiusFor(softness1962(amount(), (variation() - 333.33) * 0.0628318531), std::max(width, height));
}

void ImageMod1962::buildSteps(float a, double v, StyleSteps* steps) const
{
    // One angle, several rates, as in the wedding look.
    double const t = (v - 333.33) * 0.0628318531;
    steps->add<ImageModColorcross>(float(a * 0.3), float(v + 333.0));
    steps->add<ImageModSaturation>(float(1.0 + 0.3 * a), 1);
    if (version == 4)
        steps->add<ImageModBlur>(float(softness1962(a, t)), 35.0f);
    auto* grain = steps->add<ImageModNoise>(float(a * (30.0 + 8.0 * std::cos(0.41 * t))), 45.0f, 67.0f);
    grain->setVersion(1);
    steps->add<ImageModContrast>(float(1.0 + a * (0.3 + 0.08 * std::cos(0.9 * t))), 110.0f);
    steps->add<ImageModMono>(a, float(v));
    steps->add<ImageModRGBCombinedCurve>(float(a * 0.5), curves1962[0]);
    steps->add<ImageModLuminanceCurve>(a, curves1962[1]);
}
