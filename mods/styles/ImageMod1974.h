#pragma once

#include "mods/styles/StylePipeline.h"

// A faded family snapshot: soft focus, a gentle S-curve, an orange tint in
// the shadows, faded blacks and whites, a little crossed colour, grain,
// shadows gone teal and highlights yellowed, muted colour. Version 3 is
// current; older versions keep the first recipe (a tint that cools the
// highlights, no blur).
class ImageMod1974 : public ImageModTemplate<ImageMod1974, ImageModStylePipeline>
{
public:
    explicit ImageMod1974(int version = 3);
    int getExtraPixelRadiusRequired(int width, int height, float scale) override;

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
