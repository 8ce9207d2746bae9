#include "mods/basic/ImageModVignette.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "imaging/FastPow.h"
#include "mods/common/Ramps.h"
#include "mods/common/SampleLoop.h"

ImageModVignette::ImageModVignette(float amount, float sharpness, float radius)
    : ImageModTemplate("Vignette", "")
{
    addPercentVar("Amount", amount, -1.0f, 1.0f, -100.0f, 100.0f);
    addVar(ImageModVariable::makeFloat("Sharpness", sharpness, 0.0f, 100.0f))->setDisplayName("Falloff");
    addVar(ImageModVariable::makeFloat("Radius", radius, 0.0f, 2.0f));
    description = "Simulate vignetting around the corners of the image. Falloff and Radius affect the "
                  "intensity and size of the effect.";
    setDefaultVarsToCurrent();
}

namespace {

// How much the vignette takes from count pixels of a row dy from the centre,
// from column first on.
template <typename T>
void darkenAlongRow(float dy, float centreX, float reach, float e, float a, int first, int count, float* out)
{
    widestLoop(count, [=](int i) {
        float const dx = float(first + i) - centreX;
        float const d = std::sqrt(dx * dx + dy * dy) / reach;
        out[i] = radialRamp(d, e, [](float b, float k) { return samplePow<T>(b, k); }) * a * 255.0f;
    });
}

} // namespace

template <typename T>
void ImageModVignette::templateMod(FlexImage<T>* image, ImageModChunkInfo* info)
{
    float const a = floatVarInRange(0);
    if (a == 0.0f)
        return;
    float const e = rampExponent(floatVarInRange(1));
    PictureFrame const frame = pictureFrame(*image, info);
    float const halfW = frame.visibleWidth * 0.5f;
    float const halfH = frame.visibleHeight * 0.5f;
    float const reach = 2.0f * floatVarInRange(2) * std::sqrt(halfW * halfW + halfH * halfH);
    int const channels = image->channels;
    // The darkening along a row first, in one plain loop (the power
    // vectorises for float pictures), then the samples; only where the
    // results are read.
    size_t const width = size_t(std::max(image->width, 0));
    std::vector<float> darkening(width);
    std::vector<float> sampleDarkening(width * size_t(std::max(channels, 0)));
    forEachUsedRow(image, [&](int y, int x0, T* p, int count) {
        darkenAlongRow<T>(float(y) - frame.centreY, frame.centreX, reach, e, a, x0, count, darkening.data());
        setSamplesFromPixelValues(p, p, count, channels, darkening.data(), sampleDarkening.data(),
                                  [](float v, float darker) { return clamp255(v - darker); });
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModVignette);
