#include "mods/colour/ImageModSelectiveColor.h"

#include <cmath>

#include "mods/common/Ramps.h"
#include "mods/common/SampleLoop.h"
#include "mods/common/SaturationRules.h"

ImageModSelectiveColor::ImageModSelectiveColor(OVRGBColor colour, float tolerance, float saturation)
    : ImageModTemplate("Selective Saturation", "")
{
    addColorVar("Color", colour);
    addPercentVar("Tolerance", tolerance, 0.0f, 100.0f);
    addPercentVar("Saturation", saturation, 0.0f, 2.0f, 0.0f, 2.0f);
    description = "Adjust the saturation of a specific hue only.";
    setDefaultVarsToCurrent();
}

float ImageModSelectiveColor::hueWeight(float dh, float tolerance)
{
    if (dh > 1.5f * tolerance)
        return 0.0f;
    if (dh <= tolerance)
        return 1.0f;
    return 1.0f - ease((dh - tolerance) / (0.5f * tolerance));
}

template <typename T>
void ImageModSelectiveColor::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    if (hasFloatVar(2) && floatVar(2) == 1.0f)
        return;
    if (image->channels < 3)
        return;
    OVRGBColor const colour = colorVar(0);
    float hue, s, v;
    colour.getAsHSV(&hue, &s, &v);
    float const tolerance = floatVar(1) * 1.8f;
    float const k = float(saturationFactor(floatVar(2)));
    forEachPixel(image, [&](T* p, int channels) {
        float dh = std::fabs(OVRGBColor::toHSV(float(p[0]), float(p[1]), float(p[2])).h - hue);
        if (dh > 180.0f)
            dh = 360.0f - dh;
        float const w = hueWeight(dh, tolerance);
        if (w == 0.0f)
            return;
        float const L = float(pixelLuminance(p, channels));
        float const f = (1.0f - w) + w * k;
        for (int c = 0; c < channels; ++c)
            p[c] = FlexImage<T>::storeSample(clamp255(float(p[c]) * f + (1.0f - f) * L));
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModSelectiveColor);
