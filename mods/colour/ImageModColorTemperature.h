#pragma once

#include "mods/ImageModTemplate.h"

// Warms (positive Temp) or cools (negative) the picture by one of four
// methods, with a strength the curve sets over luminance.
class ImageModColorTemperature : public ImageModTemplate<ImageModColorTemperature>
{
public:
    enum Method { ByColorize, ByColorBalance, ByRGBCurves, ByRGBCurvesKeepingLuminance };

    explicit ImageModColorTemperature(float amount = 0.0f, float temperature = 0.5f, int method = ByColorize);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // The colour of a temperature t in -1..1: grey at 0, orange at 1, blue at -1.
    static OVRGBColor colourOf(float t);
};
