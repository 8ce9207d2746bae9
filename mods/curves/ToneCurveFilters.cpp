#include "mods/curves/ToneCurveFilters.h"

#include <algorithm>

#include "imaging/OVRGBColor.h"
#include "mods/common/SampleLoop.h"
#include "mods/curves/CurveRules.h"

namespace {

// The pixel's HSV value through the curve; hue and saturation kept.
template <typename T>
void curveValue(T* p, ToneCurve const& curve, float amount)
{
    HSV const hsv = OVRGBColor::toHSV(float(p[0]), float(p[1]), float(p[2]));
    float const v = hsv.v * (1.0f - amount) + curve.lookup(hsv.v) * amount;
    float rgb[3];
    OVRGBColor::fromHSV(hsv.h, hsv.s, v, &rgb[0], &rgb[1], &rgb[2]);
    for (int c = 0; c < 3; ++c)
        p[c] = FlexImage<T>::storeSample(rgb[c]);
}

// The pixel's HSL lightness through the curve; hue and saturation kept.
template <typename T>
void curveLightness(T* p, ToneCurve const& curve, float amount)
{
    float const r = float(p[0]) / 255.0f;
    float const g = float(p[1]) / 255.0f;
    float const b = float(p[2]) / 255.0f;
    float h, s, l;
    OVRGBColor::toHSLUnit(r, g, b, &h, &s, &l);
    float const doubled = std::fmax(r, std::fmax(g, b)) + std::fmin(r, std::fmin(g, b));
    float const curved = l >= 1.0f ? curve.entry(ToneCurve::lastEntry) : curve.lookupAtIndex(doubled * 1274.5f);
    float rgb[3];
    OVRGBColor::fromHSLUnit(h, s, l * (1.0f - amount) + curved * amount, &rgb[0], &rgb[1], &rgb[2]);
    for (int c = 0; c < 3; ++c)
        p[c] = FlexImage<T>::storeSample(rgb[c] * 255.0f);
}

// The rule of the three curve editors: "Amount" (variable 0) blends the
// "Curve" (variable 1) in by the given method. Nothing to blend in, or an
// identity curve, leaves the image untouched.
template <typename T>
void applyCurveByMethod(FlexImage<T>* image, ImageMod const& mod, int method)
{
    float const a = mod.floatVarInRange(0);
    ToneCurve const* curve = mod.curveVar(1);
    if (a == 0.0f || !curve || curve->isIdentity())
        return;
    if (image->channels < 3 && method != ImageModToneCurve::Luminance)
        method = ImageModToneCurve::PerChannel;
    switch (method) {
    case ImageModToneCurve::Luminance:
        // A row at a time: the luminances, their places on the curve (a
        // block of them in one lookup), then the moves (one division a pixel
        // for float pictures).
        moveLuminanceOfRows(image, image->channels, [&](int, int, float const* L, float* targets, int width) {
            std::copy_n(L, width, targets);
            blendSamplesThroughCurve(targets, size_t(width), *curve, a);
        });
        break;
    case ImageModToneCurve::Value:
        forEachPixel(image, [&](T* p, int) { curveValue(p, *curve, a); });
        break;
    case ImageModToneCurve::Lightness:
        forEachPixel(image, [&](T* p, int) { curveLightness(p, *curve, a); });
        break;
    default:
        forEachUsedStretch(image, [&](T* p, size_t n) { blendSamplesThroughCurve(p, n, *curve, a); });
        break;
    }
}

} // namespace

ImageModToneCurve::ImageModToneCurve(float amount, char const* curvePoints, int method)
    : ImageModTemplate("Tone Curve", "")
{
    addPercentVar("Amount", amount, 0.0f, 1.0f);
    setAuxFloat(0, 1.0f);
    addCurveVar("Curve", curvePoints);
    setAuxCurve(1, secondListCurve);
    addVar(ImageModVariable::makeChoice("Method", labelList({"Luminance", "Value", "Lightness"}), method));
    description = "Adjust brightness values using a traditional curve editor.";
    setDefaultVarsToCurrent();
}

int ImageModToneCurve::method() const
{
    // Options 0, 1, 2 are the methods 1, 2, 3; any other index, per channel.
    int const selected = choiceVar(2, -1);
    return selected >= 0 && selected <= 2 ? selected + 1 : PerChannel;
}

template <typename T>
void ImageModToneCurve::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    applyCurveByMethod(image, *this, method());
}

ImageModLuminanceCurve::ImageModLuminanceCurve(float amount, char const* curvePoints)
    : ImageModTemplate("Curves", "Luminance Curve")
{
    addPercentVar("Amount", amount, 0.0f, 1.0f);
    setAuxFloat(0, 1.0f);
    addCurveVar("Curve", curvePoints);
    setAuxCurve(1, secondListCurve);
    description = "Adjust luminance using a curve editor.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModLuminanceCurve::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    applyCurveByMethod(image, *this, ImageModToneCurve::Luminance);
}

ImageModRGBCombinedCurve::ImageModRGBCombinedCurve(float amount, char const* curvePoints)
    : ImageModTemplate("RGB Curve", "")
{
    addPercentVar("Amount", amount, 0.0f, 1.0f);
    setAuxFloat(0, 1.0f);
    addCurveVar("Curve", curvePoints);
    setAuxCurve(1, secondListCurve);
    description = "Adjust RGB values together using a curve editor.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModRGBCombinedCurve::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    applyCurveByMethod(image, *this, ImageModToneCurve::PerChannel);
}

INSTANTIATE_TEMPLATE_MOD(ImageModToneCurve);
INSTANTIATE_TEMPLATE_MOD(ImageModLuminanceCurve);
INSTANTIATE_TEMPLATE_MOD(ImageModRGBCombinedCurve);
