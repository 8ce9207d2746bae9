#include "mods/styles/ImageModItaliano.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModBlur.h"
#include "mods/basic/ImageModLuminanceContrast.h"
#include "mods/basic/ImageModNoise.h"
#include "mods/basic/ImageModSaturation.h"
#include "mods/basic/ImageModVignette.h"
#include "mods/curves/ChannelCurveFilters.h"

namespace {

// The rates at which the variation moves this look's settings.
constexpr double F2 = 0.033740705144660564;
constexpr double F3 = 0.044673449142009804;
constexpr double F6 = 0.08105308810215502;
constexpr double F9 = 0.09525309133691824;

char const* const italianoCurves[4] = {
    "0.000000 0.000000 0.124046 0.230916 0.599237 0.782443 1.000000 1.000000",
    "0.000000 0.000000 0.141504 0.192748 0.420908 0.528909 1.000000 1.000000",
    "0.000000 0.000000 0.219466 0.211832 0.500000 0.561069 1.000000 1.000000",
    "0.000000 0.111111 0.215678 0.141211 0.324685 0.524358 0.599631 0.760897 1.000000 0.967593"};

// The glow's blur amount (version 2).
double italianoGlow(double v)
{
    return std::cos((0.6 * v - 124.67) * 0.06000441866188032) * 5.0 + 15.0;
}

} // namespace

ImageModItaliano::ImageModItaliano(int version)
    : ImageModTemplate("Italiano", "Italiano Camera")
{
    description = "Shades of coffee for Tuscan landscapes.";
    addStyleVars(1.0f, 0.0f, version);
}

int ImageModItaliano::getExtraPixelRadiusRequired(int width, int height, float)
{
    if (version != 2)
        return 0;
    return blurRadiusFor(italianoGlow(variation()), std::max(width, height));
}

void ImageModItaliano::buildSteps(float a, double v, StyleSteps* steps) const
{
    if (version == 2) {
        steps->add<ImageModLuminanceContrast>(float(1.0 + a * wave(v, 0.08, 0.04, F9)), 110.0f);
        auto* grain = steps->add<ImageModNoise>(float(a * wave(v, 10.0, 4.0, F6)), 50.0f, 43.0f);
        grain->setVersion(1);
        steps->add<ImageModSaturation>(float(1.0 - a * wave(v, 0.1, 0.05, F3)), 1);
        steps->add<ImageModVignette>(float(a * wave(v, 0.22, 0.06, F2, 1.3)), 45.0f, 0.85f);
        steps->add<ImageModRGBCurves>(italianoCurves[0], italianoCurves[1], italianoCurves[2], a, italianoCurves[3]);
        steps->add<ImageModBlur>(float(italianoGlow(v)), float(100.0 * a * 0.35));
        return;
    }
    steps->add<ImageModLuminanceContrast>(float(1.0 + 0.15 * a), 110.0f);
    steps->add<ImageModSaturation>(float(1.0 - 0.15 * a), 1);
    steps->add<ImageModRGBCurves>(italianoCurves[0], italianoCurves[1], italianoCurves[2], a, italianoCurves[3]);
    steps->add<ImageModVignette>(0.3f * a, 45.0f, 0.8f);
}
