#include "imaging/ToneCurve.h"

#include <cmath>
#include <cstdlib>
#include <map>
#include <mutex>
#include <vector>

#include "imaging/FastPow.h"
#include "imaging/WidestVectors.h"

namespace {

constexpr int smoothingPasses = 11;
constexpr float tableStep = 1.0f / 2549.0f;

Point2D midpoint(Point2D const& a, Point2D const& b)
{
    return Point2D{float((double(a.x) + double(b.x)) * 0.5), float((double(a.y) + double(b.y)) * 0.5)};
}

// One pass of uniform cubic B-spline subdivision of w into n (whose memory
// is kept); the end points stay put.
void subdivide(std::vector<Point2D> const& w, std::vector<Point2D>& n)
{
    n.clear();
    Point2D previousMid;
    for (size_t i = 0; i + 1 < w.size(); ++i) {
        n.push_back(w[i]);
        Point2D const mid = midpoint(w[i], w[i + 1]);
        if (i >= 1) {
            Point2D& moved = n.back();
            moved.x = 0.25f * (previousMid.x + mid.x) + 0.5f * w[i].x;
            moved.y = 0.25f * (previousMid.y + mid.y) + 0.5f * w[i].y;
        }
        n.push_back(mid);
        previousMid = mid;
    }
    n.push_back(w.back());
}

// The control points after every pass of subdivision. The passes' memory
// is kept from curve to curve on each thread: the last passes take some
// hundred kilobytes, which memory made anew for every curve would fault in
// page by page, and a run makes hundreds of curves.
std::vector<Point2D> const& smoothed(GrowArray<Point2D> const& controlPoints)
{
    thread_local std::vector<Point2D> passes[2];
    passes[0].assign(controlPoints.begin(), controlPoints.end());
    for (int pass = 0; pass < smoothingPasses; ++pass)
        subdivide(passes[pass % 2], passes[1 - pass % 2]);
    return passes[smoothingPasses % 2];
}

} // namespace

ToneCurve::ToneCurve(int interiorPoints)
{
    controlPoints.add(Point2D{0.0f, 0.0f});
    for (int k = 1; k <= interiorPoints; ++k) {
        float const t = float(k) / float(interiorPoints + 1);
        controlPoints.add(Point2D{t, t});
    }
    controlPoints.add(Point2D{1.0f, 1.0f});
    hueOffset = 180.0f;
    // Every curve variable of every filter copy starts as one of these few
    // straight lines: smooth each once per process rather than per copy.
    static std::mutex lock;
    static std::map<int, std::shared_ptr<uint64_t const[]>> smoothedLines;
    std::lock_guard<std::mutex> guard(lock);
    auto const known = smoothedLines.find(interiorPoints);
    if (known != smoothedLines.end()) {
        neighbours = known->second;
        return;
    }
    updateSmoothVals();
    smoothedLines.emplace(interiorPoints, neighbours);
}

void ToneCurve::setControlPoints(GrowString text)
{
    controlPoints.count = 0;
    bool haveX = false;
    float x = 0.0f;
    int32_t position = 0;
    for (;;) {
        GrowString const word = text.wordRespectingQuotesAt(&position);
        if (word.isEmpty())
            break;
        float const number = float(std::strtod(word.c_str(), nullptr));
        if (haveX)
            controlPoints.add(Point2D{x, number});
        else
            x = number;
        haveX = !haveX;
    }
    normaliseEnds();
    updateSmoothVals();
}

void ToneCurve::setControlPoints(GrowArray<Point2D> const& points)
{
    controlPoints = points;
    normaliseEnds();
    updateSmoothVals();
}

void ToneCurve::setControlPointsAsGiven(GrowArray<Point2D> const& points)
{
    if (points.count < 2)
        return;
    controlPoints = points;
    updateSmoothVals();
}

void ToneCurve::setControlPoint(int index, Point2D point)
{
    if (index < 0 || index >= controlPoints.count)
        return;
    controlPoints[index] = point;
    updateSmoothVals();
}

void ToneCurve::normaliseEnds()
{
    if (controlPoints.count == 0)
        controlPoints.add(Point2D{0.0f, 0.0f});
    if (controlPoints.count < 2)
        controlPoints.add(Point2D{1.0f, 1.0f});
    controlPoints[0].x = 0.0f;
    controlPoints.last().x = 1.0f;
}

bool ToneCurve::hasControlPoints(float const* xy, int pointCount) const
{
    if (controlPoints.count != pointCount)
        return false;
    for (int i = 0; i < pointCount; ++i)
        if (!(controlPoints[i] == Point2D{xy[2 * i], xy[2 * i + 1]}))
            return false;
    return true;
}

bool ToneCurve::isIdentity() const
{
    static float const identity[] = {0.0f, 0.0f, 1.0f, 1.0f};
    return hasControlPoints(identity, 2);
}

bool ToneCurve::isFinite() const
{
    for (Point2D const& p : controlPoints)
        if (!std::isfinite(p.x) || !std::isfinite(p.y))
            return false;
    return true;
}

void ToneCurve::updateSmoothVals()
{
    std::vector<Point2D> const& w = smoothed(controlPoints);
    int32_t const pointCount = int32_t(w.size());
    GrowArray<float> table;
    Point2D const first = w.front();
    Point2D const last = w.back();
    int32_t cursor = 0;
    for (int i = 0; i < tableSize; ++i) {
        float const x = float(i) * tableStep;
        float value;
        if (!(x > first.x)) {
            value = first.y;
        } else if (x >= last.x) {
            value = last.y;
        } else {
            // The cursor only moves forward: points out of x order are followed
            // as far as a forward scan allows, never sorted.
            int32_t j = cursor + 1;
            while (j < pointCount - 1 && w[size_t(j)].x < x)
                ++j;
            cursor = j - 1;
            Point2D const a = w[size_t(j - 1)];
            Point2D const b = w[size_t(j)];
            float const t = b.x == a.x ? 0.0f : (x - a.x) / (b.x - a.x);
            value = float(double(a.y) * (1.0 - double(t)) + double(t * b.y));
        }
        table.add(value);
    }
    pairNeighbours(table);
}

void ToneCurve::pairNeighbours(GrowArray<float> const& table)
{
    std::shared_ptr<uint64_t[]> pairs(new uint64_t[size_t(table.count)]);
    for (int i = 0; i < table.count; ++i) {
        float const next = table[i + 1 < table.count ? i + 1 : i];
        pairs[size_t(i)] = uint64_t(fastPow::bitsOf(table[i])) | uint64_t(fastPow::bitsOf(next)) << 32;
    }
    neighbours = std::move(pairs);
}

namespace {

// The lookup over count values of a curve's table (as neighbours, see
// ToneCurve), each at table position value x indexScale and read as the
// last entry from value x topScale >= 1 on, times scale. The ends (the last
// entry at and past the top, the first at and below 0 and for what is not a
// number) are picked by masks, and the interpolation is worked out at
// position 0 for them: with branches, or with || (which branches), the
// loop would not vectorise; nor would it if the table might overlap the
// values. A position's two entries come in one load, where reading entries
// j and j + 1 apart took two: loads by index are most of the loop's cost.
WIDEST_VECTORS void curveSamples(uint64_t const* __restrict neighbours, float* __restrict values, int count,
                                 float indexScale, float topScale, float scale, float first, float lastValue)
{
    float const last = float(ToneCurve::lastEntry);
    for (int i = 0; i < count; ++i) {
        float const c = values[i];
        float const f = c * indexScale;
        bool const top = (c * topScale >= 1.0f) | (f >= last);
        bool const bottom = !(f > 0.0f);
        float const at = fastPow::pick(top | bottom, 0.0f, f);
        int const j = int(at);
        uint64_t const both = neighbours[j];
        float const here = fastPow::fromBits(uint32_t(both));
        float const next = fastPow::fromBits(uint32_t(both >> 32));
        float const between = (float(j + 1) - at) * here + (at - float(j)) * next;
        values[i] = fastPow::pick(top, lastValue, fastPow::pick(bottom, first, between)) * scale;
    }
}

} // namespace

void ToneCurve::lookupChannels(float* values, int count, float scale) const
{
    curveSamples(neighbours.get(), values, count, 9.996079f, 1.0f / 255.0f, scale, entry(0), entry(lastEntry));
}

void ToneCurve::lookupValues(float* values, int count) const
{
    curveSamples(neighbours.get(), values, count, float(lastEntry), 1.0f, 1.0f, entry(0), entry(lastEntry));
}
