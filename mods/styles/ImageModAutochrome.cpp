#include "mods/styles/ImageModAutochrome.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModBlur.h"
#include "mods/basic/ImageModContrast.h"
#include "mods/basic/ImageModGammaLegacy.h"
#include "mods/basic/ImageModLuminanceContrast.h"
#include "mods/basic/ImageModNoise.h"
#include "mods/basic/ImageModSaturation.h"

namespace {

// The rates at which the variation moves this look's settings.
constexpr double F2 = 0.033740705144660564;
constexpr double F3 = 0.044673449142009804;
constexpr double F4 = 0.06000441866188032;
constexpr double F6 = 0.08105308810215502;

// The plate's softness: the blur step's amount (version 3).
double autochromeSoftness(double v)
{
    return std::cos((v + 170.21) * 0.029405306921233814) * 3.0 + 16.0;
}

} // namespace

ImageModAutochrome::ImageModAutochrome(int version)
    : ImageModTemplate("Autochrome", "Autochrome Camera")
{
    description = "One of the first color photo processes from the early 1900s.";
    addStyleVars(1.0f, 0.0f, version);
}

int ImageModAutochrome::getExtraPixelRadiusRequired(int width, int height, float)
{
    if (version != 3)
        return 0;
    return blurRadiusFor(autochromeSoftness(variation()), std::max(width, height));
}

void ImageModAutochrome::buildSteps(float a, double v, StyleSteps* steps) const
{
    steps->add<ImageModGammaLegacy>(float(1.0 + a * wave(v, 0.08, 0.04, F4)));
    steps->add<ImageModLuminanceContrast>(float(1.0 - a * wave(v, 0.18, 0.05, F3)), 140.0f);
    auto* starch = steps->add<ImageModNoise>(float(a * wave(v, 35.0, 8.0, F6)), 20.0f, 49.0f);
    starch->setVersion(3);
    steps->add<ImageModContrast>(float(1.0 + 0.1 * a), 90.0f);
    steps->add<ImageModSaturation>(float(1.0 - a * wave(v, 0.35, 0.08, F2)), 1);
    if (version == 3)
        steps->add<ImageModBlur>(float(autochromeSoftness(v)), float(100.0 * a * 0.5));
}
