#pragma once

#include "mods/ImageModTemplate.h"

// Film grain ("Grain") from two octaves of smooth value noise laid over the
// whole picture, so that it continues seamlessly across tiles. The filter's
// version is the grain mode: 1 is the luminance grain the camera styles use
// (more in the shadows, applied as a small power curve); 2, 3 and 4 are
// additive grain: 2 monochrome, 3 colour, 4 (the default) mostly monochrome
// with a little colour, as colour film shows it.
class ImageModNoise : public ImageModTemplate<ImageModNoise>
{
public:
    // The int is accepted and ignored: the grain starts in mode 4.
    explicit ImageModNoise(float amount = 0.0f, float scale = 50.0f, float offset = 0.0f, int ignoredMode = 4);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    int grainMode() const;
};
