#pragma once

#include "imaging/FlexImage.h"
#include "imaging/ToneCurve.h"

// The pixel rules that several curve filters share.

// A channel value through the curve, blended with itself by amount.
inline float blendThroughCurve(float c, ToneCurve const& curve, float amount)
{
    return c * (1.0f - amount) + curve.lookupChannel(c) * 255.0f * amount;
}

// Moves the pixel's luminance to its blended curve value, every colour
// channel following in proportion (toward black or toward white).
template <typename T>
void curveLuminance(T* p, int channels, ToneCurve const& curve, float amount)
{
    int const colours = channels < 3 ? channels : 3;
    float const L = float(pixelLuminance(p, channels));
    FlexImage<T>::moveLuminance(p, colours, L, blendThroughCurve(L, curve, amount));
}

// Every colour channel through the curve, blended by amount; a fourth
// channel is left alone.
template <typename T>
void curveEachColour(T* p, int channels, ToneCurve const& curve, float amount)
{
    int const colours = channels < 3 ? channels : 3;
    for (int c = 0; c < colours; ++c)
        p[c] = FlexImage<T>::storeSample(blendThroughCurve(float(p[c]), curve, amount));
}
