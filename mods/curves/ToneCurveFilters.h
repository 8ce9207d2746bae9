#pragma once

#include "mods/ImageModTemplate.h"

// One curve over the tones: Tone Curve (ImageModToneCurve), Luminance Curve
// (ImageModLuminanceCurve) and RGB Curve (ImageModRGBCombinedCurve).

// The classic curve editor: one curve applied to the pixel's luminance, its
// HSV value, its HSL lightness or to every channel, blended in by Amount.
class ImageModToneCurve : public ImageModTemplate<ImageModToneCurve>
{
public:
    enum Method { PerChannel = 0, Luminance = 1, Value = 2, Lightness = 3 };

    explicit ImageModToneCurve(float amount = 1.0f, char const* curvePoints = "0 0 1 1", int method = 0);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // The method from the "Method" choice: its index + 1, per channel when
    // the variable is not a choice.
    int method() const;
};

// The Luminance method of the curve editor as a filter of its own.
class ImageModLuminanceCurve : public ImageModTemplate<ImageModLuminanceCurve>
{
public:
    explicit ImageModLuminanceCurve(float amount = 1.0f, char const* curvePoints = "0 0 1 1");

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};

// The per-channel method of the curve editor as a filter of its own.
class ImageModRGBCombinedCurve : public ImageModTemplate<ImageModRGBCombinedCurve>
{
public:
    explicit ImageModRGBCombinedCurve(float amount = 1.0f, char const* curvePoints = "0 0 1 1");

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};

// The curve string kept beside several curve filters' curves.
inline constexpr char const* secondListCurve =
    "0.000000 0.000000 0.130435 0.069565 0.193478 0.406522 1.000000 1.000000";
