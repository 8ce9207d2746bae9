#pragma once

#include "mods/ImageMod.h"

// The colour-overlay filters: one colour and an Amount, four ways of laying
// the colour over the picture.
class ImageModColorOverlay : public ImageMod
{
public:
    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

protected:
    // method is one of the colour methods (colourRules::Method).
    ImageModColorOverlay(char const* name, int method, float amount, OVRGBColor colour, char const* text);

private:
    int method;
};

// Blends every pixel toward the colour.
class ImageModTint : public ImageModColorOverlay
{
public:
    explicit ImageModTint(float amount = 0.0f, OVRGBColor colour = OVRGBColor(255.0f, 200.0f, 150.0f));
    ImageMod* createCopy() const override { return copyOf(*this); }
};

// Shifts every pixel by the colour's deviation from its own grey.
class ImageModColorize : public ImageModColorOverlay
{
public:
    explicit ImageModColorize(float amount = 0.0f, OVRGBColor colour = OVRGBColor(255.0f, 200.0f, 150.0f));
    ImageMod* createCopy() const override { return copyOf(*this); }
};

// Darkens channels whose colour component is under mid-grey and lightens
// those above, like a coloured filter over the lens.
class ImageModColorFilter : public ImageModColorOverlay
{
public:
    explicit ImageModColorFilter(float amount = 0.0f, OVRGBColor colour = OVRGBColor(255.0f, 200.0f, 150.0f));
    ImageMod* createCopy() const override { return copyOf(*this); }
};

// Recolours with the dye's hue and saturation, keeping the pixel's brightness.
class ImageModDye : public ImageModColorOverlay
{
public:
    explicit ImageModDye(float amount = 0.0f, OVRGBColor colour = OVRGBColor(255.0f, 200.0f, 150.0f), int version = 2);
    ImageMod* createCopy() const override { return copyOf(*this); }
};
