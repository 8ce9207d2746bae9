#pragma once

#include "mods/ImageMod.h"

// Uneven discolouring, as on old or mishandled film: the colour is screened
// onto the picture through large soft blotches of value noise laid over the
// whole picture. Scale sets the blotch size, Stretch widens them
// horizontally, Offset moves the pattern.
class ImageModDiscolor : public ImageMod
{
public:
    explicit ImageModDiscolor(float amount = 0.0f, float offset = 0.0f,
                              OVRGBColor colour = OVRGBColor(255.0f, 150.0f, 90.0f), float scale = 1.0f,
                              float stretch = 0.5f);

    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    ImageMod* createCopy() const override { return copyOf(*this); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};

// A light leak: orange and purple glow where light got into the camera. A
// discolouring whose settings the "Remix" variation draws.
class ImageModLightleak : public ImageMod
{
public:
    explicit ImageModLightleak(float amount = 1.0f);

    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    ImageMod* createCopy() const override { return copyOf(*this); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
