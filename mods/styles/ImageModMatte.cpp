#include "mods/styles/ImageModMatte.h"

#include <algorithm>
#include <cmath>

#include "mods/basic/ImageModLuminanceContrast.h"
#include "mods/basic/ImageModNoise.h"
#include "mods/curves/ToneCurveFilters.h"

namespace {

// The rates at which the variation moves this look's settings.
constexpr double F3 = 0.044673449142009804;
constexpr double F4 = 0.06000441866188032;
constexpr double F9 = 0.09525309133691824;

char const* const matteCurves[3] = {
    "0.000000 0.000000 0.241304 0.000000 0.491304 0.439130 1.000000 1.000000",
    "0.000000 0.186957 0.247826 0.204348 1.000000 1.000000",
    "0.000000 0.286956 0.600000 0.597826 1.000000 1.000000"};

ToneCurve curveOf(char const* points)
{
    ToneCurve curve;
    curve.setControlPoints(GrowString(points));
    return curve;
}

} // namespace

ImageModMatte::ImageModMatte(int version)
    : ImageModTemplate("Matte", "Matte Camera")
{
    description = "Not so glossy.";
    addStyleVars(1.0f, 0.0f, version);
}

void ImageModMatte::buildSteps(float a, double v, StyleSteps* steps) const
{
    steps->add<ImageModLuminanceCurve>(float(a * 0.7), matteCurves[0]);
    // The matte curve moves between the light and the heavy one.
    double const heavy = wave(v, 0.5, 0.5, F3, 2.0);
    auto* matte = steps->add<ImageModRGBCombinedCurve>(a, matteCurves[1]);
    ToneCurve const heavyCurve = curveOf(matteCurves[2]);
    for (int i = 0; i < 3; ++i) {
        Point2D const light = matte->curveVar(1)->getControlPoints()[i];
        Point2D const dark = heavyCurve.getControlPoints()[i];
        matte->setCurvePoint(1, i, Point2D{float(light.x + (dark.x - light.x) * heavy),
                                          float(light.y + (dark.y - light.y) * heavy)});
    }
    auto* grain = steps->add<ImageModNoise>(float(a * wave(v, 8.0, 3.0, F9)), 60.0f, 37.0f);
    grain->setVersion(1);
    steps->add<ImageModLuminanceContrast>(float(1.0 - a * wave(v, 0.12, 0.04, F4)), 128.0f);
}
