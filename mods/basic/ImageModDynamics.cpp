#include "mods/basic/ImageModDynamics.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "imaging/FastPow.h"
#include "imaging/Luminance.h"
#include "mods/common/SampleLoop.h"

ImageModDynamics::ImageModDynamics(float amount, float radius, int method)
    : ImageModTemplate("Dynamics", "")
{
    addVar(ImageModVariable::makeFloat("Amount", amount, 0.0f, 100.0f));
    addVar(ImageModVariable::makeFloat("Radius", radius, 0.0f, 100.0f));
    addVar(ImageModVariable::makeChoice("Method", labelList({"Overlay", "Luminance"}), method));
    description = "Adjust the dynamic range of shadows and highlights relative to pixels within a given radius.";
    setDefaultVarsToCurrent();
    updateBlurMod();
}

ImageModDynamics& ImageModDynamics::operator=(ImageMod const& other)
{
    ImageMod::operator=(other);
    if (auto const* dynamics = dynamic_cast<ImageModDynamics const*>(&other))
        blurMod = dynamics->blurMod;
    return *this;
}

void ImageModDynamics::updateBlurMod()
{
    if (blurMod.vars.count == 0)
        return;
    ImageModVariable* amount = blurMod.vars[0];
    if (!amount->floatData())
        amount->setData(new ImageModVariableDataFloat(0.0f, 0.0f, 1.0f));
    amount->floatData()->value = floatVarInRange(1);
}

void ImageModDynamics::notifyVarChanged(int index)
{
    ImageMod::notifyVarChanged(index);
    updateBlurMod();
}

int ImageModDynamics::getExtraPixelRadiusRequired(int width, int height, float scale)
{
    return blurMod.getExtraPixelRadiusRequired(width, height, scale);
}

namespace {

// floor without a library call (the plain x86-64 target has no rounding
// instruction), so that a loop of it vectorises. From 2^23 on, floats are
// whole already.
inline float wholeBelow(float v)
{
    bool const small = std::fabs(v) < 8388608.0f;
    float const inRange = small ? v : 0.0f;
    float const truncated = float(int(inRange));
    float const below = truncated > inRange ? truncated - 1.0f : truncated;
    return fastPow::pick(small, below, v);
}

// The overlay, inline so that the loops over samples take it in.
inline float overlaySample(float c, float surroundings, float a)
{
    // The two halves share their division: the side is picked first.
    float const m = (surroundings - 127.5f) * a;
    bool const upper = c >= 127.5f;
    float const product = fastPow::pick(upper, 2.0f * (255.0f - c) * (m + 127.5f), 2.0f * c * (127.5f - m));
    float const stepped = wholeBelow(product / 255.0f);
    return fastPow::pick(upper, 255.0f - stepped, stepped);
}

} // namespace

float ImageModDynamics::overlay(float c, float surroundings, float a)
{
    return overlaySample(c, surroundings, a);
}

namespace {

// The blurred brightness around every pixel, as one plane. A blur is linear
// and clamps its input to 0..255 first, so for float pictures blurring the
// luminance of the clamped samples gives the luminance of the blurred
// picture (to the blur's fixed-point steps) at a third of the cost. 8-bit
// blurs round between their passes, so there the picture itself is blurred.
void surroundingLuminance(FlexImage<float> const& image, ImageModBlur& blur, ImageModChunkInfo* info,
                          FlexImage<float>* plane)
{
    plane->reshape(image.width, image.height, 1);
    size_t const pixelCount = size_t(image.width) * image.height;
    int const channels = image.channels;
    float const* const p = image.pixels;
    float* const out = plane->pixels;
    auto const ofClamped = [](float red, float green, float blue) {
        return float(luminance(clamp255(red), clamp255(green), clamp255(blue)));
    };
    if (channels == 3)
        widestLoop(pixelCount,
                   [p, out, ofClamped](size_t i) { out[i] = ofClamped(p[3 * i], p[3 * i + 1], p[3 * i + 2]); });
    else
        for (size_t i = 0; i < pixelCount; ++i) {
            float const* pixel = p + i * size_t(channels);
            out[i] = channels >= 3 ? ofClamped(pixel[0], pixel[1], pixel[2]) : clamp255(pixel[0]);
        }
    blur.applyMod(plane, info);
}

void surroundingLuminance(FlexImage<unsigned char> const& image, ImageModBlur& blur, ImageModChunkInfo* info,
                          FlexImage<float>* plane)
{
    FlexImage<unsigned char> blurred;
    blurred.copyFromImage(image, true);
    blur.applyMod(&blurred, info);
    plane->reshape(image.width, image.height, 1);
    size_t const pixelCount = size_t(image.width) * image.height;
    for (size_t i = 0; i < pixelCount; ++i)
        plane->pixels[i] = float(pixelLuminance(blurred.pixels + i * image.channels, image.channels));
}

} // namespace

template <typename T>
void ImageModDynamics::templateMod(FlexImage<T>* image, ImageModChunkInfo* info)
{
    float const a = floatVarInRange(0) * 0.01f;
    if (a == 0.0f)
        return;
    FlexImage<float> surroundings;
    surroundingLuminance(*image, blurMod, info, &surroundings);
    bool const luminanceMethod = choiceVar(2, Overlay) == Luminance;
    int const channels = image->channels;
    int const colours = channels < 3 ? channels : 3;
    if (luminanceMethod) {
        // Luminance contrast of 1 + a about each pixel's surroundings.
        float const e = FlexImage<T>::contrastExponent(1.0f + a);
        moveLuminanceByRows(image, colours, [&](int row) {
            float const* pivots = surroundings.pixelAt(0, row);
            return [=](int col, float L) {
                return FlexImage<T>::contrastTarget(L, e, pivots[col],
                                                    [](float x, float y) { return samplePow<T>(x, y); });
            };
        });
        return;
    }
    // Overlay: each sample pushed from mid-grey by its surroundings, a row
    // at a time where the results are read.
    std::vector<float> sampleScratch(size_t(image->width) * size_t(channels));
    forEachUsedRow(image, [&](int y, int x0, T* row, int width) {
        float const* around = surroundings.pixelAt(x0, y);
        if (colours == channels) {
            setSamplesFromPixelValues(row, row, width, channels, around, sampleScratch.data(),
                                      [a](float c, float s) { return overlaySample(c, s, a); });
            return;
        }
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < colours; ++c) {
                T* p = row + size_t(x) * channels + c;
                *p = FlexImage<T>::storeSample(overlaySample(float(*p), around[x], a));
            }
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModDynamics);
