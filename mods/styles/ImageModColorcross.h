#pragma once

#include "mods/ImageModStyle.h"
#include "mods/ImageModTemplate.h"

// Cross-processing, the darkroom trick of developing film in the other
// film's chemistry: red gains contrast, green opens up, blue loses its
// depth (lifted blacks, dulled whites), and every hue turns a little
// around the grey axis. Remix moves the turn and each channel's curve.
class ImageModColorcross : public ImageModTemplate<ImageModColorcross, ImageModStyle>
{
public:
    explicit ImageModColorcross(float amount = 1.0f, float variation = 0.0f, int version = 1);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
