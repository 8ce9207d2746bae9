#pragma once

#include "mods/ImageModTemplate.h"

// Curves on lightness and on the two colour-opponent axes of Lab: the L curve
// changes tone without shifting colour, the a and b curves move colours along
// green-magenta and blue-yellow.
class ImageModLabCurves : public ImageModTemplate<ImageModLabCurves>
{
public:
    explicit ImageModLabCurves(char const* lightness = "0 0 1 1", char const* a = "0 0 1 1",
                               char const* b = "0 0 1 1");

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // sRGB on 0..255 (D65) to L on 0..100 and a, b roughly on -128..127, and back.
    static void rgbToLab(float const* rgb, float* lab);
    static void labToRgb(float const* lab, float* rgb);
};
