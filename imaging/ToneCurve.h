#pragma once

#include <cstdint>
#include <memory>

#include "core/GrowArray.h"
#include "core/GrowString.h"
#include "imaging/FastPow.h"

struct Point2D
{
    float x = 0.0f;
    float y = 0.0f;

    bool operator==(Point2D const& o) const { return !(x < o.x) && !(x > o.x) && !(y < o.y) && !(y > o.y); }
};

// A curve through control points, smoothed once per change into a table of
// 2550 samples over [0, 1] and read per pixel by linear interpolation. The
// smoothing is 11 passes of cubic B-spline subdivision with pinned ends, so
// the curve passes through its end points and near the interior ones.
class ToneCurve
{
public:
    static constexpr int tableSize = 2550;
    static constexpr int lastEntry = tableSize - 1;

    // Identity through n evenly spaced interior points.
    explicit ToneCurve(int interiorPoints = 0);

    // Parses a flat list of x y pairs such as "0 .25 1 .75".
    void setControlPoints(GrowString text);
    void setControlPoints(GrowArray<Point2D> const& points);
    // Stores two or more points exactly as given, ends included (a preset's
    // "0.2 0 0.8 1" stays so): the table is flat before the first x and after
    // the last. Fewer than two points change nothing.
    void setControlPointsAsGiven(GrowArray<Point2D> const& points);
    void setControlPoint(int index, Point2D point);
    GrowArray<Point2D> const& getControlPoints() const { return controlPoints; }
    // True when the points are exactly the given list (for no-op tests).
    bool hasControlPoints(float const* xy, int pointCount) const;
    bool isIdentity() const;
    // Whether every control point is a finite number.
    bool isFinite() const;

    void updateSmoothVals();

    // Value at v in [0, 1]; v >= 1 gives the last entry.
    float lookup(float v) const { return v >= 1.0f ? entry(lastEntry) : lookupAtIndex(v * float(lastEntry)); }
    // Value for a channel sample on the 0..255 scale.
    float lookupChannel(float c) const
    {
        return c * (1.0f / 255.0f) >= 1.0f ? entry(lastEntry) : lookupAtIndex(c * 9.996079f);
    }
    // lookupChannel(v) x scale for count channel samples in place, and
    // lookup(v) for count values in place: the same results, in one loop
    // without branches, which vectorises.
    void lookupChannels(float* values, int count, float scale) const;
    void lookupValues(float* values, int count) const;
    // Value at a fractional table position, the one interpolation rule.
    float lookupAtIndex(float f) const
    {
        if (!(f > 0.0f))
            return entry(0);
        if (f >= float(lastEntry))
            return entry(lastEntry);
        int const i = int(f);
        uint64_t const both = neighbours[i];
        return (float(i + 1) - f) * lowerOf(both) + (f - float(i)) * upperOf(both);
    }

    // Entry i of the table.
    float entry(int i) const { return lowerOf(neighbours[i]); }
    float hueOffset = 180.0f;

private:
    GrowArray<Point2D> controlPoints;
    // The table of tableSize entries: entry i's bits, and entry i + 1's
    // above them (the last entry's twice), so that a lookup reads both
    // neighbours of a position in one load, which matters most where many
    // samples are looked up in one vectorised loop. Never changed once made,
    // so copies of the curve (every copy of its filter) share it.
    std::shared_ptr<uint64_t const[]> neighbours;

    static float lowerOf(uint64_t both) { return fastPow::fromBits(uint32_t(both)); }
    static float upperOf(uint64_t both) { return fastPow::fromBits(uint32_t(both >> 32)); }

    void normaliseEnds();
    void pairNeighbours(GrowArray<float> const& table);
};
