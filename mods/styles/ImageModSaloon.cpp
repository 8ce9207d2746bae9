#include "mods/styles/ImageModSaloon.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModGammaLegacy.h"
#include "mods/basic/ImageModSaturation.h"
#include "mods/basic/ImageModVignette.h"
#include "mods/colour/ColorOverlayFilters.h"
#include "mods/curves/ToneCurveFilters.h"

namespace {

char const* const saloonCurve = "0.000000 0.190850 0.205533 0.231665 0.308529 0.481292 0.785465 0.919104 1.000000 1.000000";

} // namespace

ImageModSaloon::ImageModSaloon()
    : ImageModTemplate("Saloon", "Saloon Camera")
{
    description = "Old-timey fun with a white vignette.";
    addStyleVars(1.0f, 0.0f, 1);
}

void ImageModSaloon::buildSteps(float a, double v, StyleSteps* steps) const
{
    steps->add<ImageModGammaLegacy>(
        float(1.0 + a * ((std::cos(v * 0.10549468261324361 + 1.579) * 0.325 - 0.125) + 0.29499996)));
    steps->add<ImageModVignette>(float(-0.8 * a), float((std::cos(v * 0.061763710368916945 + 1.29) * 17.5 + 2.5) + 37.0),
                                 0.842f);
    steps->add<ImageModLuminanceCurve>(a, saloonCurve);
    steps->add<ImageModDye>(a, OVRGBColor(255.0f, 212.925f, 178.5f, 255.0f), 1);
    steps->add<ImageModSaturation>(float(1.0 + a * 0.2 * std::cos(v * 0.08419468525123937 + 1.34)), 1);
}
