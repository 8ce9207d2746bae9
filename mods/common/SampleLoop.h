#pragma once

#include <algorithm>
#include <type_traits>
#include <vector>

#include "imaging/FlexImage.h"
#include "imaging/Luminance.h"

// Applies a per-sample rule to every sample of the image. 8-bit images have
// only 256 possible inputs, so the rule is evaluated once per input value into
// a table and the pixels are mapped through it: the same results, far fewer
// evaluations. The rule is inlined into the loop (no call per sample).
template <typename T, typename Rule>
void forEachSample(FlexImage<T>* image, Rule rule)
{
    size_t const n = image->sampleCount();
    T* samples = image->pixels;
    if constexpr (std::is_same_v<T, unsigned char>) {
        unsigned char table[256];
        for (int v = 0; v < 256; ++v)
            table[v] = FlexImage<unsigned char>::storeSample(rule(float(v)));
        for (size_t i = 0; i < n; ++i)
            samples[i] = table[samples[i]];
    } else {
        for (size_t i = 0; i < n; ++i)
            samples[i] = rule(samples[i]);
    }
}

// The same over the first three samples of every pixel (red, green, blue),
// leaving a fourth untouched.
template <typename T, typename Rule>
void forEachColorSample(FlexImage<T>* image, Rule rule)
{
    if (image->channels <= 3) {
        forEachSample(image, rule);
        return;
    }
    size_t const pixelCount = size_t(image->width) * size_t(image->height);
    int const channels = image->channels;
    T* p = image->pixels;
    for (size_t i = 0; i < pixelCount; ++i, p += channels)
        for (int c = 0; c < 3; ++c)
            p[c] = FlexImage<T>::storeSample(rule(float(p[c])));
}

// Calls rule(pixel, channels) for every pixel.
template <typename T, typename Rule>
void forEachPixel(FlexImage<T>* image, Rule rule)
{
    size_t const pixelCount = size_t(image->width) * size_t(image->height);
    int const channels = image->channels;
    T* p = image->pixels;
    for (size_t i = 0; i < pixelCount; ++i, p += channels)
        rule(p, channels);
}

// Moves one row's pixels from luminance L[i] to targets[i], keeping hue and
// saturation, in the first movedChannels channels. 8-bit pictures take the
// engine's per-pixel rule as it stands (their truncation depends on its
// exact arithmetic); float pictures take the same rule as a gain and a lift
// per pixel, one division a pixel instead of one a sample.
template <typename T>
void moveRowLuminance(T* pixels, int width, int channels, int movedChannels, float const* L, float const* targets)
{
    if constexpr (!std::is_same_v<T, float>) {
        for (int col = 0; col < width; ++col)
            FlexImage<T>::moveLuminance(pixels + size_t(col) * channels, movedChannels, L[col], targets[col]);
    } else {
        for (int col = 0; col < width; ++col) {
            float const l = L[col];
            float const t = targets[col];
            // Darker: v - v (l - t) / l = v t / l. Lighter: v + (255 - v) k
            // with k = (t - l) / (255 - l). Black and white become the target.
            bool const flat = l == 0.0f || l == 255.0f;
            bool const darker = l >= t;
            float const k = darker ? 0.0f : (t - l) / (255.0f - l);
            float const gain = flat ? 0.0f : (darker ? t / l : 1.0f - k);
            float const lift = flat ? t : 255.0f * k;
            float* p = pixels + size_t(col) * channels;
            for (int c = 0; c < movedChannels; ++c)
                p[c] = p[c] * gain + lift;
        }
    }
}

// Moves every pixel's luminance to a target, a row at a time: the row's
// luminances first, then their targets in one plain loop (which vectorises
// when the curve does, as a power curve does), then the moves, in the first
// movedChannels channels. rowTarget(row) gives the row's target(col, L).
template <typename T, typename RowTarget>
void moveLuminanceByRows(FlexImage<T>* image, int movedChannels, RowTarget rowTarget)
{
    int const width = image->width;
    int const channels = image->channels;
    std::vector<float> luminance(size_t(std::max(width, 0)));
    std::vector<float> moved(luminance.size());
    for (int row = 0; row < image->height; ++row) {
        T* p = image->pixelAt(0, row);
        for (int col = 0; col < width; ++col)
            luminance[col] = float(pixelLuminance(p + col * channels, channels));
        auto const target = rowTarget(row);
        for (int col = 0; col < width; ++col)
            moved[col] = target(col, luminance[col]);
        moveRowLuminance(p, width, channels, movedChannels, luminance.data(), moved.data());
    }
}

// Clamps to the sample range.
inline float clamp255(float v)
{
    return v < 0.0f ? 0.0f : (v > 255.0f ? 255.0f : v);
}
