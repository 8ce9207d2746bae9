#pragma once

#include "mods/ImageModTemplate.h"

// Changes the saturation of one hue only, fading out smoothly over half the
// tolerance beyond it.
class ImageModSelectiveColor : public ImageModTemplate<ImageModSelectiveColor>
{
public:
    explicit ImageModSelectiveColor(OVRGBColor colour = OVRGBColor(255.0f, 0.0f, 0.0f), float tolerance = 20.0f,
                                    float saturation = 0.3f);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // How strongly a hue dh degrees away from the chosen one is affected.
    static float hueWeight(float dh, float tolerance);
};
