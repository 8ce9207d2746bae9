#include "mods/curves/ImageModExposureCurve.h"

#include "mods/common/ExposureRules.h"
#include "mods/common/SampleLoop.h"

ImageModExposureCurve::ImageModExposureCurve(float amount, char const* curvePoints)
    : ImageModTemplate("Exposure Curve", "")
{
    addPercentVar("Amount", amount, 0.0f, 1.0f);
    setAuxFloat(0, 1.0f);
    addCurveVar("Curve", curvePoints);
    setAuxCurve(1, "0 .25 1 .75");
    setVersion(2);
    setDefaultVarsToCurrent();
}

void ImageModExposureCurve::setVersion(int v)
{
    ImageMod::setVersion(v);
    updateNameToVersion();
}

bool ImageModExposureCurve::answersToName(GrowString const& requested, int* impliedVersion) const
{
    int const named = requested == "Gamma Curve" ? 2 : (requested == "Exposure Curve" ? 1 : 0);
    if (named && impliedVersion)
        *impliedVersion = named;
    return named != 0;
}

void ImageModExposureCurve::updateNameToVersion()
{
    if (version == 2) {
        name = "Gamma Curve";
        description = "Adjust gamma using a horizontal curve editor.";
    } else {
        name = "Exposure Curve";
        description = "Adjust exposure using a horizontal curve editor.";
    }
}

template <typename T>
void ImageModExposureCurve::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    static float const neutral[] = {0.0f, 0.5f, 1.0f, 0.5f};
    float const a = floatVarInRange(0);
    ToneCurve const* curve = curveVar(1);
    if (a == 0.0f || !curve || curve->hasControlPoints(neutral, 2))
        return;
    bool const drainColour = version != 2;
    forEachPixel(image, [&](T* p, int channels) {
        float const Y = float(pixelLuminance(p, channels));
        // The exposure rules hold from 0 (black) to 2 (white); a curve drawn
        // outside 0..1 takes the nearest end.
        float const e = std::fmin(std::fmax(curve->lookupChannel(Y) * 2.0f * a + (1.0f - a), 0.0f), 2.0f);
        if (e == 1.0f)
            return;
        int const colours = channels < 3 ? channels : 3;
        if (e > 1.0f) {
            for (int c = 0; c < colours; ++c)
                p[c] = FlexImage<T>::storeSample(exposureRules::brighten<T>(std::fmax(float(p[c]), 0.05f), e));
        } else if (drainColour) {
            exposureRules::darkenPixel(p, colours, e, exposureRules::colourKeptWhenDarkening(e));
        } else {
            for (int c = 0; c < colours; ++c)
                p[c] = FlexImage<T>::storeSample(exposureRules::darken<T>(float(p[c]), e));
        }
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModExposureCurve);
