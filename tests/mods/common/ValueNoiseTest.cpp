#include <gtest/gtest.h>

#include <vector>

#include "mods/common/ValueNoise.h"

// The row-at-a-time evaluation gives the field's own values, bit for bit:
// with coarse cells (several pixels a cell, where the lattice is hashed
// once per cell), with fine ones (a cell or more a pixel), and across the
// lattice's wrap at 2^32 cells. Rows are visited down the picture, then
// back up it and with a jump, as tiles and mirrored positions ask for them.
TEST(ValueNoise, RowsGiveTheFieldsOwnValues)
{
    struct Grid
    {
        double x0, y0, step;
    };
    for (Grid g : {Grid{100.25, 100.0, 0.013}, Grid{7.5, 3.0, 1.7}, Grid{4294967290.0, 12.0, 0.4}}) {
        SCOPED_TRACE(g.step);
        int const width = 300;
        valueNoise::OctaveRows rows(width, [&](int col) { return g.x0 + col * g.step; });
        std::vector<float> along(width);
        bool alike = true;
        std::vector<int> visits;
        for (int row = 0; row < 40; ++row)
            visits.push_back(row);
        for (int row = 39; row >= 20; --row)
            visits.push_back(row);
        visits.push_back(500);
        visits.push_back(501);
        for (int row : visits) {
            double const y = g.y0 + row * g.step;
            rows.along(y, along.data());
            for (int col = 0; col < width; ++col)
                alike = alike && along[size_t(col)] == valueNoise::octave(g.x0 + col * g.step, y);
        }
        EXPECT_TRUE(alike);
    }
}
