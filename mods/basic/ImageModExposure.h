#pragma once

#include "mods/ImageModTemplate.h"

// Exposure: above 1 the highlights' headroom is compressed (brighter), below
// 1 a power curve darkens and drains some colour, as film does when it is
// underexposed.
class ImageModExposure : public ImageModTemplate<ImageModExposure>
{
public:
    explicit ImageModExposure(float amount = 1.0f);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
