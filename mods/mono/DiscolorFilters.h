#pragma once

#include "mods/ImageModTemplate.h"

// Uneven discolouring: Discolor (ImageModDiscolor) and the light leak
// (ImageModLightleak) built on it.

// Uneven discolouring, as on old or mishandled film: the colour is screened
// onto the picture through large soft blotches of value noise laid over the
// whole picture. Scale sets the blotch size, Stretch widens them
// horizontally, Offset moves the pattern.
class ImageModDiscolor : public ImageModTemplate<ImageModDiscolor>
{
public:
    explicit ImageModDiscolor(float amount = 0.0f, float offset = 0.0f,
                              OVRGBColor colour = OVRGBColor(255.0f, 150.0f, 90.0f), float scale = 1.0f,
                              float stretch = 0.5f);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};

// A light leak: orange and purple glow where light got into the camera. A
// discolouring whose settings the "Remix" variation draws.
class ImageModLightleak : public ImageModTemplate<ImageModLightleak>
{
public:
    explicit ImageModLightleak(float amount = 1.0f);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
