#include "mods/basic/ImageModVignette.h"

#include <cmath>

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
    for (int y = 0; y < image->height; ++y) {
        float const dy = float(y) - frame.centreY;
        T* p = image->pixelAt(0, y);
        for (int x = 0; x < image->width; ++x, p += channels) {
            float const dx = float(x) - frame.centreX;
            float const d = std::sqrt(dx * dx + dy * dy) / reach;
            float const v = d > 0.0f ? easePow(d * 1.05f, e) : 0.0f;
            float const m = v * a * 255.0f;
            for (int c = 0; c < channels; ++c)
                p[c] = FlexImage<T>::storeSample(clamp255(float(p[c]) - m));
        }
    }
}

INSTANTIATE_TEMPLATE_MOD(ImageModVignette);
