#include "mods/basic/ImageModContrastAndSaturation.h"

#include "mods/basic/ImageModContrast.h"
#include "mods/basic/ImageModSaturation.h"

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

template <typename T>
void ImageModContrastAndSaturation::templateMod(FlexImage<T>* image, ImageModChunkInfo* info)
{
    float const a = floatVarInRange(0);
    if (a == 1.0f)
        return;
    ImageModContrast contrast(a, floatVarInRange(1));
    contrast.templateMod(image, info);
    ImageModSaturation saturation(float(1.0 + (1.0 - double(a)) * 0.44), 1);
    saturation.templateMod(image, info);
}

INSTANTIATE_TEMPLATE_MOD(ImageModContrastAndSaturation);
