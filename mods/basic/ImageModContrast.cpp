#include "mods/basic/ImageModContrast.h"

#include "mods/common/SampleLoop.h"

ImageModContrast::ImageModContrast(float amount, float center)
    : ImageModContrast("Contrast", amount, center, "Contrast Origin",
                       "Adjust contrast. The Contrast Origin slider determines the brightness value from which the "
                       "contrast emanates.")
{
}

ImageModContrast::ImageModContrast(char const* name, float amount, float center, char const* centerName,
                                   char const* text)
    : ImageModTemplate(name, "")
{
    addPercentVar("Amount", amount, 0.0f, 2.0f);
    setAuxFloat(0, 1.5f);
    addPercentVar("Center", center, 0.0f, 255.0f, 0.0f, 255.0f)->setDisplayName(centerName);
    description = text;
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModContrast::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const a = floatVarInRange(0);
    if (a == 1.0f)
        return;
    forEachSample(image, curve<T>(a, floatVarInRange(1)));
}

INSTANTIATE_TEMPLATE_MOD(ImageModContrast);
