#pragma once

#include "mods/ImageMod.h"

// Film grain ("Grain") from two octaves of smooth value noise laid over the
// whole picture, so that it continues seamlessly across tiles. The filter's
// version is the grain mode: 1 is the luminance grain the camera styles use
// (more in the shadows, applied as a small power curve); 2, 3 and 4 are
// additive grain: 2 monochrome, 3 colour, 4 (the default) mostly monochrome
// with a little colour, as colour film shows it.
class ImageModNoise : public ImageMod
{
public:
    // The int is accepted and ignored: the grain starts in mode 4.
    explicit ImageModNoise(float amount = 0.0f, float scale = 50.0f, float offset = 0.0f, int ignoredMode = 4);

    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    ImageMod* createCopy() const override { return copyOf(*this); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // Value noise in [-1, 1] at a noise-space position: two octaves, the
    // second 1.33 times finer at 0.6 of the strength.
    static float grainAt(double x, double y);
    // One octave: bilinear between hashed lattice values with cosine weights.
    static float valueNoise(double x, double y);
    // The hashed value in [-1, 1] at lattice point (i, j).
    static float latticeValue(int32_t i, int32_t j);
    // (1 - cos(pi t)) / 2 through the shared 1000-entry cosine table.
    static float cosineWeight(float t);

    int grainMode() const;
};
