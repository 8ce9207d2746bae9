#pragma once

#include "mods/styles/StylePipeline.h"

// Version 2: a toned black and white, its tint wandering with the Remix
// (split between the tint in the highlights and its complement in the
// shadows). Older versions: half colour, the colour drained and crossed.
class ImageModSilver : public ImageModTemplate<ImageModSilver, ImageModStylePipeline>
{
public:
    explicit ImageModSilver(int version = 2);

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
