#include "mods/curves/ImageModExposureCurve.h"

#include <cmath>
#include <type_traits>

#include "mods/common/ExposureRules.h"
#include "mods/common/SampleLoop.h"

ImageModExposureCurve::ImageModExposureCurve(float amount, char const* curvePoints)
    : ImageModTemplate("Exposure Curve", "")
{
    addPercentVar("Amount", amount, 0.0f, 1.0f);
    setAuxFloat(0, 1.0f);
    addCurveVar("Curve", curvePoints);
    setAuxCurve(1, "0 .25 1 .75");
    setVersion(2);
    setDefaultVarsToCurrent();
}

void ImageModExposureCurve::setVersion(int v)
{
    ImageMod::setVersion(v);
    updateNameToVersion();
}

bool ImageModExposureCurve::answersToName(GrowString const& requested, int* impliedVersion) const
{
    int const named = requested == "Gamma Curve" ? 2 : (requested == "Exposure Curve" ? 1 : 0);
    if (named && impliedVersion)
        *impliedVersion = named;
    return named != 0;
}

void ImageModExposureCurve::updateNameToVersion()
{
    if (version == 2) {
        name = "Gamma Curve";
        description = "Adjust gamma using a horizontal curve editor.";
    } else {
        name = "Exposure Curve";
        description = "Adjust exposure using a horizontal curve editor.";
    }
}

namespace {

// The exposure the curve sets at a luminance whose curve value is curved.
// The exposure rules hold from 0 (black) to 2 (white); a curve drawn outside
// 0..1 takes the nearest end.
inline float exposureFrom(float curved, float a)
{
    return std::fmin(std::fmax(curved * 2.0f * a + (1.0f - a), 0.0f), 2.0f);
}

// Gamma Curve's plain power curves (no colour drained) over float pixels,
// a block at a time: the pixels' exposures first, each with the power it
// raises to, then every channel's samples in one loop through one power:
// brightened above exposure 1, darkened below, kept at 1 (the arithmetic of
// exposureRules::brighten and darken).
void gammaByBlocks(FlexImage<float>* image, ToneCurve const& curve, float a)
{
    forEachColourBlock(image, [&curve, a](float* red, float* green, float* blue, int count) {
        float exposures[colourBlockPixels];
        float powers[colourBlockPixels];
        widestLoop(count, [red, green, blue, &exposures](int i) {
            exposures[i] = float(luminance(red[i], green[i], blue[i]));
        });
        curve.lookupChannels(exposures, count, 1.0f);
        for (int i = 0; i < count; ++i) {
            float const e = exposureFrom(exposures[i], a);
            exposures[i] = e;
            powers[i] = e > 1.0f ? 1.0f / (2.0f - e) : 1.0f / e;
        }
        for (float* samples : {red, green, blue})
            widestLoop(count, [samples, &exposures, &powers](int i) {
                float const v = samples[i];
                bool const brighter = exposures[i] > 1.0f;
                float const lifted = v >= 0.05f ? v : 0.05f;
                float const inRange = lifted > 0.0f ? (lifted < 255.0f ? lifted : 255.0f) : 0.0f;
                float const held = v > 0.0f ? (v < 254.95f ? v : 254.95f) : 0.0f;
                float const r = fastPow::power((brighter ? 255.0f - inRange : held) / 255.0f, powers[i]);
                float const moved = brighter ? 255.0f - 255.0f * r : 255.0f * r;
                samples[i] = exposures[i] == 1.0f ? v : moved;
            });
    });
}

} // namespace

template <typename T>
void ImageModExposureCurve::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    static float const neutral[] = {0.0f, 0.5f, 1.0f, 0.5f};
    float const a = floatVarInRange(0);
    ToneCurve const* curve = curveVar(1);
    if (a == 0.0f || !curve || curve->hasControlPoints(neutral, 2))
        return;
    bool const drainColour = version != 2;
    if constexpr (std::is_same_v<T, float>) {
        if (!drainColour && image->channels >= 3) {
            gammaByBlocks(image, *curve, a);
            return;
        }
    }
    forEachPixel(image, [&](T* p, int channels) {
        float const e = exposureFrom(curve->lookupChannel(float(pixelLuminance(p, channels))), a);
        if (e == 1.0f)
            return;
        int const colours = channels < 3 ? channels : 3;
        if (e > 1.0f) {
            for (int c = 0; c < colours; ++c)
                p[c] = FlexImage<T>::storeSample(exposureRules::brighten<T>(std::fmax(float(p[c]), 0.05f), e));
        } else if (drainColour) {
            exposureRules::darkenPixel(p, colours, e, exposureRules::colourKeptWhenDarkening(e));
        } else {
            for (int c = 0; c < colours; ++c)
                p[c] = FlexImage<T>::storeSample(exposureRules::darken<T>(float(p[c]), e));
        }
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModExposureCurve);
