#pragma once

#include "mods/styles/StylePipeline.h"

// Summer haze: brighter, paler colour, blacks lifted into a milky haze,
// greens and blues opened up toward aqua, and the corners fading light.
class ImageModPoolside : public ImageModTemplate<ImageModPoolside, ImageModStylePipeline>
{
public:
    explicit ImageModPoolside(int version = 1);

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
