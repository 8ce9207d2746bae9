#pragma once

#include <cmath>

#include "mods/ImageModTemplate.h"

// A power curve about a centre value: the centre, 0 and 255 stay put; above
// 1 values move away from the centre, below 1 toward it.
class ImageModContrast : public ImageModTemplate<ImageModContrast>
{
public:
    explicit ImageModContrast(float amount = 1.0f, float center = 127.5f);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // The exponent for an amount on 0..2.
    static float exponentFor(float amount) { return amount < 1.0f ? amount : 1.0f / (2.0f - amount); }
    // The curve at value v about centre with exponent k.
    static float curveAt(float v, float centre, float k)
    {
        if (v > centre)
            return 255.0f - (255.0f - centre) * std::pow((255.0f - v) / (255.0f - centre), k);
        if (centre <= 0.0f)
            return 0.0f; // centre 0: only v = 0 gets here, and 0 maps to 0
        return centre * std::pow(v / centre, k);
    }

protected:
    ImageModContrast(char const* name, float amount, float center, char const* centerName, char const* text);
};
