#pragma once

#include "mods/styles/StylePipeline.h"

// A plastic toy camera: light leaking in as warm blotches, deep dark
// corners, cheap crossed colour (teal shadows, cream highlights), a hard
// curve and coarse grain.
class ImageModPlastic : public ImageModTemplate<ImageModPlastic, ImageModStylePipeline>
{
public:
    ImageModPlastic();

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
