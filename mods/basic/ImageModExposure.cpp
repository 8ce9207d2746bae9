#include "mods/basic/ImageModExposure.h"

#include "mods/common/ExposureRules.h"
#include "mods/common/SampleLoop.h"

ImageModExposure::ImageModExposure(float amount)
    : ImageModTemplate("Exposure", "")
{
    addPercentVar("Amount", amount, 0.0f, 2.0f);
    setAuxFloat(0, 1.5f);
    description = "Adjust exposure, which affects the brightness of an image.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModExposure::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const a = floatVarInRange(0);
    if (a == 1.0f)
        return;
    if (a > 1.0f) {
        forEachSample(image, [=](float c) { return exposureRules::brighten<T>(c, a); });
        return;
    }
    float const kept = exposureRules::colourKeptWhenDarkening(a);
    forEachPixel(image, [=](T* p, int channels) { exposureRules::darkenPixel(p, channels, a, kept); });
}

INSTANTIATE_TEMPLATE_MOD(ImageModExposure);
