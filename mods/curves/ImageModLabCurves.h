#pragma once

#include "mods/ImageMod.h"

// Curves on lightness and on the two colour-opponent axes of Lab: the L curve
// changes tone without shifting colour, the a and b curves move colours along
// green-magenta and blue-yellow.
class ImageModLabCurves : public ImageMod
{
public:
    explicit ImageModLabCurves(char const* lightness = "0 0 1 1", char const* a = "0 0 1 1",
                               char const* b = "0 0 1 1");

    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    ImageMod* createCopy() const override { return copyOf(*this); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // sRGB on 0..255 (D65) to L on 0..100 and a, b roughly on -128..127, and back.
    static void rgbToLab(float const* rgb, float* lab);
    static void labToRgb(float const* lab, float* rgb);
};
