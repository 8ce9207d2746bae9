#pragma once

#include "mods/ImageModTemplate.h"

// Filters for one tonal region: Highlights (ImageModHighlights) and Shadows
// (ImageModShadows).

// Lifts (Amount above 1) or lowers (below 1) only one tonal region: the
// highlights or the shadows. Version 2 moves the HSV value along one of two
// fixed curves shaped to that region; older versions build a small curve on
// the spot and move the luminance.
class ImageModToneRegion : public ImageMod
{
public:
    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

protected:
    ImageModToneRegion(char const* name, char const* text, float auxAmount, char const* lifting,
                       char const* lowering);
    // The legacy curve's control points for amount A.
    virtual GrowArray<Point2D> legacyPoints(float amount) const = 0;

private:
    ToneCurve liftingCurve;
    ToneCurve loweringCurve;
};

class ImageModHighlights : public ImageModTemplate<ImageModHighlights, ImageModToneRegion>
{
public:
    ImageModHighlights();

protected:
    GrowArray<Point2D> legacyPoints(float amount) const override;
};

class ImageModShadows : public ImageModTemplate<ImageModShadows, ImageModToneRegion>
{
public:
    ImageModShadows();

protected:
    GrowArray<Point2D> legacyPoints(float amount) const override;
};
