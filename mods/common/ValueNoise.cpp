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

LatticeStep latticeStep(double v)
{
    v = withinOnePeriod(v);
    double const floor = std::floor(v);
    return LatticeStep{int32_t(int64_t(floor)), cosineWeight(float(v - floor))};
}

float octave(double x, double y)
{
    LatticeStep const sx = latticeStep(x);
    LatticeStep const sy = latticeStep(y);
    return octaveAt(sx.cell, sx.weight, sy.cell, sy.weight);
}

float grainAt(double x, double y)
{
    return grainFrom(octave(x, y), octave(fineOctave * x, fineOctave * y));
}

} // namespace valueNoise
