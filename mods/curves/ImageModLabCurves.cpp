#include "mods/curves/ImageModLabCurves.h"

#include <cmath>

#include "mods/common/SampleLoop.h"

namespace {

constexpr float whiteX = 0.95047f;
constexpr float whiteZ = 1.08883f;

float toLinear(float c)
{
    return c <= 0.04045f ? c / 12.92f : std::pow((c + 0.055f) / 1.055f, 2.4f);
}

float fromLinear(float c)
{
    return c <= 0.0031308f ? c * 12.92f : 1.055f * std::pow(c, 1.0f / 2.4f) - 0.055f;
}

float labF(float t)
{
    return t > 0.008856f ? std::cbrt(t) : 7.787f * t + 16.0f / 116.0f;
}

float labFInverse(float f)
{
    float const cube = f * f * f;
    return cube > 0.008856f ? cube : (f - 16.0f / 116.0f) / 7.787f;
}

} // namespace

void ImageModLabCurves::rgbToLab(float const* rgb, float* lab)
{
    float const r = toLinear(rgb[0] / 255.0f);
    float const g = toLinear(rgb[1] / 255.0f);
    float const b = toLinear(rgb[2] / 255.0f);
    float const x = labF((0.4124564f * r + 0.3575761f * g + 0.1804375f * b) / whiteX);
    float const y = labF(0.2126729f * r + 0.7151522f * g + 0.0721750f * b);
    float const z = labF((0.0193339f * r + 0.1191920f * g + 0.9503041f * b) / whiteZ);
    lab[0] = 116.0f * y - 16.0f;
    lab[1] = 500.0f * (x - y);
    lab[2] = 200.0f * (y - z);
}

void ImageModLabCurves::labToRgb(float const* lab, float* rgb)
{
    float const fy = (lab[0] + 16.0f) / 116.0f;
    float const x = labFInverse(fy + lab[1] / 500.0f) * whiteX;
    float const y = labFInverse(fy);
    float const z = labFInverse(fy - lab[2] / 200.0f) * whiteZ;
    float const r = 3.2404542f * x - 1.5371385f * y - 0.4985314f * z;
    float const g = -0.9692660f * x + 1.8760108f * y + 0.0415560f * z;
    float const b = 0.0556434f * x - 0.2040259f * y + 1.0572252f * z;
    rgb[0] = clamp255(fromLinear(std::fmax(r, 0.0f)) * 255.0f);
    rgb[1] = clamp255(fromLinear(std::fmax(g, 0.0f)) * 255.0f);
    rgb[2] = clamp255(fromLinear(std::fmax(b, 0.0f)) * 255.0f);
}

ImageModLabCurves::ImageModLabCurves(char const* lightness, char const* a, char const* b)
    : ImageModTemplate("Lab Curves", "L,a,b Curves")
{
    addCurveVar("L", lightness);
    addCurveVar("a", a);
    addCurveVar("b", b);
    addPercentVar("Amount", 1.0f, 0.0f, 1.0f);
    setAuxFloat(3, 1.0f);
    description = "Adjust curves in the Lab color space.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModLabCurves::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const amount = floatVar(3);
    ToneCurve const* curves[3] = {curveVar(0), curveVar(1), curveVar(2)};
    if (amount == 0.0f || !curves[0] || !curves[1] || !curves[2] ||
        (curves[0]->isIdentity() && curves[1]->isIdentity() && curves[2]->isIdentity()))
        return;
    if (image->channels < 3)
        return;
    // Each axis is mapped onto 0..1 for its curve: L from 0..100, a and b
    // from -128..127.
    forEachPixel(image, [&](T* p, int) {
        float rgb[3] = {float(p[0]), float(p[1]), float(p[2])};
        float lab[3];
        rgbToLab(rgb, lab);
        lab[0] = curves[0]->lookup(lab[0] * 0.01f) * 100.0f;
        lab[1] = curves[1]->lookup((lab[1] + 128.0f) / 255.0f) * 255.0f - 128.0f;
        lab[2] = curves[2]->lookup((lab[2] + 128.0f) / 255.0f) * 255.0f - 128.0f;
        float curved[3];
        labToRgb(lab, curved);
        for (int c = 0; c < 3; ++c)
            p[c] = FlexImage<T>::storeSample(rgb[c] * (1.0f - amount) + curved[c] * amount);
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModLabCurves);
