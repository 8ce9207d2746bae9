#include "mods/styles/ImageModInstant.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModBlur.h"
#include "mods/basic/ImageModGammaLegacy.h"
#include "mods/basic/ImageModVignette.h"
#include "mods/colour/ColorOverlayFilters.h"
#include "mods/curves/ToneCurveFilters.h"
#include "mods/mono/DiscolorFilters.h"

namespace {

// The rates at which the variation moves this look's settings.
constexpr double F2 = 0.033740705144660564;
constexpr double F3 = 0.044673449142009804;
constexpr double F4 = 0.06000441866188032;
constexpr double F5 = 0.07037167577160562;
constexpr double F6 = 0.08105308810215502;

char const* const instantCurves[2] = {
    "0.000000 0.000000 0.313043 0.152174 0.404348 0.597826 1.000000 1.000000",
    "0.000000 0.141304 0.278261 0.157826 0.528261 0.652174 1.000000 1.000000"};

ToneCurve curveOf(char const* points)
{
    ToneCurve curve;
    curve.setControlPoints(GrowString(points));
    return curve;
}

} // namespace

ImageModInstant::ImageModInstant(int version)
    : ImageModTemplate("Instant", "Instant Camera")
{
    description = "No need to shake this instant-developing film.";
    addStyleVars(1.0f, 0.0f, version);
}

int ImageModInstant::getExtraPixelRadiusRequired(int width, int height, float)
{
    if (version != 2)
        return 0;
    return blurRadiusFor(25.0 * amount(), std::max(width, height));
}

void ImageModInstant::buildSteps(float a, double v, StyleSteps* steps) const
{
    steps->add<ImageModGammaLegacy>(float(1.0 + a * wave(v, 0.25, 0.06, F3)));
    auto* tone = steps->add<ImageModLuminanceCurve>(float(a * 0.45), instantCurves[0]);
    double const soft = wave(v, 0.5, 0.5, F5, 0.6);
    ToneCurve const softCurve = curveOf(instantCurves[1]);
    for (int i = 0; i < 4; ++i) {
        Point2D const hard = tone->curveVar(1)->getControlPoints()[i];
        Point2D const other = softCurve.getControlPoints()[i];
        tone->setCurvePoint(1, i, Point2D{float(hard.x + (other.x - hard.x) * soft),
                                         float(hard.y + (other.y - hard.y) * soft)});
    }
    steps->add<ImageModVignette>(float(a * wave(v, 0.3, 0.08, F2)), 35.0f, 0.85f);
    steps->add<ImageModColorFilter>(float(a * wave(v, 0.22, 0.07, F4)), OVRGBColor(180.0f, 160.0f, 110.0f));
    if (version != 2)
        return;
    steps->add<ImageModDiscolor>(float(a * wave(v, 0.3, 0.1, F6)), float(v * 0.9 + 3.0),
                                 OVRGBColor(255.0f, 205.0f, 150.0f), 1.6f, 0.2f);
    steps->add<ImageModBlur>(25.0f * a, 60.0f);
}
