#pragma once

#include <cmath>

#include "mods/ImageMod.h"

// Exposure: above 1 the highlights' headroom is compressed (brighter), below
// 1 a power curve darkens and drains some colour, as film does when it is
// underexposed.
class ImageModExposure : public ImageMod
{
public:
    explicit ImageModExposure(float amount = 1.0f);

    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    ImageMod* createCopy() const override { return copyOf(*this); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // The brightening curve for an exposure e in (1, 2).
    static float brighten(float c, float e) { return 255.0f - 255.0f * std::pow((255.0f - c) / 255.0f, 1.0f / (2.0f - e)); }
    // The darkening curve for an exposure e in [0, 1); white is held just
    // below 255 so that it darkens too.
    static float darken(float c, float e)
    {
        float const held = c < 254.95f ? c : 254.95f;
        return 255.0f * std::pow(held / 255.0f, 1.0f / e);
    }
    // How much colour survives darkening by e: (1 - |e - 1|)^0.4.
    static float colourKeptWhenDarkening(float e) { return float(std::pow(1.0 - std::fabs(double(e) - 1.0), 0.4)); }
    // Darkens every channel of a pixel by e, then pulls it toward its own
    // luminance so that deep darkening also drains colour.
    template <typename T>
    static void darkenPixel(T* p, int channels, float e, float kept);
};
