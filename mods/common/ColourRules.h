#pragma once

#include <cmath>
#include <type_traits>

#include "imaging/Luminance.h"
#include "imaging/OVRGBColor.h"

// The colour-overlay rules, each on one pixel's red, green and blue (0..255
// floats) with strength a. The single-purpose colour filters and the
// colour methods of the curve-weighted colour filters all use these.
namespace colourRules {

enum Method { Colorize, Tint, ColorFilter, Dye, ColorBalance, Screen, Multiply };

// Colour Filter: toward 0 for components under mid-grey, toward 255 above,
// each in proportion to the room the channel has.
inline float filterChannel(float c, float k, float a)
{
    float const d = float((double(k) - 127.5) * 0.00784313725490196 * double(a));
    float const moved = k <= 127.5f ? c + d * c : c + d * (255.0f - c);
    return moved < 0.0f ? 0.0f : (moved > 255.0f ? 255.0f : moved);
}

inline float tintChannel(float c, float k, float a)
{
    return c * (1.0f - a) + k * a;
}

// A colour's red, green and blue less its own grey (their mean).
inline void deviationsFromGrey(OVRGBColor const& colour, double* deviations)
{
    double const mean = (double(colour.red) + colour.green + colour.blue) * (1.0 / 3.0);
    deviations[0] = colour.red - mean;
    deviations[1] = colour.green - mean;
    deviations[2] = colour.blue - mean;
}

// Colorize: the colour's deviation from its own grey, times a.
inline void colorizeOffsets(OVRGBColor const& colour, float a, float* offsets)
{
    double deviations[3];
    deviationsFromGrey(colour, deviations);
    for (int c = 0; c < 3; ++c)
        offsets[c] = float(deviations[c] * a);
}

// Screen: toward the screen of the channel with the colour's component k,
// 255 - (255 - c)(255 - k) / 255, by a; unclamped.
inline float screenChannel(float c, float k, float a)
{
    return tintChannel(c, 255.0f - (255.0f - c) * (255.0f - k) / 255.0f, a);
}

// Dye: the dye's hue and saturation at the pixel's brightness. Version 2
// keeps the pixel's HSV value; older versions take the luminance and wash
// light pixels out toward white.
inline void dyePixel(float* rgb, HSV const& dye, float a, int version)
{
    float dyed[3];
    if (version == 2) {
        float const v = std::fmax(rgb[0], std::fmax(rgb[1], rgb[2])) / 255.0f * dye.v;
        OVRGBColor::fromHSV(dye.h, dye.s, v, &dyed[0], &dyed[1], &dyed[2]);
    } else {
        float const v = dye.v / 255.0f * float(luminance(rgb[0], rgb[1], rgb[2]));
        OVRGBColor::fromHSV(dye.h, dye.s * (1.0f - v), v, &dyed[0], &dyed[1], &dyed[2]);
    }
    for (int c = 0; c < 3; ++c)
        rgb[c] = dyed[c] * a + rgb[c] * (1.0f - a);
}

// The dyed colour's channels as OVRGBColor::fromHSVUnit makes them for the
// dye's hue: each channel is the value v itself, or (1 + k s) v (k = -1 for
// its p, -f for q, f - 1 for t), bit for bit. The hue alone decides which,
// so a row of pixels can be dyed in one plain loop over its samples.
struct DyeChannels
{
    float k[3] = {0.0f, 0.0f, 0.0f};
    bool isValue[3] = {false, false, false};

    explicit DyeChannels(float hue)
    {
        float const x = float(double(hue) * (1.0 / 360.0)) * 6.0f;
        float const sector = std::floor(x);
        float const f = x - sector;
        enum Role { V, P, Q, T };
        static constexpr Role roles[6][3] = {{V, T, P}, {Q, V, P}, {P, V, T}, {P, Q, V}, {T, P, V}, {V, P, Q}};
        int const s = int(sector);
        Role const* role = roles[s >= 0 && s <= 4 ? s : 5];
        float const kOf[4] = {0.0f, -1.0f, -f, f - 1.0f};
        for (int c = 0; c < 3; ++c) {
            k[c] = kOf[role[c]];
            isValue[c] = role[c] == V;
        }
    }
};

inline float clampChannel(float v)
{
    return v < 0.0f ? 0.0f : (v > 255.0f ? 255.0f : v);
}

// One of the colour methods on a pixel. Tint and Dye are blends and clamp
// nothing (with samples and colour in 0..255 they stay there); the others
// are clamped to 0..255. dye is the colour's
// HSV (hue in degrees, saturation and value 0..1). The method is a template
// argument so that a pixel loop is compiled once per method, with no branch
// on the method inside it (see withMethod).
template <int method>
inline void applyMethod(float* rgb, OVRGBColor const& k, HSV const& dye, float a, int dyeVersion = 2)
{
    float const components[3] = {k.red, k.green, k.blue};
    if constexpr (method == Colorize) {
        float offsets[3];
        colorizeOffsets(k, a, offsets);
        for (int c = 0; c < 3; ++c)
            rgb[c] += offsets[c];
    } else if constexpr (method == Tint) {
        for (int c = 0; c < 3; ++c)
            rgb[c] = tintChannel(rgb[c], components[c], a);
    } else if constexpr (method == ColorFilter) {
        for (int c = 0; c < 3; ++c)
            rgb[c] = filterChannel(rgb[c], components[c], a);
    } else if constexpr (method == Dye) {
        dyePixel(rgb, dye, a, dyeVersion);
    } else if constexpr (method == ColorBalance) {
        for (int c = 0; c < 3; ++c)
            rgb[c] += (components[c] - 127.5f) * a;
    } else if constexpr (method == Screen) {
        for (int c = 0; c < 3; ++c)
            rgb[c] = screenChannel(rgb[c], components[c], a);
    } else if constexpr (method == Multiply) {
        for (int c = 0; c < 3; ++c)
            rgb[c] = tintChannel(rgb[c], rgb[c] * components[c] / 255.0f, a);
    }
    if constexpr (method != Tint && method != Dye)
        for (int c = 0; c < 3; ++c)
            rgb[c] = clampChannel(rgb[c]);
}

// Calls visit with the method as a compile-time constant
// (std::integral_constant); unknown methods call nothing.
template <typename Visit>
inline void withMethod(int method, Visit visit)
{
    switch (method) {
    case Colorize: visit(std::integral_constant<int, Colorize>()); break;
    case Tint: visit(std::integral_constant<int, Tint>()); break;
    case ColorFilter: visit(std::integral_constant<int, ColorFilter>()); break;
    case Dye: visit(std::integral_constant<int, Dye>()); break;
    case ColorBalance: visit(std::integral_constant<int, ColorBalance>()); break;
    case Screen: visit(std::integral_constant<int, Screen>()); break;
    case Multiply: visit(std::integral_constant<int, Multiply>()); break;
    default: break;
    }
}

inline HSV dyeHSV(OVRGBColor const& k)
{
    return OVRGBColor::toHSV(k.red, k.green, k.blue);
}

} // namespace colourRules
