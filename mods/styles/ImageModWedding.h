#pragma once

#include "mods/styles/StylePipeline.h"

// A clean, bright SLR look: a little lifted, gently saturated, soft
// contrast and a light darkening of the corners. Its Remix turns one angle
// that drives every setting at its own rate.
class ImageModWedding : public ImageModTemplate<ImageModWedding, ImageModStylePipeline>
{
public:
    ImageModWedding();

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
