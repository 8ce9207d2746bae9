#pragma once

#include "mods/ImageModTemplate.h"

// Filters that shift the colour channels by fixed offsets: Color Balance
// (ImageModColorBalance) and White Balance (ImageModWhiteBalance).

// Adds a fixed amount to each of red, green and blue.
class ImageModColorBalance : public ImageModTemplate<ImageModColorBalance>
{
public:
    explicit ImageModColorBalance(float red = 0.0f, float green = 0.0f, float blue = 0.0f);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};

// Neutralises a colour cast: the picked colour, which should be white, is
// moved toward its own grey, and every pixel with it.
class ImageModWhiteBalance : public ImageModTemplate<ImageModWhiteBalance>
{
public:
    explicit ImageModWhiteBalance(OVRGBColor white = OVRGBColor(255.0f, 255.0f, 255.0f));

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};

// Adds per-channel offsets to red, green and blue, limited to 0..255.
template <typename T>
void addChannelOffsets(FlexImage<T>* image, float const* offsets);
