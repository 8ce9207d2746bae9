#include "mods/styles/ImageMod1974.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModBlur.h"
#include "mods/basic/ImageModGammaLegacy.h"
#include "mods/basic/ImageModLuminanceContrast.h"
#include "mods/basic/ImageModNoise.h"
#include "mods/basic/ImageModSaturation.h"
#include "mods/colour/ColorizeFilters.h"
#include "mods/colour/TonalColorFilters.h"
#include "mods/curves/ChannelCurveFilters.h"
#include "mods/curves/ToneCurveFilters.h"
#include "mods/styles/ImageModColorcross.h"

namespace {

// The rates at which the variation moves this look's settings.
constexpr double F1 = 0.029405306921233814;
constexpr double F2 = 0.033740705144660564;
constexpr double F3 = 0.044673449142009804;
constexpr double F4 = 0.06000441866188032;
constexpr double F5 = 0.07037167577160562;
constexpr double F6 = 0.08105308810215502;
constexpr double F7 = 0.08419468525123937;
constexpr double F9 = 0.09525309133691824;

char const* const curves1974[6] = {
    "0.000000 0.000000 0.269565 0.101087 0.369565 0.297826 0.478261 0.578261 0.691304 0.806522 1.000000 1.000000",
    "0.000000 0.122449 0.176020 0.209184 0.438775 0.448980 0.709184 0.755102 1.000000 1.000000",
    "0.000000 0.152174 0.373913 0.271740 1.000000 1.000000",
    "0.000000 0.165217 1.000000 0.921739",
    "0.000000 0.627907 0.119198 0.734012 0.546413 0.648256 0.798523 0.518895 1.000000 0.500000",
    "0.000000 1.000000 0.666000 0.475824 1.000000 0.390110"};

// The old lens's softness: the blur step's amount (version 3).
double softness1974(double v)
{
    return std::cos((v + 1464.0) * 0.029405306921233814) * 7.5 + 12.5;
}

} // namespace

ImageMod1974::ImageMod1974(int version)
    : ImageModTemplate("1974", "1974 Camera")
{
    description = "Dad's old camera. Faded, tinted, and hip.";
    addStyleVars(1.0f, 0.0f, version);
}

int ImageMod1974::getExtraPixelRadiusRequired(int width, int height, float)
{
    if (version != 3)
        return 0;
    return blurRadiusFor(softness1974(variation()), std::max(width, height));
}

void ImageMod1974::buildSteps(float a, double v, StyleSteps* steps) const
{
    if (version == 3)
        steps->add<ImageModBlur>(float(softness1974(v)), float(100.0 * a * 0.4));
    steps->add<ImageModLuminanceCurve>(float(a * 0.8), curves1974[0]);
    steps->add<ImageModColorizeCurve>(version == 3 ? curves1974[4] : curves1974[5],
                                      colourFromHSV(wave(v, 30.0, 12.0, F3), 0.7, 1.0), a);
    steps->add<ImageModRGBCombinedCurve>(a, curves1974[3]);
    steps->add<ImageModColorcross>(float(a * wave(v, 0.12, 0.05, F2)), float(v + 1464.0));
    auto* grain = steps->add<ImageModNoise>(float(a * wave(v, 14.0, 4.0, F6)), 55.0f, 61.0f);
    grain->setVersion(1);
    steps->add<ImageModLuminanceContrast>(float(1.0 + 0.1 * a), 128.0f);
    auto* tones = steps->add<ImageModColorCorrector>(a);
    tones->setColorVar(1, colourFromHSV(wave(v, 200.0, 15.0, F4), 0.2, 0.55));
    tones->setColorVar(2, colourFromHSV(wave(v, 32.0, 10.0, F5, 1.0), 0.3, 0.6));
    tones->setColorVar(3, colourFromHSV(wave(v, 48.0, 8.0, F7, 2.0), 0.4, 0.65));
    steps->add<ImageModRGBCurves>(curves1974[1], curves1974[2], "0 0 1 1", float(a * 0.7));
    steps->add<ImageModGammaLegacy>(float(1.0 + a * wave(v, 0.06, 0.04, F9)));
    steps->add<ImageModSaturation>(float(1.0 - a * wave(v, 0.2, 0.06, F1, 0.4)), 1);
}
