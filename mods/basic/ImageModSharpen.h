#pragma once

#include <cmath>

#include "mods/ImageModTemplate.h"

// Adds a high-pass of the picture back to it. The high-pass reaches half a
// pixel of the full-size picture, so its kernel widens at reduced scales.
class ImageModSharpen : public ImageModTemplate<ImageModSharpen>
{
public:
    explicit ImageModSharpen(float amount = 0.0f);

    int getExtraPixelRadiusRequired(int width, int height, float scale) override;

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // The (2r + 1)^2 high-pass: -1 everywhere, the centre balancing to a sum of 0.
    static void makeHighPassKernel(int r, GrowArray<float>* out);
    // A render at scale s needs ceil(0.5 / s) pixels. Scales below 1/64 (or
    // not a positive number) are taken as 1/64: a 32-pixel reach is the most
    // a one-pixel sharpening can use.
    static int radiusForScale(float scale)
    {
        return int(std::ceil(0.5f / (scale >= 1.0f / 64.0f ? scale : 1.0f / 64.0f)));
    }
};
