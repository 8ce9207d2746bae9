#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <vector>

#include "imaging/ToneCurve.h"

namespace {

void expectPoints(ToneCurve const& curve, std::initializer_list<float> xy)
{
    GrowArray<Point2D> const& points = curve.getControlPoints();
    ASSERT_EQ(size_t(points.count) * 2, xy.size());
    auto it = xy.begin();
    for (int i = 0; i < points.count; ++i) {
        EXPECT_FLOAT_EQ(points[i].x, *it++) << "point " << i;
        EXPECT_FLOAT_EQ(points[i].y, *it++) << "point " << i;
    }
}

} // namespace

TEST(ToneCurve, CollinearPointsStayOnTheLine)
{
    for (int interior : {0, 3}) {
        ToneCurve const curve(interior);
        for (int i = 0; i < ToneCurve::tableSize; ++i)
            EXPECT_NEAR(curve.entry(i), float(i) / 2549.0f, 2e-6f) << "entry " << i;
    }
}

TEST(ToneCurve, ParsingNormalisesTheEnds)
{
    ToneCurve curve;
    curve.setControlPoints(GrowString(""));
    expectPoints(curve, {0, 0, 1, 1});

    curve.setControlPoints(GrowString("0.5 0.7"));
    expectPoints(curve, {0, 0.7f, 1, 1});

    curve.setControlPoints(GrowString("0 0.2 0.4"));
    expectPoints(curve, {0, 0.2f, 1, 1});

    curve.setControlPoints(GrowString("0.3 0.1 0.8 0.9"));
    expectPoints(curve, {0, 0.1f, 1, 0.9f});

    curve.setControlPoints(GrowString("0 0 abc .5 1 1"));
    expectPoints(curve, {0, 0, 0, 0.5f, 1, 1});

    curve.setControlPoints(GrowString("0.000000 0.000000 0.130435 0.069565 0.193478 0.406522 1.000000 1.000000"));
    EXPECT_EQ(curve.getControlPoints().count, 4);
}

TEST(ToneCurve, EndPointsAreExactAndLookupInterpolates)
{
    ToneCurve curve;
    curve.setControlPoints(GrowString("0 .25 1 .75"));
    EXPECT_EQ(curve.lookup(0.0f), 0.25f);
    EXPECT_EQ(curve.lookup(1.0f), curve.entry(2549));
    EXPECT_EQ(curve.lookup(1.5f), curve.entry(2549));
    EXPECT_NEAR(curve.entry(2549), 0.75f, 1e-6f);
    // A straight segment from .25 to .75: the middle reads .5.
    EXPECT_NEAR(curve.lookup(0.5f), 0.5f, 1e-5f);
    EXPECT_NEAR(curve.lookupChannel(127.5f), 0.5f, 1e-5f);
    EXPECT_EQ(curve.lookupChannel(255.0f), curve.entry(2549));
    // Half-way between two entries reads their mean.
    float const mid = curve.lookupAtIndex(100.5f);
    EXPECT_NEAR(mid, 0.5f * (curve.entry(100) + curve.entry(101)), 1e-7f);
    // Just below 1 reads the last stretch of the table, not past its end.
    EXPECT_NEAR(curve.lookup(0.9999999f), 0.75f, 1e-5f);
}

// A run of channel samples through the curve gives lookupChannel's results
// bit for bit, and a run of values lookup's: at the ends (0, 255 or 1, just
// either side), beyond them, for infinities and what is not a number, and
// between entries.
TEST(ToneCurve, ChannelRunsGiveTheLookupsResults)
{
    ToneCurve curve;
    curve.setControlPoints(GrowString("0 .1 .3 .6 .7 .2 1 .9"));
    float const inf = std::numeric_limits<float>::infinity();
    std::vector<float> samples = {0.0f, -0.0f, 1e-30f, -1e-30f, -5.0f, -inf, inf, std::nanf(""),
                                  254.99f, 254.99998f, 255.0f, 255.00002f, 300.0f, 1e30f, 127.5f, 0.05f};
    for (int i = 0; i < 300; ++i)
        samples.push_back(float(i) * 0.8537f);
    std::vector<float> run = samples;
    curve.lookupChannels(run.data(), int(run.size()), 255.0f);
    for (size_t i = 0; i < samples.size(); ++i) {
        float const expected = curve.lookupChannel(samples[i]) * 255.0f;
        EXPECT_EQ(std::memcmp(&run[i], &expected, sizeof expected), 0)
            << "sample " << samples[i] << ": " << run[i] << " against " << expected;
    }
    EXPECT_EQ(run[0], curve.entry(0) * 255.0f);
    EXPECT_EQ(run[7], curve.entry(0) * 255.0f) << "what is not a number reads the first entry";
    EXPECT_EQ(run[6], curve.entry(ToneCurve::lastEntry) * 255.0f);
    EXPECT_EQ(run[9], curve.entry(ToneCurve::lastEntry) * 255.0f) << "just below 255 reads the last entry";

    // The same for values on 0..1 and lookup.
    std::vector<float> values = {0.0f, -0.0f, 1e-30f, -5.0f, -inf, inf, std::nanf(""), 0.99999994f, 1.0f, 1.5f};
    for (int i = 0; i < 300; ++i)
        values.push_back(float(i) * 0.003347f);
    std::vector<float> looked = values;
    curve.lookupValues(looked.data(), int(looked.size()));
    for (size_t i = 0; i < values.size(); ++i) {
        float const expected = curve.lookup(values[i]);
        EXPECT_EQ(std::memcmp(&looked[i], &expected, sizeof expected), 0)
            << "value " << values[i] << ": " << looked[i] << " against " << expected;
    }
}

TEST(ToneCurve, MonotonicPointsGiveAMonotonicTable)
{
    ToneCurve curve;
    curve.setControlPoints(GrowString("0 0 0.2 0.05 0.45 0.6 0.7 0.8 1 1"));
    for (int i = 1; i < ToneCurve::tableSize; ++i)
        EXPECT_GE(curve.entry(i), curve.entry(i - 1)) << "entry " << i;
    // The smoothed curve passes near, not through, an interior point.
    EXPECT_NEAR(curve.lookup(0.45f), 0.6f, 0.08f);
}

TEST(ToneCurve, NothingClampsValuesAboveOne)
{
    ToneCurve curve;
    curve.setControlPoints(GrowString("0 0 .5 1.5 1 1"));
    EXPECT_GT(curve.lookup(0.5f), 1.0f);
}

TEST(ToneCurve, CopiesCarryPointsTableAndHueOffset)
{
    ToneCurve curve;
    curve.setControlPoints(GrowString("0 .5 .5 .8 1 .5"));
    curve.hueOffset = 90.0f;
    ToneCurve copy(3);
    copy = curve;
    EXPECT_EQ(copy.hueOffset, 90.0f);
    EXPECT_EQ(copy.getControlPoints().count, 3);
    EXPECT_EQ(copy.lookup(0.3f), curve.lookup(0.3f));
    EXPECT_EQ(ToneCurve().hueOffset, 180.0f);
    EXPECT_TRUE(ToneCurve().isIdentity());
    EXPECT_FALSE(curve.isIdentity());
}
