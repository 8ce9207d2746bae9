#pragma once

#include "mods/styles/StylePipeline.h"

// Early colour plates: the image built of coloured starch grains (coarse
// grain of its own colour in each channel), soft pastel colour, low
// contrast and a soft focus. Version 3 is current; older versions keep the
// first recipe, without the blur.
class ImageModAutochrome : public ImageModTemplate<ImageModAutochrome, ImageModStylePipeline>
{
public:
    explicit ImageModAutochrome(int version = 3);
    int getExtraPixelRadiusRequired(int width, int height, float scale) override;

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
