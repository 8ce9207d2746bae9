#include "mods/curves/ChannelCurveFilters.h"

#include <algorithm>

#include "mods/common/SampleLoop.h"
#include "mods/curves/CurveRules.h"
#include "mods/curves/ToneCurveFilters.h"

ImageModRGBCurves::ImageModRGBCurves(char const* red, char const* green, char const* blue, float amount,
                                     char const* all)
    : ImageModTemplate("RGB Curves", "R,G,B Curves")
{
    addCurveVar("Red", red);
    setAuxCurve(0, "0.000000 0.000000 0.049451 0.211538 0.967033 0.653846 1.000000 1.000000");
    addCurveVar("Green", green);
    setAuxCurve(1, "0.000000 0.000000 0.193989 0.150273 0.449454 0.616120 1.000000 1.000000");
    addCurveVar("Blue", blue);
    setAuxCurve(2, "0.000000 0.000000 0.137978 0.386612 0.948087 0.838798 1.000000 1.000000");
    addCurveVar("RGB", all);
    addPercentVar("Amount", amount, 0.0f, 1.0f);
    setAuxFloat(4, 1.0f);
    description = "Adjust separate curves for red, green, and blue components.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModRGBCurves::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const a = floatVar(4);
    ToneCurve const* curves[4] = {curveVar(0), curveVar(1), curveVar(2), curveVar(3)};
    if (a == 0.0f || !curves[0] || !curves[1] || !curves[2])
        return;
    ToneCurve const* all = curves[3] && !curves[3]->isIdentity() ? curves[3] : nullptr;
    if (!all && curves[0]->isIdentity() && curves[1]->isIdentity() && curves[2]->isIdentity())
        return;
    // The shared curve acts on the result of the channel curves.
    if (image->channels < 3) {
        forEachPixel(image, [&curves, all, a](T* p, int channels) {
            for (int c = 0; c < channels; ++c) {
                float curved = curves[c]->lookupChannel(float(p[c])) * 255.0f;
                if (all)
                    curved = all->lookupChannel(curved) * 255.0f;
                p[c] = FlexImage<T>::storeSample(float(p[c]) * (1.0f - a) + curved * a);
            }
        });
        return;
    }
    // A block's reds, greens and blues each go through their curves in one
    // vectorised lookup, then blend.
    forEachColourBlock(image, [&curves, all, a](float* red, float* green, float* blue, int count) {
        float* const channels[3] = {red, green, blue};
        float curved[colourBlockPixels];
        for (int c = 0; c < 3; ++c) {
            float* const samples = channels[c];
            std::copy(samples, samples + count, curved);
            curves[c]->lookupChannels(curved, count, 255.0f);
            if (all)
                all->lookupChannels(curved, count, 255.0f);
            widestLoop(count, [samples, &curved, a](int i) { samples[i] = samples[i] * (1.0f - a) + curved[i] * a; });
        }
    });
}

ImageModComponentCurve::ImageModComponentCurve(char const* curvePoints, int components)
    : ImageModTemplate("Component Curve", "")
{
    addPercentVar("Amount", 1.0f, 0.0f, 1.0f);
    setAuxFloat(0, 1.0f);
    addCurveVar("Curve", curvePoints);
    setAuxCurve(1, secondListCurve);
    GrowArray<GrowArray<GrowString>> labels;
    labels.add(labelList({"Red", "Green", "Blue", "Red+Green", "Green+Blue", "Blue+Red"}));
    labels.add(labelList({"R", "G", "B", "RG", "GB", "BR"}));
    ImageModVariable choice;
    choice.name = "Components";
    choice.setData(new ImageModVariableDataChoice(labels, components));
    addVar(choice);
    description = "Adjust a single curve for individual or combined red, green, and blue components.";
    setDefaultVarsToCurrent();
}

void ImageModComponentCurve::selectedChannels(bool* changes) const
{
    static bool const table[6][3] = {{true, false, false}, {false, true, false}, {false, false, true},
                                     {true, true, false},  {false, true, true},  {true, false, true}};
    int const index = vars.count > 2 && vars[2]->choiceData() ? vars[2]->choiceData()->selected : Red;
    for (int c = 0; c < 3; ++c)
        changes[c] = index >= 0 && index < 6 && table[index][c];
}

template <typename T>
void ImageModComponentCurve::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    ToneCurve const* curve = curveVar(1);
    if (floatVar(0) == 0.0f || !curve || curve->isIdentity())
        return;
    float const a = floatVar(0);
    bool changes[3];
    selectedChannels(changes);
    forEachPixel(image, [&](T* p, int channels) {
        for (int c = 0; c < 3 && c < channels; ++c)
            if (changes[c])
                p[c] = FlexImage<T>::storeSample(blendThroughCurve(float(p[c]), *curve, a));
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModRGBCurves);
INSTANTIATE_TEMPLATE_MOD(ImageModComponentCurve);
