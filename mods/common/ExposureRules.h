#pragma once

#include <cmath>
#include <type_traits>

#include "imaging/FastPow.h"
#include "imaging/FlexImage.h"
#include "imaging/Luminance.h"
#include "mods/common/SampleLoop.h"

// The exposure curves shared by Exposure, the legacy gamma and the exposure
// curve: an exposure e above 1 compresses the highlights' headroom, below 1
// a power curve darkens and drains some colour, as film does when it is
// underexposed.
namespace exposureRules {

// The brightening curve for an exposure e in (1, 2), for samples of type T.
// Samples beyond 0..255 count as the nearest end (a power of a negative
// base is not a number).
template <typename T>
inline float brighten(float c, float e)
{
    float const inRange = c > 0.0f ? (c < 255.0f ? c : 255.0f) : 0.0f;
    return 255.0f - 255.0f * samplePow<T>((255.0f - inRange) / 255.0f, 1.0f / (2.0f - e));
}

// The darkening curve for an exposure e in [0, 1), with the pow given;
// white is held just below 255 so that it darkens too, and samples below 0
// count as 0.
template <typename Pow>
inline float darkenWith(float c, float e, Pow pow)
{
    float const held = c > 0.0f ? (c < 254.95f ? c : 254.95f) : 0.0f;
    return 255.0f * pow(held / 255.0f, 1.0f / e);
}

// The same in a loop over samples of type T.
template <typename T>
inline float darken(float c, float e)
{
    return darkenWith(c, e, [](float x, float y) { return samplePow<T>(x, y); });
}

// How much colour survives darkening by e: (1 - |e - 1|)^0.4.
inline float colourKeptWhenDarkening(float e)
{
    return float(std::pow(1.0 - std::fabs(double(e) - 1.0), 0.4));
}

// Darkens every channel of a pixel by e, then pulls it toward its own
// luminance so that deep darkening also drains colour.
template <typename T>
void darkenPixel(T* p, int channels, float e, float kept)
{
    int const n = channels < 4 ? channels : 4;
    float darkened[4];
    for (int c = 0; c < n; ++c)
        darkened[c] = darkenWith(float(p[c]), e, [](float x, float y) { return std::pow(x, y); });
    float const grey = float(pixelLuminance(darkened, n));
    for (int c = 0; c < n; ++c)
        p[c] = FlexImage<T>::storeSample(pulledTowardGrey(darkened[c], grey, kept));
}

// darkenPixel along a row of pixels of at most four channels, in plain
// loops: every sample darkened into darkened (through levels, a LevelTable
// of the darkening, when the row holds whole levels), then every sample
// pulled toward its pixel's luminance. darkened and sampleGreys hold
// width x channels values, greys width.
template <typename T, typename Levels>
void darkenRow(T* row, int width, int channels, float e, float kept, Levels& levels, float* darkened, float* greys,
               float* sampleGreys)
{
    size_t const samples = size_t(width) * size_t(channels);
    float const* samplesAsFloat = darkened;
    if constexpr (std::is_same_v<T, float>)
        samplesAsFloat = row;
    else
        widestLoop(samples, [row, darkened](size_t i) { darkened[i] = float(row[i]); });
    if (!levels.mapIfWholeLevels(samplesAsFloat, darkened, samples))
        widestLoop(samples, [samplesAsFloat, darkened, e](size_t i) { darkened[i] = darken<T>(samplesAsFloat[i], e); });
    pullTowardLuma(row, darkened, width, channels, kept, greys, sampleGreys);
}

} // namespace exposureRules
