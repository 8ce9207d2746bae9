#pragma once

#include <algorithm>
#include <type_traits>

#include "imaging/FlexImage.h"
#include "imaging/WidestVectors.h"

// Moving rows between an image and the renderer's working tiles, which hold
// red, green and blue as floats. Three-channel rows are one run of samples,
// a loop the compiler vectorises (built for the widest vectors: every tile
// passes through both ways).

// A row of pixels as red, green and blue floats.
template <typename T>
WIDEST_VECTORS void widenRow(T const* from, int channels, float* to, int width)
{
    if (channels == 3) {
        for (int i = 0; i < 3 * width; ++i)
            to[i] = float(from[i]);
        return;
    }
    int const colour = std::min(channels, 3);
    for (int x = 0; x < width; ++x)
        for (int c = 0; c < colour; ++c)
            to[x * 3 + c] = float(from[x * channels + c]);
}

template <typename T>
inline T storedSample(float v)
{
    if constexpr (std::is_same_v<T, unsigned char>)
        return byteFromSample(v);
    else
        return v;
}

// A row of red, green and blue floats into an image's row; any fourth
// channel (alpha) is taken from source, or left as it is when source is
// null.
template <typename T>
WIDEST_VECTORS void storeRow(float const* from, T const* source, int channels, T* to, int width)
{
    if (channels == 3) {
        for (int i = 0; i < 3 * width; ++i)
            to[i] = storedSample<T>(from[i]);
        return;
    }
    int const colour = std::min(channels, 3);
    for (int x = 0; x < width; ++x) {
        for (int c = 0; c < colour; ++c)
            to[x * channels + c] = storedSample<T>(from[x * 3 + c]);
        for (int c = colour; source && c < channels; ++c)
            to[x * channels + c] = source[x * channels + c];
    }
}
