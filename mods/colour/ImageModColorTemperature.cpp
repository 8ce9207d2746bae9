#include "mods/colour/ImageModColorTemperature.h"

#include <algorithm>
#include <cmath>

#include "mods/common/SampleLoop.h"
#include "mods/common/ColourRules.h"

namespace {

// Red and blue along power curves in opposite directions, green a little.
void temperatureCurves(float* rgb, float t)
{
    float const exponents[3] = {1.0f - 0.3f * t, 1.0f - 0.05f * t, 1.0f + 0.3f * t};
    for (int c = 0; c < 3; ++c)
        rgb[c] = 255.0f * std::pow(rgb[c] / 255.0f, exponents[c]);
}

} // namespace

ImageModColorTemperature::ImageModColorTemperature(float amount, float temperature, int method)
    : ImageModTemplate("Colorize Temperature", "Temperature")
{
    addPercentVar("Amount", amount, 0.0f, 1.0f);
    setAuxFloat(0, 0.2f);
    addCurveVar("Curve", "0 1 1 1");
    addVar(ImageModVariable::makeChoice("Color Method",
                                        labelList({"Colorize", "Color Balance", "RGB Curves", "RGB Curves 2"}), method));
    addPercentVar("Temp", temperature, -1.0f, 1.0f, -100.0f, 100.0f);
    description = "Adjust tones to be warmer or cooler.";
    setDefaultVarsToCurrent();
}

OVRGBColor ImageModColorTemperature::colourOf(float t)
{
    OVRGBColor const warm(255.0f, 165.0f, 80.0f);
    OVRGBColor const cool(80.0f, 150.0f, 255.0f);
    OVRGBColor const& end = t >= 0.0f ? warm : cool;
    float const w = std::fabs(t);
    float const grey = 127.5f;
    return OVRGBColor(grey + (end.red - grey) * w, grey + (end.green - grey) * w, grey + (end.blue - grey) * w);
}

template <typename T>
void ImageModColorTemperature::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const a = floatVarInRange(0);
    float const t = floatVarInRange(3);
    ToneCurve const* curve = curveVar(1);
    if (a == 0.0f || t == 0.0f || !curve || image->channels < 3)
        return;
    int const method = choiceVar(2, ByColorize);
    OVRGBColor const colour = colourOf(t);
    forEachPixel(image, [&](T* p, int channels) {
        float const L = float(pixelLuminance(p, channels));
        // A curve may reach past 1; a weight beyond 0..1 is taken at the
        // nearest end, so the power curves keep positive exponents.
        float const w = std::clamp(curve->lookupChannel(L) * a, 0.0f, 1.0f);
        float rgb[3] = {float(p[0]), float(p[1]), float(p[2])};
        if (method == ByColorize) {
            colourRules::applyMethod<colourRules::Colorize>(rgb, colour, HSV(), w);
        } else if (method == ByColorBalance) {
            rgb[0] += 40.0f * t * w;
            rgb[2] -= 40.0f * t * w;
        } else {
            temperatureCurves(rgb, t * w);
            if (method == ByRGBCurvesKeepingLuminance)
                FlexImage<float>::moveLuminance(rgb, 3, float(luminance(rgb[0], rgb[1], rgb[2])), L);
        }
        for (int c = 0; c < 3; ++c)
            p[c] = FlexImage<T>::storeSample(clamp255(rgb[c]));
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModColorTemperature);
