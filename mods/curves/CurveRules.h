#pragma once

#include "imaging/FlexImage.h"
#include "imaging/ToneCurve.h"

// The pixel rules that several curve filters share.

// A channel value through the curve, blended with itself by amount.
inline float blendThroughCurve(float c, ToneCurve const& curve, float amount)
{
    return c * (1.0f - amount) + curve.lookupChannel(c) * 255.0f * amount;
}

// Every channel through the curve, blended by amount, a fourth too.
template <typename T>
void curveEachChannel(T* p, int channels, ToneCurve const& curve, float amount)
{
    for (int c = 0; c < channels; ++c)
        p[c] = FlexImage<T>::storeSample(blendThroughCurve(float(p[c]), curve, amount));
}
