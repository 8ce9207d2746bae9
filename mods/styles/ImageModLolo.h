#pragma once

#include "mods/styles/StylePipeline.h"

// Vivid snapshots: punchy contrast and strong saturation, with a pop of
// colour in the midtones whose hue the Remix swings widely.
class ImageModLolo : public ImageModTemplate<ImageModLolo, ImageModStylePipeline>
{
public:
    ImageModLolo();

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
