#pragma once

#include "mods/ImageModTemplate.h"

// Black and white through a coloured lens filter: hues near "Filter Hue"
// come out lighter, their complements darker. Amount blends from a plain
// luminance grey to the filtered grey.
class ImageModFilteredBW : public ImageModTemplate<ImageModFilteredBW>
{
public:
    explicit ImageModFilteredBW(float amount = 100.0f, float hue = 180.0f);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // The grey weights of red, green and blue behind a filter of the given
    // hue and strength (0..1); they sum to 1.
    static void filterWeights(float hue, float strength, float* weights);
};
