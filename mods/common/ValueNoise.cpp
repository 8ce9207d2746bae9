#include "mods/common/ValueNoise.h"

#include <cmath>

namespace valueNoise {

namespace {

struct CosineTable
{
    float values[cosineTableSize];

    CosineTable()
    {
        for (int i = 0; i < cosineTableSize; ++i)
            values[i] = float(std::cos(i * 0.001 * M_PI));
    }
};

} // namespace

// Filled by the first caller; the check after that is one load.
float const* cosineTable()
{
    static CosineTable const table;
    return table.values;
}

double withinOnePeriod(double v)
{
    if (!std::isfinite(v))
        return 0.0; // no lattice cell: the field's value at the origin
    return v - latticePeriod * std::floor(v / latticePeriod);
}

float octave(double x, double y)
{
    float const* const table = cosineTable();
    LatticeStep const sx = latticeStep(table, x);
    LatticeStep const sy = latticeStep(table, y);
    return octaveAt(sx.cell, sx.weight, sy.cell, sy.weight);
}

float grainAt(double x, double y)
{
    return grainFrom(octave(x, y), octave(fineOctave * x, fineOctave * y));
}

} // namespace valueNoise
