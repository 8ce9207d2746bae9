#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

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
    // Down each lattice column first, then across: a row of pixels in one
    // lattice row then blends each column once (see OctaveRows).
    float const left = latticeValue(ix, iy) * (1.0f - wy) + latticeValue(ix, iy + 1) * wy;
    float const right = latticeValue(ix + 1, iy) * (1.0f - wy) + latticeValue(ix + 1, iy + 1) * wy;
    return left * (1.0f - wx) + right * wx;
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
        for (int col = 0; col < width; ++col) {
            LatticeStep const step = latticeStep(xAt(col));
            cells[size_t(col)] = step.cell;
            weights[size_t(col)] = step.weight;
        }
        keepLatticeRowsIfFew();
    }

    // The octave along the row at noise-space coordinate y, a value a column.
    void along(double y, float* out)
    {
        LatticeStep const row = latticeStep(y);
        int const width = int(cells.size());
        if (top.empty()) {
            for (int col = 0; col < width; ++col)
                out[col] = octaveAt(cells[size_t(col)], weights[size_t(col)], row.cell, row.weight);
            return;
        }
        if (!filled || row.cell != latticeRow)
            hashLatticeRows(row.cell);
        // The same arithmetic as octaveAt, reading the hashes: the two
        // lattice rows blended once per cell, then along the row.
        for (size_t k = 0; k < top.size(); ++k)
            blended[k] = top[k] * (1.0f - row.weight) + bottom[k] * row.weight;
        for (int col = 0; col < width; ++col) {
            size_t const k = size_t(cells[size_t(col)] - first);
            float const wx = weights[size_t(col)];
            out[col] = blended[k] * (1.0f - wx) + blended[k + 1] * wx;
        }
    }

private:
    std::vector<int32_t> cells;
    std::vector<float> weights;
    // Where the columns fall in few lattice cells (coarse noise over a wide
    // row), the values of the row's two lattice rows, hashed once per cell
    // instead of four times a pixel, and kept while the next row stays in
    // the same lattice row; empty where they do not.
    int32_t first = 0;
    int32_t latticeRow = 0;
    bool filled = false;
    std::vector<float> top;
    std::vector<float> bottom;
    std::vector<float> blended;

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
        top.resize(size_t(span));
        bottom.resize(size_t(span));
        blended.resize(size_t(span));
    }

    void hashLatticeRows(int32_t cell)
    {
        for (size_t k = 0; k < top.size(); ++k) {
            int32_t const column = int32_t(uint32_t(first) + uint32_t(k));
            top[k] = latticeValue(column, cell);
            bottom[k] = latticeValue(column, cell + 1);
        }
        latticeRow = cell;
        filled = true;
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
