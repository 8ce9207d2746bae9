#pragma once

#include "mods/ImageMod.h"

// Contrast with a compensating saturation change: raising contrast lowers
// saturation and lowering it raises saturation, by a fixed factor of 0.44.
class ImageModContrastAndSaturation : public ImageMod
{
public:
    ImageModContrastAndSaturation();

    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    ImageMod* createCopy() const override { return copyOf(*this); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
