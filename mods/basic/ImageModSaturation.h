#pragma once

#include "mods/ImageModTemplate.h"

// Blends each pixel with its grey. Version 2 (current) takes the grey from
// perceived brightness and changes only red, green and blue; older versions
// take it from luma and change every channel.
class ImageModSaturation : public ImageModTemplate<ImageModSaturation>
{
public:
    explicit ImageModSaturation(float amount = 1.0f, int version = 2);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
