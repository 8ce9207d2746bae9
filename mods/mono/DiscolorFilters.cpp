#include "mods/mono/DiscolorFilters.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "mods/common/Ramps.h"
#include "mods/common/SampleLoop.h"
#include "mods/common/ValueNoise.h"
#include "mods/common/ColourRules.h"

ImageModDiscolor::ImageModDiscolor(float amount, float offset, OVRGBColor colour, float scale, float stretch)
    : ImageModTemplate("Discolor", "")
{
    addPercentVar("Amount", amount, 0.0f, 1.0f);
    addVar(ImageModVariable::makeFloat("Offset", offset, 0.0f, 100.0f));
    addColorVar("Color", colour);
    addVar(ImageModVariable::makeFloat("Scale", scale, 0.0f, 2.0f));
    addVar(ImageModVariable::makeFloat("Stretch", stretch, 0.0f, 2.0f));
    description = "Apply uneven discoloration to the image.";
    setDefaultVarsToCurrent();
}

namespace {

// The Screen colour method (see colourRules::applyMethod) over a row of
// three-sample pixels, each at its own strength, in one plain loop.
template <typename T>
void screenRow(T* row, int width, OVRGBColor colour, float const* strengths)
{
    float const kr = colour.red;
    float const kg = colour.green;
    float const kb = colour.blue;
    widestLoop(width, [=](int i) {
        float const w = strengths[i];
        auto screened = [w](float v, float k) { return colourRules::clampChannel(colourRules::screenChannel(v, k, w)); };
        T* const p = row + 3 * i;
        p[0] = FlexImage<T>::storeSample(screened(float(p[0]), kr));
        p[1] = FlexImage<T>::storeSample(screened(float(p[1]), kg));
        p[2] = FlexImage<T>::storeSample(screened(float(p[2]), kb));
    });
}

} // namespace

template <typename T>
void ImageModDiscolor::templateMod(FlexImage<T>* image, ImageModChunkInfo* info)
{
    float const a = floatVarInRange(0);
    if (a == 0.0f || image->channels < 3)
        return;
    OVRGBColor const colour = colorVar(2);
    int const fullWidth = info ? info->fullWidth : image->width;
    int const fullHeight = info ? info->fullHeight : image->height;
    int const chunkX = info ? info->chunkX : 0;
    int const chunkY = info ? info->chunkY : 0;
    // Positions are fractions of the picture's longer side, so the pattern
    // looks the same at every render size and across tiles.
    double const perPixel =
        2.0 / std::max(double(floatVarInRange(3)), 0.05) / double(std::max(std::max(fullWidth, fullHeight), 1));
    double const stretch = 1.0 / (1.0 + double(floatVarInRange(4)));
    double const shift = double(floatVar(1)) * 0.37 + 100.0;
    int const channels = image->channels;
    // The noise along the used part of each row, then the pixels.
    PixelRect const used = UsedRegion::of(image->width, image->height);
    valueNoise::OctaveRows noise(used.width(), [&](int i) {
        return double(used.left + i + chunkX) * perPixel * stretch + shift;
    });
    std::vector<float> blotches(size_t(std::max(used.width(), 0)));
    forEachUsedRow(image, [&](int row, int, T* p, int width) {
        float* const strengths = blotches.data();
        noise.along(double(row + chunkY) * perPixel + 100.0, strengths);
        widestLoop(width, [strengths, a](int i) { strengths[i] = ease(strengths[i] * 0.8f + 0.4f) * a; });
        if (channels == 3) {
            screenRow(p, width, colour, strengths);
            return;
        }
        for (int i = 0; i < width; ++i, p += channels) {
            float rgb[3] = {float(p[0]), float(p[1]), float(p[2])};
            colourRules::applyMethod<colourRules::Screen>(rgb, colour, HSV(), strengths[i]);
            for (int c = 0; c < 3; ++c)
                p[c] = FlexImage<T>::storeSample(rgb[c]);
        }
    });
}

ImageModLightleak::ImageModLightleak(float amount)
    : ImageModTemplate("Lightleak", "")
{
    addPercentVar("Amount", amount, 0.0f, 1.0f);
    addPercentVar(remixVariableName, 0.0f, 0.0f, 1.0f)->setDisplayName(remixDisplayName);
    description = "Discolors your film in oranges and purples where a poorly-made camera accidentally lets light in.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModLightleak::templateMod(FlexImage<T>* image, ImageModChunkInfo* info)
{
    float const a = floatVarInRange(0);
    if (a == 0.0f)
        return;
    double const v = double(floatVar(1)) + 248.75;
    OVRGBColor const leak(float(237.5 + 17.5 * std::cos(v * 0.08105308810215502)),
                          float(162.5 + 37.5 * std::cos(v * 0.06000441866188032)),
                          float(140.0 + 60.0 * std::cos(v * 0.033740705144660564)), 255.0f);
    float const amount = float((0.699999988079071 + 0.19999998807907104 * std::cos(v * 0.029405306921233814)) * a);
    float const stretch = float(0.1850000098347664 + 0.11500000953674316 * std::cos(v * 0.044673449142009804));
    ImageModDiscolor discolor(amount, float(v), leak, 1.45f, stretch);
    discolor.templateMod(image, info);
}

INSTANTIATE_TEMPLATE_MOD(ImageModDiscolor);
INSTANTIATE_TEMPLATE_MOD(ImageModLightleak);
