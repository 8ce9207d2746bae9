#pragma once

#include "mods/ImageMod.h"

// Lifts (Amount above 1) or lowers (below 1) only one tonal region: the
// highlights or the shadows. Version 2 moves the HSV value along one of two
// fixed curves shaped to that region; older versions build a small curve on
// the spot and move the luminance.
class ImageModToneRegion : public ImageMod
{
public:
    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }

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

class ImageModHighlights : public ImageModToneRegion
{
public:
    ImageModHighlights();
    ImageMod* createCopy() const override { return copyOf(*this); }

protected:
    GrowArray<Point2D> legacyPoints(float amount) const override;
};

class ImageModShadows : public ImageModToneRegion
{
public:
    ImageModShadows();
    ImageMod* createCopy() const override { return copyOf(*this); }

protected:
    GrowArray<Point2D> legacyPoints(float amount) const override;
};
