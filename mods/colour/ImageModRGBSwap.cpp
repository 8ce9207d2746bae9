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
    // Each output channel mixes the three inputs (as levels of 0..1). The
    // colours are copied in, so that the loops over pixels need not read
    // them again after every store (which kept them from vectorising).
    auto const mixed = [c1, c2, c3, s](float red, float green, float blue, float OVRGBColor::*channel) {
        return clamp255((red * (c1.*channel) + green * (c2.*channel) + blue * (c3.*channel)) * s);
    };
    if (image->channels == 3) {
        // A block of pixels at a time, in a loop that vectorises.
        forEachColourTriple(image, [=](float& red, float& green, float& blue) {
            float const r = red * 0.003921569f;
            float const g = green * 0.003921569f;
            float const b = blue * 0.003921569f;
            red = mixed(r, g, b, &OVRGBColor::red);
            green = mixed(r, g, b, &OVRGBColor::green);
            blue = mixed(r, g, b, &OVRGBColor::blue);
        });
        return;
    }
    forEachPixel(image, [&](T* p, int channels) {
        // Every sample is read out and cleared; only red, green and blue are
        // written back, so a fourth channel ends at 0.
        float const r = float(p[0]) * 0.003921569f;
        float const g = float(p[1]) * 0.003921569f;
        float const b = float(p[2]) * 0.003921569f;
        for (int c = 0; c < channels; ++c)
            p[c] = T(0);
        p[0] = FlexImage<T>::storeSample(mixed(r, g, b, &OVRGBColor::red));
        p[1] = FlexImage<T>::storeSample(mixed(r, g, b, &OVRGBColor::green));
        p[2] = FlexImage<T>::storeSample(mixed(r, g, b, &OVRGBColor::blue));
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModRGBSwap);
