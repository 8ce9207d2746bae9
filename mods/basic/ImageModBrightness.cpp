#include "mods/basic/ImageModBrightness.h"

#include <type_traits>

#include "mods/common/CurveThrough.h"
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
    GrowArray<Point2D> points;
    points.add(a >= 1.0f ? Point2D{0.0f, a - 1.0f} : Point2D{0.0f, 0.0f});
    points.add(a >= 1.0f ? Point2D{1.0f, 1.0f} : Point2D{1.0f, a});
    ToneCurve const& curve = curveThrough(points);
    if constexpr (std::is_same_v<T, float>) {
        // Two points make a straight curve, so a float picture takes the
        // line between the table's ends (what reading the table gives, to
        // float rounding) in a plain loop that vectorises, cheaper than any
        // table; 8-bit pictures keep the table's own readings.
        float const low = curve.lookupChannel(0.0f) * 255.0f;
        float const rise = curve.lookupChannel(255.0f) * 255.0f - low;
        forEachUsedStretch(image, [=](float* samples, size_t n) {
            for (size_t i = 0; i < n; ++i) {
                float const t = samples[i] * (1.0f / 255.0f);
                samples[i] = low + rise * (t > 0.0f ? (t < 1.0f ? t : 1.0f) : 0.0f);
            }
        });
    } else {
        forEachSample(image, [&curve](float c) { return curve.lookupChannel(c) * 255.0f; });
    }
}

INSTANTIATE_TEMPLATE_MOD(ImageModBrightness);
