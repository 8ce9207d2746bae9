#include "mods/mono/ImageModFilteredBW.h"

#include "imaging/OVRGBColor.h"
#include "mods/common/SampleLoop.h"
#include "mods/mono/ChannelMixerFilters.h"

ImageModFilteredBW::ImageModFilteredBW(float amount, float hue)
    : ImageModTemplate("Filtered B+W", "")
{
    addPercentVar("Amount", amount, 0.0f, 100.0f);
    addVar(ImageModVariable::makeFloat("Hue", hue, 0.0f, 360.0f))->setDisplayName("Filter Hue");
    description = "Create a greyscale image while filtering for selected hues.";
    setDefaultVarsToCurrent();
}

void ImageModFilteredBW::filterWeights(float hue, float strength, float* weights)
{
    float lens[3];
    OVRGBColor::fromHSVUnit(OVRGBColor::wrapHue(hue), 1.0f, 1.0f, &lens[0], &lens[1], &lens[2]);
    float const luma[3] = {0.299f, 0.587f, 0.114f};
    float sum = 0.0f;
    for (int c = 0; c < 3; ++c) {
        // The lens passes its own colour and holds back the others.
        weights[c] = luma[c] * (1.0f + strength * (2.0f * lens[c] - 0.6f));
        sum += weights[c];
    }
    for (int c = 0; c < 3; ++c)
        weights[c] /= sum;
}

template <typename T>
void ImageModFilteredBW::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    if (image->channels < 3)
        return;
    float weights[3];
    filterWeights(floatVar(1), floatVar(0) * 0.01f, weights);
    forEachColourTriple(image, [&weights](float& red, float& green, float& blue) {
        red = green = blue = clamp255(red * weights[0] + green * weights[1] + blue * weights[2]);
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModFilteredBW);
