#include "mods/common/ValueNoise.h"

#include <cmath>
#include <mutex>

namespace valueNoise {

namespace {

constexpr int cosineTableSize = 1000;
float cosineTable[cosineTableSize];
std::once_flag cosineTableFilled;

void fillCosineTable()
{
    for (int i = 0; i < cosineTableSize; ++i)
        cosineTable[i] = float(std::cos(i * 0.001 * M_PI));
}

} // namespace

float cosineWeight(float t)
{
    std::call_once(cosineTableFilled, fillCosineTable);
    // NaN fails both tests and lands on index 0.
    int const index = t > 1.0f ? cosineTableSize - 1 : (t > 0.0f ? int(t * 999.9f) : 0);
    return (1.0f - cosineTable[index]) * 0.5f;
}

float latticeValue(int32_t i, int32_t j)
{
    // Wrapping 32-bit arithmetic, done unsigned to keep it defined.
    uint32_t h = uint32_t(i) + uint32_t(j) * 2939u;
    h = (h << 13) ^ h;
    uint32_t const mixed = (h * (h * h * 60493u + 19990303u) + 1376312589u) & 0x7fffffffu;
    return 1.0f - float(double(mixed) * 9.313225746154785e-10);
}

// The lattice repeats every 2^32 cells (its hash wraps at 32 bits), so a
// coordinate can be folded into one period first: any finite coordinate,
// however large, then has a lattice cell that fits the integer types.
double withinOnePeriod(double v)
{
    constexpr double period = 4294967296.0;
    if (!std::isfinite(v))
        return 0.0; // no lattice cell: the field's value at the origin
    return v - period * std::floor(v / period);
}

float octave(double x, double y)
{
    x = withinOnePeriod(x);
    y = withinOnePeriod(y);
    double const fx = std::floor(x);
    double const fy = std::floor(y);
    int32_t const ix = int32_t(int64_t(fx));
    int32_t const iy = int32_t(int64_t(fy));
    float const wx = cosineWeight(float(x - fx));
    float const wy = cosineWeight(float(y - fy));
    float const top = latticeValue(ix, iy) * (1.0f - wx) + latticeValue(ix + 1, iy) * wx;
    float const bottom = latticeValue(ix, iy + 1) * (1.0f - wx) + latticeValue(ix + 1, iy + 1) * wx;
    return top * (1.0f - wy) + bottom * wy;
}

float grainAt(double x, double y)
{
    float const n = octave(x, y) + 0.6f * octave(1.33 * x, 1.33 * y);
    return n < -1.0f ? -1.0f : (n > 1.0f ? 1.0f : n);
}

} // namespace valueNoise
