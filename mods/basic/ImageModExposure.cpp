#include "mods/basic/ImageModExposure.h"

#include <algorithm>
#include <vector>

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
    int const channels = image->channels;
    if (channels > 4) {
        forEachPixel(image, [=](T* p, int n) { exposureRules::darkenPixel(p, n, a, kept); });
        return;
    }
    size_t const width = size_t(std::max(image->width, 0));
    std::vector<float> darkened(width * size_t(channels));
    std::vector<float> sampleGreys(darkened.size());
    std::vector<float> greys(width);
    auto const darkenSample = [a](float c) { return exposureRules::darken<T>(c, a); };
    LevelTable levels(darkenSample);
    forEachUsedRow(image, [&](int, int, T* row, int count) {
        exposureRules::darkenRow(row, count, channels, a, kept, levels, darkened.data(), greys.data(),
                                 sampleGreys.data());
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModExposure);
