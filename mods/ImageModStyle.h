#pragma once

#include "mods/ImageMod.h"

// Base of the camera styles: a ready-made look built of ordinary filters run
// on the spot inside the style's own applyMod. Every style has the same two
// variables: "Amount" (0 leaves the picture alone, 1 is the full look) and
// "Variation", shown as "Remix", which wanders through a family of related
// looks as it moves (any real value).
class ImageModStyle : public ImageMod
{
public:
    ImageModStyle(char const* name, char const* displayName)
        : ImageMod(name, displayName)
    {
    }

    int getModCategory() const override { return CategoryStyle; }

protected:
    // Adds the two variables, sets the version and makes the current values
    // the defaults: the end of every style's constructor.
    void addStyleVars(float amount, float variation, int styleVersion)
    {
        addPercentVar("Amount", amount, 0.0f, 1.0f);
        addPercentVar(remixVariableName, variation, 0.0f, 1.0f)->setDisplayName(remixDisplayName);
        setVersion(styleVersion);
        setDefaultVarsToCurrent();
    }

    // A missing or non-float variable reads as 0.
    float amount() const { return floatVarInRange(0); }
    double variation() const { return double(floatVar(1)); }
};
