#include "mods/basic/ImageModGammaLegacy.h"

#include <cmath>

#include "mods/common/ExposureRules.h"
#include "mods/common/SampleLoop.h"

ImageModGammaLegacy::ImageModGammaLegacy(float amount)
    : ImageModTemplate("Gamma", "Exposure")
{
    addPercentVar("Amount", amount, 0.0f, 2.0f);
    setAuxFloat(0, 1.5f);
    setVersion(2);
    description = "Adjust exposure, which affects the brightness of an image.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModGammaLegacy::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const a = floatVarInRange(0);
    if (a == 1.0f)
        return;
    if (version != 2) {
        float const power = a >= 1.0f ? 2.0f - a : 1.0f / a;
        forEachSample(image, [=](float c) { return 255.0f * samplePow<T>(c / 255.0f, power); });
    } else if (a > 1.0f) {
        // Black is lifted to 0.05 first, so it brightens too.
        forEachSample(image, [=](float c) { return exposureRules::brighten<T>(c > 0.05f ? c : 0.05f, a); });
    } else {
        forEachSample(image, [=](float c) { return exposureRules::darken<T>(c, a); });
    }
}

INSTANTIATE_TEMPLATE_MOD(ImageModGammaLegacy);
