#pragma once

#include "mods/styles/StylePipeline.h"

// A cheap lens on fast film: a touch soft, darker, hard channel curves that
// crush the shadows, punchy colour, heavy dark corners and coarse grain.
class ImageModSkater : public ImageModTemplate<ImageModSkater, ImageModStylePipeline>
{
public:
    explicit ImageModSkater(int version = 1);
    int getExtraPixelRadiusRequired(int width, int height, float scale) override;

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
