#pragma once

#include <cmath>

// The S-shaped ramp shared by the blur kernels, the circular blur's mask and
// the vignette: 0 up to s = 0, two parabolas meeting at (0.5, 0.5), 1 from
// s = 1 on.
inline float ease(float s)
{
    if (s <= 0.0f)
        return 0.0f;
    if (s < 0.5f)
        return 2.0f * s * s;
    if (s < 1.0f)
        return 1.0f - 2.0f * (1.0f - s) * (1.0f - s);
    return 1.0f;
}

// The ramp with its two halves raised to a power (the caller's): larger e
// makes the transition sharper. Both halves are worked out and one selected,
// so that a loop of it vectorises when the power does.
template <typename Pow>
inline float easePowWith(float t, float e, Pow pow)
{
    float const lowerBase = 2.0f * t;
    float const upperBase = 2.0f - 2.0f * t;
    float const base = t < 0.5f ? lowerBase : upperBase;
    float const curved = pow(base > 0.0f ? base : 0.0f, e);
    float const v = t <= 0.0f ? 0.0f : (t < 0.5f ? 0.5f * curved : (t < 1.0f ? 1.0f - 0.5f * curved : 1.0f));
    return v > 1.0f ? 1.0f : v;
}

inline float easePow(float t, float e)
{
    return easePowWith(t, e, [](float x, float y) { return std::pow(x, y); });
}

// The ramp of the vignette and the radial blur at distance d from the
// picture's centre (a fraction of the effect's reach): nothing at the centre
// itself.
template <typename Pow>
inline float radialRamp(float d, float e, Pow pow)
{
    float const v = easePowWith(d * 1.05f, e, pow);
    return d > 0.0f ? v : 0.0f;
}

// The exponent of the powered ramp for a 0..100 falloff or sharpness.
inline float rampExponent(float falloff)
{
    return 1.0f / std::pow(1.0f - falloff * 0.01f, 1.68f);
}
