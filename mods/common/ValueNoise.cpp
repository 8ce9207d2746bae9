#include "mods/common/ValueNoise.h"

#include <cmath>

namespace valueNoise {

namespace {

constexpr int cosineTableSize = 1000;

struct CosineTable
{
    float values[cosineTableSize];

    CosineTable()
    {
        for (int i = 0; i < cosineTableSize; ++i)
            values[i] = float(std::cos(i * 0.001 * M_PI));
    }
};

// Filled by the first caller; the check after that is one load.
float const* cosineTable()
{
    static CosineTable const table;
    return table.values;
}

constexpr double latticePeriod = 4294967296.0;

} // namespace

float cosineWeight(float t)
{
    // NaN fails both tests and lands on index 0.
    int const index = t > 1.0f ? cosineTableSize - 1 : (t > 0.0f ? int(t * 999.9f) : 0);
    return (1.0f - cosineTable()[index]) * 0.5f;
}

// The lattice repeats every 2^32 cells (its hash wraps at 32 bits), so a
// coordinate can be folded into one period first: any finite coordinate,
// however large, then has a lattice cell that fits the integer types.
double withinOnePeriod(double v)
{
    if (!std::isfinite(v))
        return 0.0; // no lattice cell: the field's value at the origin
    return v - latticePeriod * std::floor(v / latticePeriod);
}

LatticeStep latticeStep(double v)
{
    // Most coordinates already lie in the first period, which folds them
    // onto themselves; a grain tile asks for thousands.
    if (!(v >= 0.0 && v < latticePeriod))
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
