#pragma once

#include "mods/ImageModTemplate.h"

// Colour methods weighted by luminance: Colorize Curve (ImageModColorizeCurve)
// and Colorize Basic (ImageModColorizeNoCurve).

// Lays a colour over the picture by one of the colour methods, with a
// strength that a colour-shift curve over luminance sets ("Affected
// Brightness"; 0.5 leaves a brightness alone).
class ImageModColorizeCurve : public ImageModTemplate<ImageModColorizeCurve>
{
public:
    explicit ImageModColorizeCurve(char const* curvePoints = "0 .5 .5 .6 1 .5",
                                   OVRGBColor colour = OVRGBColor(255.0f, 170.0f, 90.0f), float amount = 0.0f,
                                   int method = 0);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};

// The same with the same strength at every brightness.
class ImageModColorizeNoCurve : public ImageModTemplate<ImageModColorizeNoCurve>
{
public:
    explicit ImageModColorizeNoCurve(OVRGBColor colour = OVRGBColor(255.0f, 170.0f, 90.0f), float amount = 0.0f,
                                     int method = 0);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

private:
    ToneCurve everywhere;
};

// The colour methods offered by both, in their choice order.
GrowArray<GrowString> colourMethodLabels();

// Applies method with colour to every pixel, at strength amount times the
// curve's shift at the pixel's luminance: a negative shift applies the
// colour's complement (255 minus each component) instead.
template <typename T>
void colourByLuminance(FlexImage<T>* image, ToneCurve const& weight, OVRGBColor colour, float amount, int method);
