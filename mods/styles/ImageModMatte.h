#pragma once

#include "mods/styles/StylePipeline.h"

// A matte print: deeper midtones, then the blacks lifted into grey (the
// Remix moves between a light and a heavy matte), fine grain and lower
// contrast.
class ImageModMatte : public ImageModTemplate<ImageModMatte, ImageModStylePipeline>
{
public:
    explicit ImageModMatte(int version = 1);

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
