#include "mods/styles/ImageModPoolside.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModGammaLegacy.h"
#include "mods/basic/ImageModSaturation.h"
#include "mods/basic/ImageModVignette.h"
#include "mods/curves/ChannelCurveFilters.h"

namespace {

// The rates at which the variation moves this look's settings.
constexpr double F2 = 0.033740705144660564;
constexpr double F3 = 0.044673449142009804;
constexpr double F4 = 0.06000441866188032;
constexpr double F5 = 0.07037167577160562;

char const* const poolsideCurves[4] = {
    "0.000000 0.000000 0.361751 0.467742 1.000000 1.000000",
    "0.000000 0.000000 1.000000 1.000000",
    "0.000000 0.110091 0.444954 0.802752 1.000000 1.000000",
    "0.000000 0.169725 0.660550 0.555046 1.000000 1.000000"};

} // namespace

ImageModPoolside::ImageModPoolside(int version)
    : ImageModTemplate("Poolside", "Poolside Camera")
{
    description = "Lazy days of summer made hazier, softer.";
    addStyleVars(1.0f, 0.0f, version);
}

void ImageModPoolside::buildSteps(float a, double v, StyleSteps* steps) const
{
    steps->add<ImageModGammaLegacy>(float(1.0 + a * wave(v, 0.2, 0.06, F3, 0.8)));
    steps->add<ImageModSaturation>(float(1.0 - a * wave(v, 0.22, 0.08, F4)), 1);
    steps->add<ImageModRGBCurves>(poolsideCurves[1], poolsideCurves[0], poolsideCurves[2],
                                  float(a * wave(v, 0.75, 0.15, F5, 2.2)), poolsideCurves[3]);
    steps->add<ImageModVignette>(float(-a * wave(v, 0.25, 0.08, F2)), 25.0f, 0.9f);
}
