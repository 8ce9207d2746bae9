#pragma once

#include "mods/ImageModTemplate.h"

// The exposure rule of older presets, a plain gamma. Version 2 (set by the
// constructor) guards pure black and white so that they move too.
class ImageModGammaLegacy : public ImageModTemplate<ImageModGammaLegacy>
{
public:
    explicit ImageModGammaLegacy(float amount = 1.0f);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
