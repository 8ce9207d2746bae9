#pragma once

#include "mods/ImageMod.h"

// Exposure, contrast and saturation on three 0..100 sliders (50 is neutral).
// Version 2 (current) uses the Exposure rule; older versions the legacy gamma.
class ImageModMultiTool : public ImageMod
{
public:
    explicit ImageModMultiTool(int version = 2);

    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    ImageMod* createCopy() const override { return copyOf(*this); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
