#pragma once

// The one brightness rule of the engine, in double precision.
inline double luminance(double red, double green, double blue)
{
    return 0.299 * red + 0.587 * green + 0.114 * blue;
}

// Brightness of an interleaved pixel; single-channel pixels are their own.
template <typename T>
inline double pixelLuminance(T const* pixel, int channels)
{
    return channels >= 3 ? luminance(pixel[0], pixel[1], pixel[2]) : double(pixel[0]);
}
