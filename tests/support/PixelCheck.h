#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "imaging/FlexImage.h"
#include "mods/ImageMod.h"

using Pixel = std::vector<float>;

// Runs the filter over one pixel in both sample types and returns the float
// result; the 8-bit result must agree with it within truncation.
inline Pixel applyToPixel(ImageMod& mod, Pixel const& in)
{
    int const channels = int(in.size());
    FlexImage<float> floats(1, 1, channels);
    FlexImage<unsigned char> bytes(1, 1, channels);
    for (int c = 0; c < channels; ++c) {
        floats.pixels[c] = in[c];
        bytes.pixels[c] = static_cast<unsigned char>(in[c]);
    }
    mod.applyMod(&floats, nullptr);
    mod.applyMod(&bytes, nullptr);
    Pixel out(floats.pixels, floats.pixels + channels);
    bool integral = true;
    for (float v : in)
        integral = integral && v == std::floor(v);
    for (int c = 0; integral && c < channels; ++c)
        EXPECT_NEAR(bytes.pixels[c], std::floor(out[c]), 1.0) << mod.name.c_str() << " channel " << c;
    return out;
}

// The float result alone, for inputs no 8-bit pixel can hold (samples
// beyond 0..255, a fourth channel that is not opaque).
inline Pixel applyToFloatPixel(ImageMod& mod, Pixel const& in, ImageModChunkInfo* info = nullptr)
{
    int const channels = int(in.size());
    FlexImage<float> floats(1, 1, channels);
    for (int c = 0; c < channels; ++c)
        floats.pixels[c] = in[c];
    mod.applyMod(&floats, info);
    return Pixel(floats.pixels, floats.pixels + channels);
}

inline void expectPixel(Pixel const& got, float r, float g, float b, float tolerance = 2e-3f)
{
    EXPECT_NEAR(got[0], r, tolerance);
    EXPECT_NEAR(got[1], g, tolerance);
    EXPECT_NEAR(got[2], b, tolerance);
}

inline void setCurve(ImageMod& mod, int index, char const* points)
{
    mod.vars[index]->curveData()->curve.setControlPoints(GrowString(points));
}

inline void setColour(ImageMod& mod, int index, OVRGBColor colour)
{
    mod.vars[index]->colorData()->color = colour;
}

inline void setChoice(ImageMod& mod, int index, int selected)
{
    mod.vars[index]->choiceData()->selected = selected;
}
