#pragma once

#include <cstdint>

// Smooth value noise over the plane, shared by the grain and the uneven
// discolouring: hashed lattice values blended with cosine weights, so the
// field is continuous everywhere and the same whatever tile asks for it.
namespace valueNoise {

// The hashed value in [-1, 1] at lattice point (i, j).
inline float latticeValue(int32_t i, int32_t j)
{
    // Wrapping 32-bit arithmetic, done unsigned to keep it defined.
    uint32_t h = uint32_t(i) + uint32_t(j) * 2939u;
    h = (h << 13) ^ h;
    uint32_t const mixed = (h * (h * h * 60493u + 19990303u) + 1376312589u) & 0x7fffffffu;
    // mixed / 2^30, rounded once: mixed has 31 bits and the scale is a power
    // of two, so converting first and then scaling rounds the same way.
    return 1.0f - float(int32_t(mixed)) * 0x1p-30f;
}

// (1 - cos(pi t)) / 2 through the shared 1000-entry cosine table, which the
// first caller fills.
float cosineWeight(float t);

// A noise-space coordinate as its lattice cell and the cosine weight of its
// place within the cell.
struct LatticeStep
{
    int32_t cell;
    float weight;
};
LatticeStep latticeStep(double v);

// One octave from the steps of the two coordinates: bilinear between the
// four lattice values around the point with cosine weights. Separate
// numbers, so that loops over rows of steps vectorise.
inline float octaveAt(int32_t ix, float wx, int32_t iy, float wy)
{
    float const top = latticeValue(ix, iy) * (1.0f - wx) + latticeValue(ix + 1, iy) * wx;
    float const bottom = latticeValue(ix, iy + 1) * (1.0f - wx) + latticeValue(ix + 1, iy + 1) * wx;
    return top * (1.0f - wy) + bottom * wy;
}

// One octave at a noise-space position.
float octave(double x, double y);

// Two octaves combined as grain (see grainAt).
inline float grainFrom(float coarse, float fine)
{
    float const n = coarse + 0.6f * fine;
    return n < -1.0f ? -1.0f : (n > 1.0f ? 1.0f : n);
}
// The finer octave's scale.
inline constexpr double fineOctave = 1.33;
// Two octaves, the second 1.33 times finer at 0.6 of the strength, clamped
// to [-1, 1]: film grain.
float grainAt(double x, double y);

} // namespace valueNoise
