#include "mods/colour/TonalColorFilters.h"

#include <algorithm>
#include <vector>

#include "mods/common/SampleLoop.h"
#include "mods/common/ColourRules.h"

ImageModSplitTone::ImageModSplitTone(float amount, OVRGBColor dark, OVRGBColor light)
    : ImageModTemplate("Split Tone", "")
{
    addPercentVar("Amount", amount, 0.0f, 1.0f);
    setAuxFloat(0, 1.0f);
    addColorVar("Dark Color", dark);
    addColorVar("Light Color", light);
    description = "Create a two-toned image by selecting the lightest and darkest colors.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModSplitTone::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    if (floatVar(0) == 0.0f)
        return;
    float const a = floatVar(0);
    OVRGBColor const darkColour = colorVar(1);
    OVRGBColor const lightColour = colorVar(2);
    float const dark[3] = {darkColour.red, darkColour.green, darkColour.blue};
    float const light[3] = {lightColour.red, lightColour.green, lightColour.blue};
    // Each sample blended toward its channel of the tint that the pixel's
    // lightness l (0..1) picks between dark and light.
    auto const toned = [a](float v, float darkC, float lightC, float l) {
        return FlexImage<T>::storeSample((darkC * (1.0f - l) + lightC * l) * a + v * (1.0f - a));
    };
    int const channels = image->channels;
    if (channels != 3) {
        forEachPixel(image, [&](T* p, int n) {
            float const l = float(pixelLuminance(p, n)) * 0.003921569f;
            for (int c = 0; c < 3 && c < n; ++c)
                p[c] = toned(float(p[c]), dark[c], light[c], l);
        });
        return;
    }
    // Three channels, the common case: a row's lightnesses first, then
    // every sample in one plain loop, the tints laid out along the row.
    size_t const width = size_t(std::max(image->width, 0));
    std::vector<float> lightness(width), sampleLightness(3 * width), darkAlong(3 * width), lightAlong(3 * width);
    for (size_t i = 0; i < 3 * width; ++i) {
        darkAlong[i] = dark[i % 3];
        lightAlong[i] = light[i % 3];
    }
    forEachUsedRow(image, [&](int, int, T* row, int count) {
        rowLuminances(row, count, 3, lightness.data());
        for (int x = 0; x < count; ++x)
            lightness[size_t(x)] *= 0.003921569f;
        spreadOverSamples(lightness.data(), count, 3, sampleLightness.data());
        float const* l = sampleLightness.data();
        float const* darkC = darkAlong.data();
        float const* lightC = lightAlong.data();
        widestLoop(3 * count, [=](int i) { row[i] = toned(float(row[i]), darkC[i], lightC[i], l[i]); });
    });
}

ImageModColorCorrector::ImageModColorCorrector(float amount)
    : ImageModTemplate("Color Correction", "")
{
    addPercentVar("Amount", amount, 0.0f, 1.0f);
    OVRGBColor const grey(127.5f, 127.5f, 127.5f);
    addColorVar("Shadows", grey);
    addColorVar("Midtones", grey);
    addColorVar("Highlights", grey);
    description = "Separately adjust the color of highlights, midtones, and shadows.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModColorCorrector::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const a = floatVar(0);
    if (a == 0.0f || image->channels < 3)
        return;
    float offsets[3][3];
    bool neutral = true;
    for (int range = 0; range < 3; ++range) {
        colourRules::colorizeOffsets(colorVar(1 + range), 1.0f, offsets[range]);
        neutral = neutral && offsets[range][0] == 0.0f && offsets[range][1] == 0.0f && offsets[range][2] == 0.0f;
    }
    if (neutral)
        return;
    forEachColourTriple(image, [&offsets, a](float& red, float& green, float& blue) {
        float weights[3];
        toneWeights(float(luminance(red, green, blue)) / 255.0f, weights);
        float* const rgb[3] = {&red, &green, &blue};
        for (int c = 0; c < 3; ++c) {
            float const shift = weights[0] * offsets[0][c] + weights[1] * offsets[1][c] + weights[2] * offsets[2][c];
            *rgb[c] = clamp255(*rgb[c] + shift * a);
        }
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModSplitTone);
INSTANTIATE_TEMPLATE_MOD(ImageModColorCorrector);
