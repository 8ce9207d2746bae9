#pragma once

#include "mods/ImageModTemplate.h"

// One colour laid over the picture four ways: Tint (ImageModTint), Colorize
// (ImageModColorize), Color Filter (ImageModColorFilter) and Dye (ImageModDye).

// Their shared base: an Amount, a colour and the method that lays it on.
class ImageModColorOverlay : public ImageMod
{
public:
    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

protected:
    // method is one of the colour methods (colourRules::Method).
    ImageModColorOverlay(char const* name, int method, float amount, OVRGBColor colour, char const* text);

private:
    int method;
};

// Blends every pixel toward the colour.
class ImageModTint : public ImageModTemplate<ImageModTint, ImageModColorOverlay>
{
public:
    explicit ImageModTint(float amount = 0.0f, OVRGBColor colour = OVRGBColor(255.0f, 200.0f, 150.0f));
};

// Shifts every pixel by the colour's deviation from its own grey.
class ImageModColorize : public ImageModTemplate<ImageModColorize, ImageModColorOverlay>
{
public:
    explicit ImageModColorize(float amount = 0.0f, OVRGBColor colour = OVRGBColor(255.0f, 200.0f, 150.0f));
};

// Darkens channels whose colour component is under mid-grey and lightens
// those above, like a coloured filter over the lens.
class ImageModColorFilter : public ImageModTemplate<ImageModColorFilter, ImageModColorOverlay>
{
public:
    explicit ImageModColorFilter(float amount = 0.0f, OVRGBColor colour = OVRGBColor(255.0f, 200.0f, 150.0f));
};

// Recolours with the dye's hue and saturation, keeping the pixel's brightness.
class ImageModDye : public ImageModTemplate<ImageModDye, ImageModColorOverlay>
{
public:
    explicit ImageModDye(float amount = 0.0f, OVRGBColor colour = OVRGBColor(255.0f, 200.0f, 150.0f), int version = 2);
};
