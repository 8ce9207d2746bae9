#pragma once

#include "mods/ImageModTemplate.h"

// Curves per colour channel: R,G,B Curves (ImageModRGBCurves) and Component
// Curve (ImageModComponentCurve).

// Separate curves for red, green and blue, then one curve for all three,
// blended in by Amount.
class ImageModRGBCurves : public ImageModTemplate<ImageModRGBCurves>
{
public:
    explicit ImageModRGBCurves(char const* red = "0 0 1 1", char const* green = "0 0 1 1",
                               char const* blue = "0 0 1 1", float amount = 1.0f, char const* all = "0 0 1 1");

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};

// One curve for a single channel or a pair of channels.
class ImageModComponentCurve : public ImageModTemplate<ImageModComponentCurve>
{
public:
    enum Components { Red, Green, Blue, RedGreen, GreenBlue, BlueRed };

    explicit ImageModComponentCurve(char const* curvePoints = "0 0 1 1", int components = Red);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // Which of red, green and blue the selected components include.
    void selectedChannels(bool* changes) const;
};
