#pragma once

#include "mods/ImageMod.h"

// Blends each pixel with its grey. Version 2 (current) takes the grey from
// perceived brightness and changes only red, green and blue; older versions
// take it from luma and change every channel.
class ImageModSaturation : public ImageMod
{
public:
    explicit ImageModSaturation(float amount = 1.0f, int version = 2);

    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    ImageMod* createCopy() const override { return copyOf(*this); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // The upper half of the slider maps 1..2 onto 1..100000, steeply.
    static double factorFor(float amount);
};
