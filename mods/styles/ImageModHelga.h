#pragma once

#include "mods/styles/StylePipeline.h"

// A toy medium-format camera: edges blurred by the plastic lens, contrast,
// lifted and flattened tones, colour bleeding between channels, heavy soft
// vignetting, washed-out highlights and a touch of crossed colour. Version 2
// is current; version 1 keeps the first recipe, without the lens blur.
class ImageModHelga : public ImageModTemplate<ImageModHelga, ImageModStylePipeline>
{
public:
    explicit ImageModHelga(int version = 2);
    int getExtraPixelRadiusRequired(int width, int height, float scale) override;

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
