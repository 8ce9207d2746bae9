#pragma once

#include "mods/basic/ImageModContrast.h"

// The contrast curve applied to luminance; the channels follow in proportion,
// so saturation is kept.
class ImageModLuminanceContrast : public ImageModContrast
{
public:
    explicit ImageModLuminanceContrast(float amount = 1.0f, float center = 127.5f);

    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    ImageMod* createCopy() const override { return copyOf(*this); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
