#include "mods/basic/ImageModContrastAndSaturation.h"

#include <algorithm>
#include <vector>

#include "mods/basic/ImageModContrast.h"
#include "mods/common/SampleLoop.h"
#include "mods/common/SaturationRules.h"

ImageModContrastAndSaturation::ImageModContrastAndSaturation()
    : ImageModTemplate("Contrast Saturation", "Contrast")
{
    addPercentVar("Amount", 1.0f, 0.0f, 2.0f);
    setAuxFloat(0, 1.5f);
    addPercentVar("Center", 90.0f, 0.0f, 255.0f, 0.0f, 255.0f)->setDisplayName("Brightness Origin");
    description = "Adjust contrast. The Center slider determines the brightness value from which the contrast "
                  "emanates.";
    setDefaultVarsToCurrent();
}

// The contrast and the saturation a row at a time, so that each row is
// still in the cache when the saturation reads it back.
template <typename T>
void ImageModContrastAndSaturation::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const a = floatVarInRange(0);
    if (a == 1.0f)
        return;
    auto curve = ImageModContrast::curve<T>(a, floatVarInRange(1));
    int const channels = image->channels;
    SampleRuleOnStretches<T, decltype(curve)> contrast(curve, channels);
    float const saturation = float(saturationFactor(float(1.0 + (1.0 - double(a)) * 0.44)));
    size_t const width = size_t(std::max(image->width, 0));
    std::vector<float> greys(width);
    std::vector<float> sampleGreys(width * size_t(std::max(channels, 0)));
    forEachUsedRow(image, [&](int, int, T* row, int count) {
        contrast.apply(row, size_t(count) * size_t(channels));
        if (saturation != 1.0f)
            pullTowardLuma(row, row, count, channels, saturation, greys.data(), sampleGreys.data());
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModContrastAndSaturation);
