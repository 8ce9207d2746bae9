#include "mods/basic/ImageModBrightness.h"

#include "mods/common/SampleLoop.h"

ImageModBrightness::ImageModBrightness(float amount)
    : ImageModTemplate("Brightness", "")
{
    addPercentVar("Amount", amount, 0.0f, 2.0f);
    setAuxFloat(0, 1.5f);
    description = "Adjust overall image brightness.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModBrightness::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const a = floatVarInRange(0);
    if (a == 1.0f)
        return;
    ToneCurve curve;
    curve.setControlPoints(GrowString("0 0 1 1"));
    if (a >= 1.0f)
        curve.setControlPoint(0, Point2D{0.0f, a - 1.0f});
    else
        curve.setControlPoint(1, Point2D{1.0f, a});
    forEachSample(image, [&curve](float c) { return curve.lookupChannel(c) * 255.0f; });
}

INSTANTIATE_TEMPLATE_MOD(ImageModBrightness);
