#pragma once

#include "mods/styles/StylePipeline.h"

// A faded print: highlights held back and blacks lifted, warm yellow-green
// midtones, muted colour, two layers of grain (fine and coarse colour) and a
// warm cast shifting in the shadows.
class ImageModHipster : public ImageModTemplate<ImageModHipster, ImageModStylePipeline>
{
public:
    ImageModHipster();

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
