#pragma once

#include "mods/ImageMod.h"

// A straight tone curve: above 1 the black point lifts, below 1 the white
// point drops.
class ImageModBrightness : public ImageMod
{
public:
    explicit ImageModBrightness(float amount = 1.0f);

    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    ImageMod* createCopy() const override { return copyOf(*this); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
