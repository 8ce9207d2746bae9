#include "mods/styles/ImageModPlastic.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModContrast.h"
#include "mods/basic/ImageModGammaLegacy.h"
#include "mods/basic/ImageModNoise.h"
#include "mods/basic/ImageModVignette.h"
#include "mods/colour/TonalColorFilters.h"
#include "mods/curves/ChannelCurveFilters.h"
#include "mods/mono/DiscolorFilters.h"

namespace {

// The rates at which the variation moves this look's settings.
constexpr double F1 = 0.029405306921233814;
constexpr double F2 = 0.033740705144660564;
constexpr double F3 = 0.044673449142009804;
constexpr double F4 = 0.06000441866188032;
constexpr double F5 = 0.07037167577160562;
constexpr double F6 = 0.08105308810215502;
constexpr double F7 = 0.08419468525123937;
constexpr double F8 = 0.088027427631207;
constexpr double F9 = 0.09525309133691824;

char const* const plasticCurves[4] = {
    "0.000000 0.000000 0.200276 0.178177 0.665746 0.897790 1.000000 1.000000",
    "0.000000 0.000000 0.241758 0.000000 0.394231 0.379121 0.766484 0.824176 1.000000 1.000000",
    "0.000000 0.000000 0.616022 0.732044 1.000000 1.000000",
    "0.000000 0.000000 0.825967 0.820442 1.000000 1.000000"};

} // namespace

ImageModPlastic::ImageModPlastic()
    : ImageModTemplate("Plastic", "Plastic Camera")
{
    description = "The cheapest color camera we could find.";
    addStyleVars(1.0f, 0.0f, 1);
}

void ImageModPlastic::buildSteps(float a, double v, StyleSteps* steps) const
{
    steps->add<ImageModDiscolor>(float(a * wave(v, 0.4, 0.12, F2)), float(v * 1.7 + 11.0),
                                 OVRGBColor(255.0f, float(wave(v, 150.0, 35.0, F6)), float(wave(v, 80.0, 40.0, F4, 1.0))),
                                 1.2f, float(wave(v, 0.3, 0.2, F3, 0.5)));
    steps->add<ImageModGammaLegacy>(float(1.0 + a * wave(v, 0.12, 0.06, F3, 0.5)));
    steps->add<ImageModVignette>(float(a * wave(v, 0.5, 0.1, F2, 2.0)), 30.0f, 0.75f);
    steps->add<ImageModRGBCurves>(plasticCurves[2], plasticCurves[0], plasticCurves[1], float(a * 0.8),
                                  plasticCurves[3]);
    steps->add<ImageModSplitTone>(float(a * wave(v, 0.2, 0.06, F1)),
                                  colourFromHSV(wave(v, 195.0, 25.0, F5, 0.3), 0.7, 0.35),
                                  colourFromHSV(wave(v, 45.0, 12.0, F7, 1.2), 0.3, 1.0));
    steps->add<ImageModContrast>(float(1.0 + a * wave(v, 0.14, 0.05, F9, 0.8)), 120.0f);
    auto* grain = steps->add<ImageModNoise>(float(a * wave(v, 22.0, 6.0, F8)), 45.0f, 13.0f);
    grain->setVersion(1);
}
