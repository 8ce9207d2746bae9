#pragma once

#include "mods/ImageModTemplate.h"

// Blurs the whole picture with a Gaussian-like, box or disc kernel whose size
// grows with the square of Amount, relative to the picture's larger side.
class ImageModBlur : public ImageModTemplate<ImageModBlur>
{
public:
    // The int is accepted for the sake of older callers and ignored: the
    // method always starts at "Gaussian".
    explicit ImageModBlur(float amount = 0.0f, float mix = 100.0f, int ignoredMethod = 0);

    int getExtraPixelRadiusRequired(int width, int height, float scale) override;

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

private:
    int method() const { return choiceVar(2, 0); }
    // The kernel's extent in pixels for a picture whose larger side is
    // longestSide.
    float extentFor(int longestSide) const;
};
