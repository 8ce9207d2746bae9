#include "mods/colour/ImageModRGBSwap.h"

#include <cmath>

#include <algorithm>

#include "mods/common/SampleLoop.h"

ImageModRGBSwap::ImageModRGBSwap()
    : ImageModTemplate("RGB Swap", "")
{
    addColorVar("Red", OVRGBColor(255.0f, 0.0f, 0.0f));
    addColorVar("Green", OVRGBColor(0.0f, 255.0f, 0.0f));
    addColorVar("Blue", OVRGBColor(0.0f, 0.0f, 255.0f));
    description = "Separately replace red, green, and blue with the selected colors.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModRGBSwap::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    OVRGBColor const c1 = colorVar(0);
    OVRGBColor const c2 = colorVar(1);
    OVRGBColor const c3 = colorVar(2);
    if (c1 == OVRGBColor(255.0f, 0.0f, 0.0f) && c2 == OVRGBColor(0.0f, 255.0f, 0.0f) &&
        c3 == OVRGBColor(0.0f, 0.0f, 255.0f))
        return;
    if (image->channels < 3)
        return;
    float s = std::min({255.0f / (c1.red + c2.red + c3.red), 255.0f / (c1.green + c2.green + c3.green),
                        255.0f / (c1.blue + c2.blue + c3.blue)});
    // Three black colours leave no factor (every sum is 0); every product
    // is 0 then, and so is the result.
    if (!std::isfinite(s))
        s = 0.0f;
    forEachPixel(image, [&](T* p, int channels) {
        // Every sample is read out and cleared; only red, green and blue are
        // written back, so a fourth channel ends at 0.
        float scratch[3];
        for (int c = 0; c < 3; ++c)
            scratch[c] = float(p[c]) * 0.003921569f;
        for (int c = 0; c < channels; ++c)
            p[c] = T(0);
        p[0] = FlexImage<T>::storeSample(clamp255((scratch[0] * c1.red + scratch[1] * c2.red + scratch[2] * c3.red) * s));
        p[1] = FlexImage<T>::storeSample(
            clamp255((scratch[0] * c1.green + scratch[1] * c2.green + scratch[2] * c3.green) * s));
        p[2] = FlexImage<T>::storeSample(
            clamp255((scratch[0] * c1.blue + scratch[1] * c2.blue + scratch[2] * c3.blue) * s));
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModRGBSwap);
