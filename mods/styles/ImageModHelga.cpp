#include "mods/styles/ImageModHelga.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModContrast.h"
#include "mods/basic/ImageModRadialBlur.h"
#include "mods/basic/ImageModVignette.h"
#include "mods/colour/ImageModRGBSwap.h"
#include "mods/curves/ChannelCurveFilters.h"
#include "mods/curves/ToneCurveFilters.h"
#include "mods/styles/ImageModColorcross.h"

namespace {

// The rates at which the variation moves this look's settings.
constexpr double F1 = 0.029405306921233814;
constexpr double F2 = 0.033740705144660564;
constexpr double F4 = 0.06000441866188032;
constexpr double F6 = 0.08105308810215502;

char const* const helgaCurves[2] = {
    "0.000000 0.091216 0.179054 0.162162 0.324324 0.358108 0.733108 0.574324 1.000000 1.000000",
    "0.000000 0.125628 0.163317 0.145729 0.332915 0.560301 0.563442 0.853015 1.000000 1.000000"};

// The lens blur's amount (version 2), before Amount scales it.
double helgaLensBlur(double v)
{
    return std::cos((v + 266.81) * 0.044673449142009804) * 0.13 + 0.23;
}

} // namespace

ImageModHelga::ImageModHelga(int version)
    : ImageModTemplate("Helga", "Helga Camera")
{
    description = "A toy camera feel with washed-out highlights and old-school vignetting.";
    addStyleVars(1.0f, 0.0f, version);
}

int ImageModHelga::getExtraPixelRadiusRequired(int width, int height, float)
{
    if (version != 2)
        return 0;
    return int(double(std::max(width, height)) * 0.00083333335 * helgaLensBlur(variation()) * 45.0 + 1.0);
}

void ImageModHelga::buildSteps(float a, double v, StyleSteps* steps) const
{
    if (version == 2)
        steps->add<ImageModRadialBlur>(float(a * helgaLensBlur(v)), 40.0f, 1.0f, 0);
    steps->add<ImageModContrast>(float(1.0 + a * wave(v, 0.1, 0.05, F4)), 120.0f);
    steps->add<ImageModLuminanceCurve>(a, helgaCurves[0]);
    // Each primary bleeds a little into the others.
    double const bleed = a * wave(v, 10.0, 6.0, F6, 0.9);
    auto* swap = steps->add<ImageModRGBSwap>();
    swap->setColorVar(0, OVRGBColor(float(255.0 - bleed), float(bleed), float(bleed * 0.4)));
    swap->setColorVar(1, OVRGBColor(float(bleed * 0.5), float(255.0 - bleed), float(bleed)));
    swap->setColorVar(2, OVRGBColor(float(bleed * 0.6), float(bleed * 0.8), float(255.0 - bleed)));
    steps->add<ImageModVignette>(float(a * wave(v, 0.38, 0.08, F2, 1.5)), 20.0f, 0.85f);
    steps->add<ImageModRGBCurves>("0 0 1 1", "0 0 1 1", "0 0 1 1", a, helgaCurves[1]);
    steps->add<ImageModColorcross>(float(a * wave(v, 0.2, 0.08, F1)), float(v * 1.3 + 17.0));
}
