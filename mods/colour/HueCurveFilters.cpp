#include "mods/colour/HueCurveFilters.h"

#include <cmath>

#include "imaging/OVRGBColor.h"
#include "mods/common/SampleLoop.h"

namespace {

template <typename T>
void storeHSV(T* p, float h, float s, float v)
{
    float rgb[3];
    OVRGBColor::fromHSV(h, s, v, &rgb[0], &rgb[1], &rgb[2]);
    for (int c = 0; c < 3; ++c)
        p[c] = FlexImage<T>::storeSample(rgb[c]);
}

// A curve at 0.5 everywhere changes nothing, so no pixel is rewritten.
bool isFlatAtHalf(ToneCurve const& curve)
{
    for (Point2D const& point : curve.getControlPoints())
        if (point.y != 0.5f)
            return false;
    return true;
}

} // namespace

ImageModHueCurve::ImageModHueCurve(char const* name, char const* displayName, char const* curvePoints,
                                   char const* text)
    : ImageMod(name, displayName)
{
    addPercentVar("Amount", 1.0f, 0.0f, 1.0f);
    addCurveVar("Hue Region", curvePoints);
    description = text;
}

template <typename T, typename Rule>
void ImageModHueCurve::forEachHuePixel(FlexImage<T>* image, Rule rule) const
{
    float const a = floatVar(0);
    ToneCurve const* shared = curveVar(1);
    if (a == 0.0f || !shared || image->channels < 3 || isFlatAtHalf(*shared))
        return;
    ToneCurve const curve = *shared;
    float const start = 360.0f - curve.hueOffset;
    forEachPixel(image, [&](T* p, int) {
        HSV const hsv = OVRGBColor::toHSVUnit(float(p[0]) * 0.003921569f, float(p[1]) * 0.003921569f,
                                              float(p[2]) * 0.003921569f);
        float const u = std::fmod(start + hsv.h, 360.0f) / 360.0f;
        rule(p, hsv, curve.lookup(u), a);
    });
}

ImageModHueShift::ImageModHueShift(char const* curvePoints)
    : ImageModTemplate("Hue Shift", "", curvePoints, "Shift selected hues using a curve editor.")
{
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModHueShift::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    forEachHuePixel(image, [](T* p, HSV const& hsv, float c, float a) {
        if (hsv.s == 0.0f) {
            p[0] = p[1] = p[2] = FlexImage<T>::storeSample(hsv.v * 255.0f);
            return;
        }
        float const h = std::fmod((c * 360.0f - 180.0f) * a + hsv.h + 360.0f, 360.0f);
        storeHSV(p, h, hsv.s, hsv.v);
    });
}

ImageModHueBrightness::ImageModHueBrightness(char const* curvePoints)
    : ImageModTemplate("Hue Brightness", "", curvePoints, "Adjust the brightness of selected hues using a curve editor.")
{
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModHueBrightness::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    forEachHuePixel(image, [](T* p, HSV const& hsv, float c, float a) {
        float const k = (1.0f - std::fabs(2.0f * hsv.v - 1.0f)) * hsv.s * a;
        float const d = 2.0f * k * (c - 0.5f) * 255.0f;
        for (int ch = 0; ch < 3; ++ch)
            p[ch] = FlexImage<T>::storeSample(clamp255(float(p[ch]) + d));
    });
}

ImageModSaturationCurve::ImageModSaturationCurve(char const* curvePoints, int version)
    : ImageModTemplate("Saturation Curve", "Hue Saturation", curvePoints,
                       "Adjust the saturation of selected hues using a curve editor.")
{
    setVersion(version);
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModSaturationCurve::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    if (version == 2) {
        forEachHuePixel(image, [](T* p, HSV const& hsv, float c, float a) {
            if (hsv.s == 0.0f)
                return;
            float const factor = 1.0f + (c - 0.5f) * 2.0f * a;
            float const L = float(pixelLuminance(p, 3));
            for (int ch = 0; ch < 3; ++ch)
                p[ch] = FlexImage<T>::storeSample(clamp255(L + (float(p[ch]) - L) * factor));
        });
        return;
    }
    forEachHuePixel(image, [](T* p, HSV const& hsv, float c, float a) {
        if (hsv.s == 0.0f)
            return;
        float const s = std::fmin(1.0f, std::fmax(0.0f, hsv.s * (1.0f + (c - 0.5f) * 2.0f * a)));
        storeHSV(p, hsv.h, s, hsv.v);
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModHueShift);
INSTANTIATE_TEMPLATE_MOD(ImageModHueBrightness);
INSTANTIATE_TEMPLATE_MOD(ImageModSaturationCurve);
