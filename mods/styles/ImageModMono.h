#pragma once

#include "mods/ImageModStyle.h"
#include "mods/ImageModTemplate.h"

// Black and white through a coloured lens: the grey weighs red, green and
// blue by their luminance, leaning toward the lens's hue (orange to
// yellow, as the Remix moves), then a gentle S-curve gives the tones a
// smooth roll-off at both ends. Amount blends it over the colour picture.
class ImageModMono : public ImageModTemplate<ImageModMono, ImageModStyle>
{
public:
    explicit ImageModMono(float amount = 1.0f, float variation = 0.0f, int version = 1);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // The grey's weights of red, green and blue for a variation (they sum
    // to 1), and the S-curve's strength.
    static void lensWeights(double variation, double* weights);
    static double smoothing(double variation);
};
