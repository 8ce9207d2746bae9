#pragma once

#include "mods/ImageMod.h"

// Darkens (or, with a negative Amount, lightens) the picture toward its
// corners along the shared ramp of distance from the picture's centre.
class ImageModVignette : public ImageMod
{
public:
    explicit ImageModVignette(float amount = 0.0f, float sharpness = 50.0f, float radius = 1.0f);

    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    ImageMod* createCopy() const override { return copyOf(*this); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
