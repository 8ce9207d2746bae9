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
    // "Gamma Curve" stands for version 2 and "Exposure Curve" for version 1,
    // so a preset that names either without a version gets the rule it names.
    bool answersToName(GrowString const& requested, int* impliedVersion) const override;

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // Names the filter after the rule its version selects.
    void updateNameToVersion();
};
