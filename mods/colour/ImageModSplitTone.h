#pragma once

#include "mods/ImageMod.h"

// Two-tone: shadows take the dark colour, highlights the light colour, mixed
// by the pixel's luminance and blended in by Amount.
class ImageModSplitTone : public ImageMod
{
public:
    explicit ImageModSplitTone(float amount = 0.0f, OVRGBColor dark = OVRGBColor(40.0f, 30.0f, 80.0f),
                               OVRGBColor light = OVRGBColor(255.0f, 230.0f, 190.0f));

    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    ImageMod* createCopy() const override { return copyOf(*this); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};

// Colours shadows, midtones and highlights separately: each colour's
// deviation from its own grey is added where its tonal range lies.
class ImageModColorCorrector : public ImageMod
{
public:
    explicit ImageModColorCorrector(float amount = 1.0f);

    void applyMod(FlexImage<unsigned char>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override { templateMod(image, info); }
    ImageMod* createCopy() const override { return copyOf(*this); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // Weights of the shadows, midtones and highlights at luminance l (0..1);
    // they sum to 1.
    static void toneWeights(float l, float* weights);
};
