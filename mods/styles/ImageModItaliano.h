#pragma once

#include "mods/styles/StylePipeline.h"

// Coffee and terracotta: red lifted most, green less, blue least (a warm
// brown cast), earthy muted colour, soft contrast that keeps colour, dark
// corners, fine grain. Version 2 adds a soft glow (a partial blur); other
// versions keep the first recipe without it.
class ImageModItaliano : public ImageModTemplate<ImageModItaliano, ImageModStylePipeline>
{
public:
    explicit ImageModItaliano(int version = 2);
    int getExtraPixelRadiusRequired(int width, int height, float scale) override;

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
