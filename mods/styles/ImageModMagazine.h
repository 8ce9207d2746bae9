#pragma once

#include "mods/styles/StylePipeline.h"

// Glossy print: strong luminance contrast that keeps colour, warm rich
// shadows, a deep tone curve and saturated colour. Version 2 is the current
// recipe; other versions keep the plainer first one (no colour filter).
class ImageModMagazine : public ImageModTemplate<ImageModMagazine, ImageModStylePipeline>
{
public:
    explicit ImageModMagazine(int version = 2);

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
