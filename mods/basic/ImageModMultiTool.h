#pragma once

#include "mods/ImageModTemplate.h"

// Exposure, contrast and saturation on three 0..100 sliders (50 is neutral).
// Version 2 (current) uses the Exposure rule; older versions the legacy gamma.
class ImageModMultiTool : public ImageModTemplate<ImageModMultiTool>
{
public:
    explicit ImageModMultiTool(int version = 2);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
