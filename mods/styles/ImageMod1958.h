#pragma once

#include "mods/styles/StylePipeline.h"

// Fifties colour prints: lifted blacks and held-back whites, maroon in the
// shadows and midtones, a slightly cool paper in the highlights, gentle
// contrast, faded colour and a soft focus. Version 2 is current; version 1
// keeps the first recipe, without the blur.
class ImageMod1958 : public ImageModTemplate<ImageMod1958, ImageModStylePipeline>
{
public:
    explicit ImageMod1958(int version = 2);
    int getExtraPixelRadiusRequired(int width, int height, float scale) override;

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
