#pragma once

#include "mods/styles/StylePipeline.h"

// Instant film: a little brighter, a tone curve between the print's hard
// and soft response (Remix), dark corners, the yellow-green cast of the
// chemistry, uneven warm development and a soft focus. Version 2 is
// current; version 1 keeps the first recipe, without the blotches and blur.
class ImageModInstant : public ImageModTemplate<ImageModInstant, ImageModStylePipeline>
{
public:
    explicit ImageModInstant(int version = 2);
    int getExtraPixelRadiusRequired(int width, int height, float scale) override;

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
