#pragma once

#include "mods/ImageModTemplate.h"

// A blur that is absent in the middle of the picture and grows toward the
// edges ("Circular Blur"): each pixel is blurred with its own radius, taken
// from a ramp over its distance to the picture's centre.
class ImageModRadialBlur : public ImageModTemplate<ImageModRadialBlur>
{
public:
    explicit ImageModRadialBlur(float amount = 0.0f, float falloff = 50.0f, float radius = 1.0f, int method = 0);

    int getExtraPixelRadiusRequired(int width, int height, float scale) override;

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

private:
    int method() const { return choiceVar(3, 0); }
    // The blur radius at the picture's edges.
    float maximumRadius(int longestSide) const;
};
