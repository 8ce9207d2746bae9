#pragma once

#include "mods/ImageModTemplate.h"

// Darkens (or, with a negative Amount, lightens) the picture toward its
// corners along the shared ramp of distance from the picture's centre.
class ImageModVignette : public ImageModTemplate<ImageModVignette>
{
public:
    explicit ImageModVignette(float amount = 0.0f, float sharpness = 50.0f, float radius = 1.0f);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
