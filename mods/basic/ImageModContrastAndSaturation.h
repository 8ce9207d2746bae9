#pragma once

#include "mods/ImageModTemplate.h"

// Contrast with a compensating saturation change: raising contrast lowers
// saturation and lowering it raises saturation, by a fixed factor of 0.44.
class ImageModContrastAndSaturation : public ImageModTemplate<ImageModContrastAndSaturation>
{
public:
    ImageModContrastAndSaturation();

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
