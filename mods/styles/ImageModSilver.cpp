#include "mods/styles/ImageModSilver.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModBrightness.h"
#include "mods/basic/ImageModContrast.h"
#include "mods/basic/ImageModGammaLegacy.h"
#include "mods/basic/ImageModSaturation.h"
#include "mods/colour/ColorizeFilters.h"
#include "mods/styles/ImageModColorcross.h"
#include "mods/styles/ImageModMono.h"

ImageModSilver::ImageModSilver(int version)
    : ImageModTemplate("Silver", "Silver Camera")
{
    description = "Not color, but not quite monochromatic either.";
    addStyleVars(1.0f, 0.0f, version);
}

void ImageModSilver::buildSteps(float a, double v, StyleSteps* steps) const
{
    if (version == 2) {
        steps->add<ImageModContrast>(float(1.0 + 0.34800005 * a), 40.0f);
        steps->add<ImageModMono>();
        double const w = v + 6.0;
        // "0 0 .5 .5 1 1" with its middle output moved by the variation.
        auto* tint = steps->add<ImageModColorizeCurve>(
            "0 0 .5 .5 1 1", colourFromHSV(w * 5.0, std::cos(w * 0.07037167577160562) * 0.2 + 0.4, 0.5), a);
        tint->setCurvePoint(0, 1, Point2D{0.5f, float(std::cos(w * 0.06000441866188032) * 0.3 + 0.5)});
        steps->add<ImageModBrightness>(float(1.0 + a * ((std::cos(w * 0.088027427631207) * 0.1 + 1.1) - 1.0)));
        return;
    }
    double const w = v + 4367.98;
    steps->add<ImageModGammaLegacy>(
        float(1.0 + a * ((std::cos(w * 0.16524778084353495 + 1.88) * 0.225 + 0.025) + 0.287912)));
    steps->add<ImageModSaturation>(1.0f - a, 1);
    steps->add<ImageModColorcross>(a, float(w + 3000.0));
}
