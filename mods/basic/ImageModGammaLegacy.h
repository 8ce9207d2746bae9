#pragma once

#include "mods/ImageMod.h"

// The exposure rule of older presets, a plain gamma. Version 2 (set by the
// constructor) guards pure black and white so that they move too.
class ImageModGammaLegacy : public ImageMod
{
public:
    explicit ImageModGammaLegacy(float amount = 1.0f);

    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    ImageMod* createCopy() const override { return copyOf(*this); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
