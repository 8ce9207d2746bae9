#pragma once

#include "mods/ImageModTemplate.h"

// Replaces each primary by a chosen colour: every pixel is rebuilt as its
// red, green and blue amounts of the three replacement colours, scaled so
// that white cannot exceed 255.
class ImageModRGBSwap : public ImageModTemplate<ImageModRGBSwap>
{
public:
    ImageModRGBSwap();

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
