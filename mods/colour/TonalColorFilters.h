#pragma once

#include "mods/ImageModTemplate.h"

// Filters that colour the picture by tone: Split Tone (ImageModSplitTone) and
// Color Correction (ImageModColorCorrector).

// Two-tone: shadows take the dark colour, highlights the light colour, mixed
// by the pixel's luminance and blended in by Amount.
class ImageModSplitTone : public ImageModTemplate<ImageModSplitTone>
{
public:
    explicit ImageModSplitTone(float amount = 0.0f, OVRGBColor dark = OVRGBColor(40.0f, 30.0f, 80.0f),
                               OVRGBColor light = OVRGBColor(255.0f, 230.0f, 190.0f));

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};

// Colours shadows, midtones and highlights separately: each colour's
// deviation from its own grey is added where its tonal range lies.
class ImageModColorCorrector : public ImageModTemplate<ImageModColorCorrector>
{
public:
    explicit ImageModColorCorrector(float amount = 1.0f);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // Weights of the shadows, midtones and highlights at luminance l (0..1);
    // they sum to 1. Inline, so that a loop of pixels around it vectorises.
    static void toneWeights(float l, float* weights)
    {
        weights[0] = (1.0f - l) * (1.0f - l);
        weights[2] = l * l;
        weights[1] = 1.0f - weights[0] - weights[2];
    }
};
