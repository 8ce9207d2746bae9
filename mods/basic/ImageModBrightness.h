#pragma once

#include "mods/ImageModTemplate.h"

// A straight tone curve: above 1 the black point lifts, below 1 the white
// point drops.
class ImageModBrightness : public ImageModTemplate<ImageModBrightness>
{
public:
    explicit ImageModBrightness(float amount = 1.0f);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
