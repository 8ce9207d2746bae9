#pragma once

#include "mods/styles/StylePipeline.h"

// An old-time portrait studio: brighter, warm sepia, the corners fading to
// white rather than black.
class ImageModSaloon : public ImageModTemplate<ImageModSaloon, ImageModStylePipeline>
{
public:
    ImageModSaloon();

protected:
    void buildSteps(float a, double v, StyleSteps* steps) const override;
};
