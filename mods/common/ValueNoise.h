#pragma once

#include <cstdint>

// Smooth value noise over the plane, shared by the grain and the uneven
// discolouring: hashed lattice values blended with cosine weights, so the
// field is continuous everywhere and the same whatever tile asks for it.
namespace valueNoise {

// The hashed value in [-1, 1] at lattice point (i, j).
float latticeValue(int32_t i, int32_t j);
// (1 - cos(pi t)) / 2 through the shared 1000-entry cosine table, which the
// first caller fills.
float cosineWeight(float t);
// One octave at a noise-space position: bilinear between the four lattice
// values around it with cosine weights.
float octave(double x, double y);
// Two octaves, the second 1.33 times finer at 0.6 of the strength, clamped
// to [-1, 1]: film grain.
float grainAt(double x, double y);

} // namespace valueNoise
