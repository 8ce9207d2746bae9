// The curve kept from one call to the next on a thread: whatever the order
// of the points asked for, each answer is the curve made afresh through them.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "mods/common/CurveThrough.h"

namespace {

GrowArray<Point2D> twoPoints(float low, float high)
{
    GrowArray<Point2D> points;
    points.add(Point2D{0.0f, low});
    points.add(Point2D{1.0f, high});
    return points;
}

// A straight curve from low to high reads low + (high - low) v, to within
// the table's interpolation.
void expectStraight(ToneCurve const& curve, float low, float high)
{
    for (float v : {0.0f, 0.25f, 0.5f, 0.9f})
        EXPECT_NEAR(curve.lookup(v), low + (high - low) * v, 1e-5f) << "at " << v;
}

} // namespace

TEST(CurveThrough, EachAnswerIsTheCurveThroughThePointsAskedFor)
{
    expectStraight(curveThrough(twoPoints(0.0f, 0.5f)), 0.0f, 0.5f);
    expectStraight(curveThrough(twoPoints(0.0f, 0.5f)), 0.0f, 0.5f);
    expectStraight(curveThrough(twoPoints(0.2f, 1.0f)), 0.2f, 1.0f);
    expectStraight(curveThrough(twoPoints(0.0f, 0.5f)), 0.0f, 0.5f);

    // Three points: not mistaken for the two-point curve that starts alike.
    GrowArray<Point2D> bent = twoPoints(0.0f, 0.5f);
    bent.add(Point2D{1.0f, 0.5f});
    bent[1] = Point2D{0.5f, 0.9f};
    EXPECT_GT(curveThrough(bent).lookup(0.5f), 0.6f);
}

TEST(CurveThrough, APointThatIsNotANumberNeverMatchesTheKeptCurve)
{
    float const nan = std::numeric_limits<float>::quiet_NaN();
    expectStraight(curveThrough(twoPoints(0.0f, 0.5f)), 0.0f, 0.5f);
    ToneCurve fresh;
    fresh.setControlPoints(twoPoints(0.0f, nan));
    ToneCurve const& kept = curveThrough(twoPoints(0.0f, nan));
    for (float v : {0.0f, 0.5f, 0.99f}) {
        float const expected = fresh.lookup(v);
        float const got = kept.lookup(v);
        EXPECT_TRUE(got == expected || (std::isnan(got) && std::isnan(expected))) << "at " << v;
    }
    // And back: the kept curve is made again through finite points.
    expectStraight(curveThrough(twoPoints(0.0f, 0.5f)), 0.0f, 0.5f);
}
