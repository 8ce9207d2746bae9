#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "imaging/FastPow.h"

// The polynomials are good to a few parts in 10^7; beyond that the float
// product y log2 x carries a rounding of a few ulps of its own size, which
// 2^ turns into a relative error of about the same.
TEST(FastPow, AgreesWithTheLibraryWithinFloatRounding)
{
    double worstExcess = 0.0;
    for (float x = 1.0f / 4096.0f; x <= 1.5f; x *= 1.013f)
        for (float y : {0.05f, 0.25f, 0.4f, 0.5f, 0.6f, 1.0f, 1.4f, 1.68f, 2.0f, 2.6f, 3.3f, 10.0f, 20.0f}) {
            double const exact = std::pow(double(x), double(y));
            if (exact < 1e-30)
                continue;
            double const relative = std::fabs(double(fastPow::power(x, y)) - exact) / exact;
            double const allowed = 1e-6 + std::ldexp(std::fabs(y * std::log2(double(x))), -22);
            worstExcess = std::max(worstExcess, relative / allowed);
        }
    EXPECT_LT(worstExcess, 1.0);
}

// The logarithm parts x into a power of two and a mantissa near 1; the
// part changes where the mantissa passes sqrt 2. Powers of two have exact
// logarithms, and samples either side of each switch, over many octaves,
// stay as close to the library as anywhere else.
TEST(FastPow, ExactAtPowersOfTwoAndCloseAcrossTheMantissaSwitch)
{
    EXPECT_EQ(fastPow::power(0.25f, 1.5f), 0.125f);
    EXPECT_EQ(fastPow::power(4.0f, 0.5f), 2.0f);
    EXPECT_EQ(fastPow::power(0.5f, 3.0f), 0.125f);
    EXPECT_EQ(fastPow::power(1.0f, 2.6f), 1.0f);
    for (int octave = -40; octave <= 40; ++octave)
        for (float mantissa : {1.41421354f, 0.70710677f})
            for (int step = -2; step <= 2; ++step) {
                float x = std::ldexp(mantissa, octave);
                for (int s = 0; s < std::abs(step); ++s)
                    x = std::nextafter(x, step < 0 ? 0.0f : 1e30f);
                for (float y : {1.0f, 2.5f, 0.4f}) {
                    double const exact = std::pow(double(x), double(y));
                    double const allowed = 1e-6 + std::ldexp(std::fabs(y * std::log2(double(x))), -22);
                    EXPECT_LT(std::fabs(double(fastPow::power(x, y)) - exact) / exact, allowed)
                        << "x = " << x << ", y = " << y;
                }
            }
}

TEST(FastPow, EdgesFollowTheLibrary)
{
    float const inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(fastPow::power(0.0f, 2.5f), 0.0f);
    EXPECT_EQ(fastPow::power(0.0f, 0.0f), 1.0f);
    EXPECT_EQ(fastPow::power(1.0f, inf), 1.0f);
    EXPECT_EQ(fastPow::power(0.7f, 0.0f), 1.0f);
    EXPECT_EQ(fastPow::power(0.5f, inf), 0.0f);
    EXPECT_NEAR(fastPow::power(0.5f, 1e9f), 0.0f, 1e-37f);
    // 8-bit samples keep the library's pow, so their tables do not change.
    EXPECT_EQ(samplePow<unsigned char>(0.3f, 1.7f), std::pow(0.3f, 1.7f));
}

// 2^y is exact at whole y, close at the halves (where the whole part is
// rounded either way) and everywhere between, 0 below the normal floats,
// held at 2^127 above, and 1 for what is not a number.
TEST(FastPow, PowersOfTwoAcrossTheWholeRange)
{
    for (int n = -125; n <= 127; ++n)
        EXPECT_EQ(fastPow::exp2Bounded(float(n)), std::ldexp(1.0f, n)) << "y = " << n;
    double worst = 0.0;
    for (float y = -125.75f; y < 127.0f; y += 0.0625f) {
        double const exact = std::exp2(double(y));
        worst = std::max(worst, std::fabs(double(fastPow::exp2Bounded(y)) - exact) / exact);
    }
    EXPECT_LT(worst, 3e-7);
    float const inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(fastPow::exp2Bounded(-126.0f), 0.0f);
    EXPECT_EQ(fastPow::exp2Bounded(-1000.0f), 0.0f);
    EXPECT_EQ(fastPow::exp2Bounded(-inf), 0.0f);
    EXPECT_EQ(fastPow::exp2Bounded(200.0f), std::ldexp(1.0f, 127));
    EXPECT_EQ(fastPow::exp2Bounded(inf), std::ldexp(1.0f, 127));
    EXPECT_EQ(fastPow::exp2Bounded(std::numeric_limits<float>::quiet_NaN()), 1.0f);
}
