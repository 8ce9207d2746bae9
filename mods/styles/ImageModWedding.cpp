#include "mods/styles/ImageModWedding.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModGammaLegacy.h"
#include "mods/basic/ImageModSaturation.h"
#include "mods/basic/ImageModVignette.h"
#include "mods/curves/ToneCurveFilters.h"

namespace {

char const* const weddingCurve = "0.000000 0.000000 0.167392 0.063043 0.404348 0.752174 0.730435 1.000000 1.000000 1.000000";

} // namespace

ImageModWedding::ImageModWedding()
    : ImageModTemplate("Wedding", "Wedding Camera")
{
    description = "The perfect SLR look for the perfect day.";
    addStyleVars(1.0f, 0.0f, 1);
}

void ImageModWedding::buildSteps(float a, double v, StyleSteps* steps) const
{
    // One angle, several rates: t is 0.8796459434 at a variation of 0.
    double const t = (v * 3.3 + 14.0) * 0.0628318531;
    steps->add<ImageModGammaLegacy>(float(1.0 + a * (std::cos(0.468 * t) * 0.15 + 0.05)));
    steps->add<ImageModSaturation>(float(1.0 + a * (std::cos(0.955 * t) * 0.16 + 0.059999995)), 1);
    steps->add<ImageModRGBCombinedCurve>(float(a * (1.0 + (std::cos(0.711 * t) * -0.2 - 0.2))), weddingCurve);
    steps->add<ImageModVignette>(float(a * ((std::cos(0.537 * t) * 0.16 - 0.06) + 0.22)), 42.785f, 0.9289f);
}
