#pragma once

#include <cmath>

#include "imaging/FastPow.h"

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
    // The curve at value v about centre with exponent k, using pow. The
    // side of the centre picks the base and the scale; one power serves
    // both, with no branch, so a loop over samples vectorises (the base not
    // picked may divide by 0 and is thrown away).
    // A value beyond 0..255 is taken at the nearest end (a power of a
    // negative base is not a number).
    template <typename Pow>
    static float curveAt(float v, float centre, float k, Pow pow)
    {
        v = v > 0.0f ? (v < 255.0f ? v : 255.0f) : 0.0f;
        bool const above = v > centre;
        // centre 0: only v = 0 is not above it, and 0 maps to 0 (0 / 1).
        float const below = centre > 0.0f ? centre : 1.0f;
        float const curved = pow((above ? 255.0f - v : v) / (above ? 255.0f - centre : below), k);
        return above ? 255.0f - (255.0f - centre) * curved : centre * curved;
    }

    // The curve for an amount on 0..2 about centre, as a rule over samples
    // of type T.
    template <typename T>
    static auto curve(float amount, float centre)
    {
        float const k = exponentFor(amount);
        return [centre, k](float c) { return curveAt(c, centre, k, [](float x, float y) { return samplePow<T>(x, y); }); };
    }

protected:
    ImageModContrast(char const* name, float amount, float center, char const* centerName, char const* text);
};
