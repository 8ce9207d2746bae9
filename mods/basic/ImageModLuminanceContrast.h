#pragma once

#include "mods/basic/ImageModContrast.h"

// The contrast curve applied to luminance; the channels follow in proportion,
// so saturation is kept.
class ImageModLuminanceContrast : public ImageModTemplate<ImageModLuminanceContrast, ImageModContrast>
{
public:
    explicit ImageModLuminanceContrast(float amount = 1.0f, float center = 127.5f);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
