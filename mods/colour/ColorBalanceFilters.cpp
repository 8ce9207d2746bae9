#include "mods/colour/ColorBalanceFilters.h"

#include "mods/common/SampleLoop.h"

template <typename T>
void addChannelOffsets(FlexImage<T>* image, float const* offsets)
{
    forEachPixel(image, [&](T* p, int channels) {
        for (int c = 0; c < 3 && c < channels; ++c)
            p[c] = FlexImage<T>::storeSample(clamp255(float(p[c]) + offsets[c]));
    });
}

ImageModColorBalance::ImageModColorBalance(float red, float green, float blue)
    : ImageModTemplate("Color Balance", "")
{
    addPercentVar("Amount", 1.0f, 0.0f, 1.0f);
    addPercentVar("Red", red, 0.0f, 255.0f, 0.0f, 255.0f);
    setAuxFloat(1, 127.0f);
    addPercentVar("Green", green, 0.0f, 255.0f, 0.0f, 255.0f);
    addPercentVar("Blue", blue, 0.0f, 255.0f, 0.0f, 255.0f);
    description = "Balance overall color by dragging individual Red, Green, and Blue sliders.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModColorBalance::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const a = floatVar(0);
    float const offsets[3] = {floatVar(1) * a, floatVar(2) * a, floatVar(3) * a};
    if (a == 0.0f || (offsets[0] == 0.0f && offsets[1] == 0.0f && offsets[2] == 0.0f))
        return;
    addChannelOffsets(image, offsets);
}

ImageModWhiteBalance::ImageModWhiteBalance(OVRGBColor white)
    : ImageModTemplate("White Balance", "")
{
    addPercentVar("Amount", 0.1f, 0.0f, 1.0f);
    addColorVar("Color", white);
    description = "Correct the overall color of an image, particularly if surfaces which should be white appear "
                  "tinted. Use the color picker to select a hue which should represent white.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModWhiteBalance::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const a = floatVar(0);
    if (a == 0.0f)
        return;
    OVRGBColor const k = colorVar(1);
    float const mean = (k.red + k.green + k.blue) * 0.33333334f;
    float const offsets[3] = {-(mean - k.red) * a, -(mean - k.green) * a, -(mean - k.blue) * a};
    if (offsets[0] == 0.0f && offsets[1] == 0.0f && offsets[2] == 0.0f)
        return;
    addChannelOffsets(image, offsets);
}

template void addChannelOffsets(FlexImage<unsigned char>*, float const*);
template void addChannelOffsets(FlexImage<float>*, float const*);
INSTANTIATE_TEMPLATE_MOD(ImageModColorBalance);
INSTANTIATE_TEMPLATE_MOD(ImageModWhiteBalance);
