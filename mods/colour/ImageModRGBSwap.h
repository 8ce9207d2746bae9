#pragma once

#include "mods/ImageMod.h"

// Replaces each primary by a chosen colour: every pixel is rebuilt as its
// red, green and blue amounts of the three replacement colours, scaled so
// that white cannot exceed 255.
class ImageModRGBSwap : public ImageMod
{
public:
    ImageModRGBSwap();

    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    ImageMod* createCopy() const override { return copyOf(*this); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
