#include "mods/basic/ImageModMultiTool.h"

#include "mods/basic/ImageModContrast.h"
#include "mods/basic/ImageModExposure.h"
#include "mods/basic/ImageModGammaLegacy.h"
#include "mods/basic/ImageModSaturation.h"

ImageModMultiTool::ImageModMultiTool(int version)
    : ImageModTemplate("Multi Tool", "")
{
    for (char const* slider : {"Exposure", "Contrast", "Saturation"}) {
        addPercentVar(slider, 50.0f, 0.0f, 100.0f);
        setAuxFloat(vars.count - 1, 60.0f);
    }
    setVersion(version);
    description = "Adjust exposure, contrast, and saturation simultaneously.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModMultiTool::templateMod(FlexImage<T>* image, ImageModChunkInfo* info)
{
    float const exposure = float(double(floatVarInRange(0)) * 0.02);
    float const contrast = float(double(floatVarInRange(1)) * 0.02);
    float const saturation = float(double(floatVarInRange(2)) * 0.02);
    if (version == 2) {
        ImageModExposure step(exposure);
        step.templateMod(image, info);
    } else {
        ImageModGammaLegacy step(exposure);
        step.templateMod(image, info);
    }
    ImageModContrast contrastStep(contrast, 90.0f);
    contrastStep.templateMod(image, info);
    ImageModSaturation saturationStep(saturation, 1);
    saturationStep.templateMod(image, info);
}

INSTANTIATE_TEMPLATE_MOD(ImageModMultiTool);
