#pragma once

#include "mods/ImageModTemplate.h"

// Curves over hue: Hue Shift (ImageModHueShift), Hue Brightness
// (ImageModHueBrightness) and Saturation Curve (ImageModSaturationCurve).

// Filters driven by a curve over hue ("Hue Region"): at each pixel the curve
// is read at the pixel's hue, 0.5 meaning "leave alone".
class ImageModHueCurve : public ImageMod
{
protected:
    ImageModHueCurve(char const* name, char const* displayName, char const* curvePoints, char const* text);

    // Calls rule(p, hsv, c, a) for every pixel of an image with at least
    // three channels, hsv being the pixel's hue (degrees), saturation and
    // value (0..1), c the curve at its hue and a the "Amount". Nothing is
    // done at Amount 0 or with a curve at 0.5 everywhere.
    template <typename T, typename Rule>
    void forEachHuePixel(FlexImage<T>* image, Rule rule) const;
};

// Turns the hues the curve marks: 1/360 above 0.5 turns by one degree.
class ImageModHueShift : public ImageModTemplate<ImageModHueShift, ImageModHueCurve>
{
public:
    explicit ImageModHueShift(char const* curvePoints = "0 .5 .16667 .5 .33333 .5 .5 .65 .66667 .5 .83333 .5 1 .5");

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};

// Lightens (above 0.5) or darkens the hues the curve marks, most in
// saturated mid-tones.
class ImageModHueBrightness : public ImageModTemplate<ImageModHueBrightness, ImageModHueCurve>
{
public:
    explicit ImageModHueBrightness(
        char const* curvePoints = "0 .5 .16667 .5 .33333 .5 .5 .8 .66667 .5 .83333 .5 1 .5");

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};

// Saturates (above 0.5) or desaturates the hues the curve marks. Version 2
// scales the pixel's distance from its own luminance, so brightness holds;
// older versions scale the HSV saturation.
class ImageModSaturationCurve : public ImageModTemplate<ImageModSaturationCurve, ImageModHueCurve>
{
public:
    explicit ImageModSaturationCurve(
        char const* curvePoints = "0 .5 .16667 .5 .33333 .5 .5 .8 .66667 .5 .83333 .5 1 .5", int version = 2);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};
