#pragma once

#include "mods/ImageModTemplate.h"
#include "mods/basic/ImageModBlur.h"

// Local tone adjustment: each pixel is pushed away from (Luminance) or
// blended against (Overlay) the blurred brightness of its surroundings, so
// that detail stands out in both shadows and highlights.
class ImageModDynamics : public ImageModTemplate<ImageModDynamics>
{
public:
    enum Method { Overlay = 0, Luminance = 1 };

    explicit ImageModDynamics(float amount = 0.0f, float radius = 50.0f, int method = Overlay);
    ImageModDynamics& operator=(ImageMod const& other) override;

    int getExtraPixelRadiusRequired(int width, int height, float scale) override;
    void notifyVarChanged(int index) override;

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // Hands "Radius" to the blur as its "Amount".
    void updateBlurMod();

    // The Overlay rule for one sample against the surroundings' luminance.
    static float overlay(float c, float surroundings, float a);

private:
    ImageModBlur blurMod{0.0f, 100.0f};
};
