#include "mods/basic/ImageModSaturation.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "mods/common/SampleLoop.h"
#include "mods/common/SaturationRules.h"

ImageModSaturation::ImageModSaturation(float amount, int version)
    : ImageModTemplate("Saturation", "")
{
    addPercentVar("Amount", amount, 0.0f, 2.0f);
    setAuxFloat(0, 1.5f);
    setVersion(version);
    description = "Adjust color intensity.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModSaturation::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const amount = floatVarInRange(0);
    if (amount == 1.0f)
        return;
    float const a = float(saturationFactor(amount));
    int const channels = image->channels;
    std::vector<float> greys(size_t(std::max(image->width, 0)));
    if (version != 2) {
        std::vector<float> sampleGreys(greys.size() * size_t(std::max(channels, 0)));
        forEachUsedRow(image, [&](int, int, T* row, int width) {
            pullTowardLuma(row, row, width, channels, a, greys.data(), sampleGreys.data());
        });
        return;
    }
    if (channels < 3)
        return;
    // A row's greys first, in a loop of its own, then the samples pushed
    // away from them (three channels: the greys spread over the samples and
    // one plain loop).
    std::vector<float> sampleGreys(channels == 3 ? greys.size() * 3 : 0);
    forEachUsedRow(image, [&](int, int, T* row, int width) {
        rowOfColourValues(row, width, channels, greys.data(), [](double r, double g, double b) {
            return std::sqrt(0.299 * r * r + 0.587 * g * g + 0.114 * b * b);
        });
        if (channels == 3) {
            setSamplesFromPixelValues(row, row, width, 3, greys.data(), sampleGreys.data(),
                                      [a](float v, float grey) { return clamp255((v - grey) * a + grey); });
            return;
        }
        for (int x = 0; x < width; ++x) {
            T* p = row + size_t(x) * channels;
            float const grey = greys[x];
            for (int c = 0; c < 3; ++c)
                p[c] = FlexImage<T>::storeSample(clamp255((float(p[c]) - grey) * a + grey));
        }
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModSaturation);
