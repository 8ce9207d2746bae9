#pragma once

#include "mods/ImageModTemplate.h"

// A "horizontal" curve: for each input luminance the curve gives an exposure
// setting, 0.5 being neutral. Version 2 ("Gamma Curve") applies the plain
// power curves; other versions ("Exposure Curve") also drain colour from
// pixels they darken, as underexposed film does.
class ImageModExposureCurve : public ImageModTemplate<ImageModExposureCurve>
{
public:
    explicit ImageModExposureCurve(float amount = 1.0f, char const* curvePoints = "0 .5 1 .5");

    void setVersion(int v) override;

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // Names the filter after the rule its version selects.
    void updateNameToVersion();
};
