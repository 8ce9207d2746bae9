#include "mods/styles/ImageModHipster.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModGammaLegacy.h"
#include "mods/basic/ImageModNoise.h"
#include "mods/basic/ImageModSaturation.h"
#include "mods/basic/ImageModVignette.h"
#include "mods/colour/ColorizeFilters.h"
#include "mods/curves/ChannelCurveFilters.h"
#include "mods/curves/ToneCurveFilters.h"

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

char const* const hipsterCurves[5] = {
    "0.000000 0.000000 0.108491 0.165094 0.851415 1.000000 1.000000 1.000000",
    "0.000000 0.000000 0.117391 0.000000 0.239130 0.291304 0.452174 0.539130 0.695652 0.736956 1.000000 0.843478 "
    "1.000000 1.000000",
    "0.000000 0.000000 0.188679 0.070755 0.686321 0.964623 1.000000 1.000000",
    "0.000000 0.000000 0.259434 0.018868 0.877358 1.000000 1.000000 1.000000",
    "0.000000 0.578261 0.302174 0.543478 0.517391 0.491304 1.000000 0.500000"};

} // namespace

ImageModHipster::ImageModHipster()
    : ImageModTemplate("Hipster", "Hipster Camera")
{
    description = "From Brooklyn, with love.";
    addStyleVars(1.0f, 0.0f, 1);
}

void ImageModHipster::buildSteps(float a, double v, StyleSteps* steps) const
{
    steps->add<ImageModGammaLegacy>(float(1.0 + a * wave(v, 0.08, 0.05, F4, 0.3)));
    steps->add<ImageModRGBCombinedCurve>(float(a * wave(v, 0.85, 0.15, F3, 1.0)), hipsterCurves[1]);
    steps->add<ImageModVignette>(float(a * wave(v, 0.3, 0.08, F2)), 40.0f, 0.85f);
    steps->add<ImageModRGBCurves>(hipsterCurves[0], hipsterCurves[2], hipsterCurves[3],
                                  float(a * wave(v, 0.5, 0.12, F6, 2.0)));
    steps->add<ImageModSaturation>(float(1.0 - a * wave(v, 0.18, 0.06, F1, 0.7)), 1);
    auto* fine = steps->add<ImageModNoise>(float(a * wave(v, 12.0, 4.0, F9)), 70.0f, 19.0f);
    fine->setVersion(1);
    auto* coarse = steps->add<ImageModNoise>(float(a * wave(v, 8.0, 3.0, F7, 1.4)), 20.0f, 25.0f);
    coarse->setVersion(3);
    steps->add<ImageModColorizeCurve>(hipsterCurves[4], colourFromHSV(wave(v, 40.0, 15.0, F5), 0.6, 1.0), a);
}
