#pragma once

#include "mods/ImageMod.h"

// Base of the camera styles: a ready-made look built of ordinary filters run
// on the spot inside the style's own applyMod.
class ImageModStyle : public ImageMod
{
public:
    ImageModStyle(char const* name, char const* displayName)
        : ImageMod(name, displayName)
    {
    }

    int getModCategory() const override { return CategoryStyle; }
};
