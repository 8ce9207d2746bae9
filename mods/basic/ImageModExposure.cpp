#include "mods/basic/ImageModExposure.h"

#include "mods/basic/SampleLoop.h"

ImageModExposure::ImageModExposure(float amount)
    : ImageMod("Exposure", "")
{
    addPercentVar("Amount", amount, 0.0f, 2.0f);
    setAuxFloat(0, 1.5f);
    description = "Adjust exposure, which affects the brightness of an image.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModExposure::darkenPixel(T* p, int channels, float e, float kept)
{
    int const n = channels < 4 ? channels : 4;
    float darkened[4];
    for (int c = 0; c < n; ++c)
        darkened[c] = darken(float(p[c]), e);
    float const grey = float(pixelLuminance(darkened, n));
    for (int c = 0; c < n; ++c)
        p[c] = FlexImage<T>::storeSample(clamp255(darkened[c] * kept + grey * (1.0f - kept)));
}

template <typename T>
void ImageModExposure::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const a = floatVar(0);
    if (a == 1.0f)
        return;
    if (a > 1.0f) {
        forEachSample(image, [=](float c) { return brighten(c, a); });
        return;
    }
    float const kept = colourKeptWhenDarkening(a);
    forEachPixel(image, [=](T* p, int channels) { darkenPixel(p, channels, a, kept); });
}

template void ImageModExposure::darkenPixel(unsigned char*, int, float, float);
template void ImageModExposure::darkenPixel(float*, int, float, float);
template void ImageModExposure::templateMod(FlexImage<unsigned char>*, ImageModChunkInfo*);
template void ImageModExposure::templateMod(FlexImage<float>*, ImageModChunkInfo*);
