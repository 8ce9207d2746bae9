#pragma once

#include "mods/styles/StylePipeline.h"

// Press photography on fast black and white film: the colours crossed and
// strengthened first (so the conversion sees them as a colour filter would),
// a little softness, heavy grain, hard contrast, then the black and white,
// paper-grey blacks and a strong S-curve. Version 4 is current; older
// versions keep the first recipe, without the blur.
class ImageMod1962 : public ImageModTemplate<ImageMod1962, ImageModStylePipeline>
{
public:
    explicit ImageMod1962(int version = 4);
    int getExtraPixelRadiusRequired(int width, int height, float scale) override;

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
