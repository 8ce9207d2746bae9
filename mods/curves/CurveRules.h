#pragma once

#include <algorithm>
#include <cstddef>

#include "imaging/FlexImage.h"
#include "imaging/ToneCurve.h"

// The pixel rules that several curve filters share.

// A channel value through the curve, blended with itself by amount.
inline float blendThroughCurve(float c, ToneCurve const& curve, float amount)
{
    return c * (1.0f - amount) + curve.lookupChannel(c) * 255.0f * amount;
}

// The curve filters' loops take samples a block at a time: the block's
// samples through the curve in one vectorised loop, then the blend.
constexpr int curveBlock = 256;

// n samples each through the curve, blended by amount (blendThroughCurve).
template <typename T>
void blendSamplesThroughCurve(T* samples, size_t n, ToneCurve const& curve, float amount)
{
    float curved[curveBlock];
    for (size_t start = 0; start < n; start += curveBlock) {
        int const count = int(std::min(size_t(curveBlock), n - start));
        T* s = samples + start;
        widestLoop(count, [s, &curved](int i) { curved[i] = float(s[i]); });
        curve.lookupChannels(curved, count, 255.0f);
        widestLoop(count, [s, &curved, amount](int i) {
            s[i] = FlexImage<T>::storeSample(float(s[i]) * (1.0f - amount) + curved[i] * amount);
        });
    }
}
