#include "mods/colour/ImageModColorTemperature.h"

#include <algorithm>
#include <cmath>

#include "mods/common/SampleLoop.h"
#include "mods/common/ColourRules.h"

namespace {

// Red and blue along power curves in opposite directions, green a little:
// each pixel's channels by (1 - 0.3 t, 1 - 0.05 t, 1 + 0.3 t) for its t, a
// channel's run at a time.
template <typename T>
void temperatureCurves(float* red, float* green, float* blue, float const* t, int count)
{
    widestLoop(count, [red, t](int i) { red[i] = 255.0f * samplePow<T>(red[i] / 255.0f, 1.0f - 0.3f * t[i]); });
    widestLoop(count,
               [green, t](int i) { green[i] = 255.0f * samplePow<T>(green[i] / 255.0f, 1.0f - 0.05f * t[i]); });
    widestLoop(count, [blue, t](int i) { blue[i] = 255.0f * samplePow<T>(blue[i] / 255.0f, 1.0f + 0.3f * t[i]); });
}

// rule(rgb, weight) for every pixel of a block, in one loop, the results
// clamped to the sample range.
template <typename Rule>
void forEachWeightedPixel(float* red, float* green, float* blue, float const* weights, int count, Rule rule)
{
    widestLoop(count, [red, green, blue, weights, &rule](int i) {
        float rgb[3] = {red[i], green[i], blue[i]};
        rule(rgb, weights[i]);
        red[i] = clamp255(rgb[0]);
        green[i] = clamp255(rgb[1]);
        blue[i] = clamp255(rgb[2]);
    });
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
    // A block's luminances and their weights along the curve first (the
    // lookups in one vectorised loop), then the pixels.
    forEachColourBlock(image, [&](float* red, float* green, float* blue, int count) {
        float luminances[colourBlockPixels];
        float weights[colourBlockPixels];
        widestLoop(count, [red, green, blue, &luminances](int i) {
            luminances[i] = float(luminance(red[i], green[i], blue[i]));
        });
        std::copy(luminances, luminances + count, weights);
        curve->lookupChannels(weights, count, 1.0f);
        // A curve may reach past 1; a weight beyond 0..1 is taken at the
        // nearest end, so the power curves keep positive exponents.
        for (int i = 0; i < count; ++i)
            weights[i] = std::clamp(weights[i] * a, 0.0f, 1.0f);
        if (method == ByColorize) {
            forEachWeightedPixel(red, green, blue, weights, count, [&colour](float* rgb, float w) {
                colourRules::applyMethod<colourRules::Colorize>(rgb, colour, HSV(), w);
            });
        } else if (method == ByColorBalance) {
            forEachWeightedPixel(red, green, blue, weights, count, [t](float* rgb, float w) {
                rgb[0] += 40.0f * t * w;
                rgb[2] -= 40.0f * t * w;
            });
        } else {
            // The curves; with the luminance kept, each pixel then moves back
            // to its own.
            for (int i = 0; i < count; ++i)
                weights[i] *= t;
            temperatureCurves<T>(red, green, blue, weights, count);
            if (method != ByRGBCurvesKeepingLuminance) {
                widestLoop(count, [red, green, blue](int i) {
                    red[i] = clamp255(red[i]);
                    green[i] = clamp255(green[i]);
                    blue[i] = clamp255(blue[i]);
                });
                return;
            }
            float curved[colourBlockPixels];
            widestLoop(count, [red, green, blue, &curved](int i) {
                curved[i] = float(luminance(red[i], green[i], blue[i]));
            });
            for (float* samples : {red, green, blue})
                widestLoop(count, [samples, &curved, &luminances](int i) {
                    samples[i] = clamp255(FlexImage<float>::movedSample(samples[i], curved[i], luminances[i]));
                });
        }
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModColorTemperature);
