#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "imaging/WidestVectors.h"

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

// The shared table of cos(pi i / cosineTableSize), which the first caller
// fills.
constexpr int cosineTableSize = 1000;
float const* cosineTable();

// (1 - cos(pi t)) / 2 through the cosine table. Inline, with the table
// looked up once by the caller: a grain tile asks for thousands.
inline float cosineWeight(float const* table, float t)
{
    // NaN fails both tests and lands on index 0.
    int const index = t > 1.0f ? cosineTableSize - 1 : (t > 0.0f ? int(t * 999.9f) : 0);
    return (1.0f - table[index]) * 0.5f;
}

// The lattice repeats every 2^32 cells (its hash wraps at 32 bits), so a
// coordinate can be folded into one period first: any finite coordinate,
// however large, then has a lattice cell that fits the integer types.
constexpr double latticePeriod = 4294967296.0;
double withinOnePeriod(double v);

// A noise-space coordinate as its lattice cell and the cosine weight of its
// place within the cell.
struct LatticeStep
{
    int32_t cell;
    float weight;
};

inline LatticeStep latticeStep(float const* table, double v)
{
    // Most coordinates already lie in the first period, which folds them
    // onto themselves.
    if (!(v >= 0.0 && v < latticePeriod))
        v = withinOnePeriod(v);
    double const floor = std::floor(v);
    return LatticeStep{int32_t(int64_t(floor)), cosineWeight(table, float(v - floor))};
}

// One octave from the steps of the two coordinates: bilinear between the
// four lattice values around the point with cosine weights. Separate
// numbers, so that loops over rows of steps vectorise.
inline float octaveAt(int32_t ix, float wx, int32_t iy, float wy)
{
    // Along each lattice row first, then between the two: a row of pixels
    // in one lattice row then reads the lattice once (see OctaveRows).
    float const upper = latticeValue(ix, iy) * (1.0f - wx) + latticeValue(ix + 1, iy) * wx;
    float const lower = latticeValue(ix, iy + 1) * (1.0f - wx) + latticeValue(ix + 1, iy + 1) * wx;
    return upper * (1.0f - wy) + lower * wy;
}

// One octave at a noise-space position.
float octave(double x, double y);

// One octave over a grid of columns and rows, a row at a time. Its value at
// a pixel depends on the column and on the row separately until the lattice
// is read, so the columns' lattice steps are worked out once and each row's
// once; what is left per pixel is reading the lattice in plain loops over
// the row. The values are those of octave() at the same coordinates.
class OctaveRows
{
public:
    // width columns, column col at noise-space coordinate xAt(col).
    template <typename XAt>
    OctaveRows(int width, XAt xAt) : cells(size_t(std::max(width, 0))), weights(cells.size())
    {
        // Built for the widest vectors, where a floor is one instruction
        // (on plain x86-64 it is a library call).
        float const* const table = cosineTable();
        int32_t* const cellOf = cells.data();
        float* const weightOf = weights.data();
        widestLoop(width, [&xAt, table, cellOf, weightOf](int col) {
            LatticeStep const step = latticeStep(table, xAt(col));
            cellOf[col] = step.cell;
            weightOf[col] = step.weight;
        });
        keepLatticeRowsIfFew();
    }

    // The octave along the row at noise-space coordinate y, a value a column.
    void along(double y, float* out)
    {
        LatticeStep const row = latticeStep(cosineTable(), y);
        int const width = int(cells.size());
        if (hashes.empty()) {
            for (int col = 0; col < width; ++col)
                out[col] = octaveAt(cells[size_t(col)], weights[size_t(col)], row.cell, row.weight);
            return;
        }
        moveToLatticeRow(row.cell);
        // The same arithmetic as octaveAt: between the two lattice rows,
        // already blended along themselves.
        float const* top = upper.data();
        float const* bottom = lower.data();
        float const wy = row.weight;
        widestLoop(width, [=](int col) { out[col] = top[col] * (1.0f - wy) + bottom[col] * wy; });
    }

private:
    std::vector<int32_t> cells;
    std::vector<float> weights;
    // Where the columns fall in few lattice cells (coarse noise over a wide
    // row), each lattice row the pixels meet is hashed once per cell and
    // blended along the columns once, instead of four hashes a pixel on
    // every row: upper and lower hold the two lattice rows around the
    // current row, kept while the rows stay between them. Empty where the
    // columns spread over many cells.
    int32_t first = 0;
    int32_t latticeRow = 0;
    bool filled = false;
    std::vector<float> hashes;
    std::vector<float> upper;
    std::vector<float> lower;

    void keepLatticeRowsIfFew()
    {
        if (cells.empty())
            return;
        auto const [low, high] = std::minmax_element(cells.begin(), cells.end());
        // Hashing a cell per pixel costs no more than hashing every cell of
        // a span wider than the row; such spans (fine noise, narrow rows) or
        // spans across the lattice's wrap take the direct way.
        int64_t const span = int64_t(*high) - int64_t(*low) + 2;
        if (span > int64_t(cells.size()))
            return;
        first = *low;
        hashes.resize(size_t(span));
        upper.resize(cells.size());
        lower.resize(cells.size());
    }

    void moveToLatticeRow(int32_t cell)
    {
        if (filled && cell == latticeRow)
            return;
        // Walking down the picture, the lower lattice row becomes the upper.
        if (filled && cell == int32_t(uint32_t(latticeRow) + 1u))
            upper.swap(lower);
        else
            blendLatticeRow(cell, upper.data());
        blendLatticeRow(int32_t(uint32_t(cell) + 1u), lower.data());
        latticeRow = cell;
        filled = true;
    }

    // Lattice row `cell` along the columns, into out.
    void blendLatticeRow(int32_t cell, float* out)
    {
        for (size_t k = 0; k < hashes.size(); ++k)
            hashes[k] = latticeValue(int32_t(uint32_t(first) + uint32_t(k)), cell);
        // The lattice reads are gathers: a loop of them vectorises only
        // where the widest vectors have them.
        float const* lattice = hashes.data();
        int32_t const* columnCell = cells.data();
        float const* weight = weights.data();
        int32_t const base = first;
        widestLoop(int(cells.size()), [=](int col) {
            int32_t const k = columnCell[col] - base;
            float const wx = weight[col];
            out[col] = lattice[k] * (1.0f - wx) + lattice[k + 1] * wx;
        });
    }
};

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
