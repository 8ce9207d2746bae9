#include "mods/colour/ColorizeFilters.h"

#include <algorithm>
#include <vector>

#include "mods/common/SampleLoop.h"
#include "mods/common/ColourRules.h"

GrowArray<GrowString> colourMethodLabels()
{
    return labelList({"Colorize", "Tint", "Color Filter", "Dye", "Color Balance", "Screen", "Multiply"});
}

namespace {

// Colorize moves a pixel by the colour's (or, for a negative shift, the
// complement's) deviation from its own grey, times the size of the shift:
// the same arithmetic as colourRules::colorizeOffsets, with the two sides'
// deviations worked out once. The offsets are laid out sample by sample
// (scratch holds 3 x count), so both loops are plain and vectorise.
template <typename T>
void colorizeRow(T* row, int count, float const* shifts, OVRGBColor colour, OVRGBColor complement, float* scratch)
{
    double toward[3];
    double away[3];
    colourRules::deviationsFromGrey(colour, toward);
    colourRules::deviationsFromGrey(complement, away);
    float* const offsets = scratch;
    widestLoop(count, [=, &toward, &away](int x) {
        float const w = shifts[x];
        bool const positive = w >= 0.0f;
        double const a = double(positive ? w : -w);
        for (int c = 0; c < 3; ++c)
            offsets[3 * x + c] = float((positive ? toward[c] : away[c]) * a);
    });
    widestLoop(3 * count, [=](int i) {
        row[i] = FlexImage<T>::storeSample(colourRules::clampChannel(float(row[i]) + offsets[i]));
    });
}

} // namespace

template <typename T>
void colourByLuminance(FlexImage<T>* image, ToneCurve const& weight, OVRGBColor colour, float amount, int method)
{
    if (amount == 0.0f || image->channels < 3)
        return;
    OVRGBColor const complement(255.0f - colour.red, 255.0f - colour.green, 255.0f - colour.blue);
    HSV const dye = colourRules::dyeHSV(colour);
    HSV const complementDye = colourRules::dyeHSV(complement);
    int const channels = image->channels;
    // A row's luminances first (in a loop that vectorises), then their
    // strengths along the curve, then the pixels.
    size_t const width = size_t(std::max(image->width, 0));
    std::vector<float> strengths(width);
    std::vector<float> scratch(3 * width);
    colourRules::withMethod(method, [&](auto m) {
        forEachUsedRow(image, [&](int, int, T* row, int count) {
            float* const shifts = strengths.data();
            rowLuminances(row, count, channels, shifts);
            // The shift the curve gives at each luminance: the curve is
            // centred on 0.5, which shifts nothing; 1 is the full colour and
            // 0 the full complement (so one curve can warm the shadows and
            // cool the highlights). The lookups in one vectorised loop.
            weight.lookupChannels(shifts, count, 1.0f);
            widestLoop(count, [shifts, amount](int x) { shifts[x] = (shifts[x] - 0.5f) * 2.0f * amount; });
            if constexpr (decltype(m)::value == colourRules::Colorize) {
                if (channels == 3) {
                    colorizeRow(row, count, shifts, colour, complement, scratch.data());
                    return;
                }
            }
            for (int x = 0; x < count; ++x) {
                T* p = row + size_t(x) * channels;
                float const w = shifts[x];
                float rgb[3] = {float(p[0]), float(p[1]), float(p[2])};
                if (w >= 0.0f)
                    colourRules::applyMethod<decltype(m)::value>(rgb, colour, dye, w);
                else
                    colourRules::applyMethod<decltype(m)::value>(rgb, complement, complementDye, -w);
                for (int c = 0; c < 3; ++c)
                    p[c] = FlexImage<T>::storeSample(rgb[c]);
            }
        });
    });
}

ImageModColorizeCurve::ImageModColorizeCurve(char const* curvePoints, OVRGBColor colour, float amount, int method)
    : ImageModTemplate("Colorize Curve", "Coloring Curve")
{
    addCurveVar("Luminance Region", curvePoints)->setDisplayName("Affected Brightness");
    addColorVar("Color", colour);
    addPercentVar("Amount", amount, 0.0f, 1.0f);
    addVar(ImageModVariable::makeChoice("Color Method", colourMethodLabels(), method));
    description = "Adjust the color of a specified luminance region.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModColorizeCurve::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    if (ToneCurve const* curve = curveVar(0))
        colourByLuminance(image, *curve, colorVar(1), floatVar(2), choiceVar(3, 0));
}

ImageModColorizeNoCurve::ImageModColorizeNoCurve(OVRGBColor colour, float amount, int method)
    : ImageModTemplate("Colorize Basic", "Coloring")
{
    addColorVar("Color", colour);
    addPercentVar("Amount", amount, 0.0f, 1.0f);
    setAuxCurve(0, "0 .5 .5 .6 1 .5");
    setAuxFloat(1, 0.5f);
    addVar(ImageModVariable::makeChoice("Color Method", colourMethodLabels(), method));
    // Full strength at every brightness: the curved filter with a flat curve.
    everywhere.setControlPoints(GrowString("0 1 1 1"));
    description = "Adjust the overall color.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModColorizeNoCurve::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    colourByLuminance(image, everywhere, colorVar(0), floatVar(1), choiceVar(2, 0));
}

template void colourByLuminance(FlexImage<unsigned char>*, ToneCurve const&, OVRGBColor, float, int);
template void colourByLuminance(FlexImage<float>*, ToneCurve const&, OVRGBColor, float, int);
INSTANTIATE_TEMPLATE_MOD(ImageModColorizeCurve);
INSTANTIATE_TEMPLATE_MOD(ImageModColorizeNoCurve);
