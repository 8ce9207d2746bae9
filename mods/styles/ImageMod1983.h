#pragma once

#include "mods/styles/StylePipeline.h"

// Eighties flash film: crushed shadows, warm reds against magenta-shadowed
// greens, a purple-to-peach split tone, dark corners, gritty grain, hard
// contrast. Version 3 adds a glow (a partial blur); older versions keep the
// first recipe without it.
class ImageMod1983 : public ImageModTemplate<ImageMod1983, ImageModStylePipeline>
{
public:
    explicit ImageMod1983(int version = 3);
    int getExtraPixelRadiusRequired(int width, int height, float scale) override;

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
