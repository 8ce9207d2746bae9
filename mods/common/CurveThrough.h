#pragma once

#include "imaging/FastPow.h"
#include "imaging/ToneCurve.h"

// The curve through points (ends normalised, as ToneCurve::setControlPoints
// does). A filter whose curve follows from its settings is given a picture
// tile by tile, and making a curve costs more than running a tile's samples
// through it: each thread keeps the last curve it made, so that a render
// makes it once a thread. Points are compared bit for bit, so a point that is
// not a number never matches another. The curve stays as it is until this
// thread's next call.
inline ToneCurve const& curveThrough(GrowArray<Point2D> const& points)
{
    thread_local ToneCurve curve;
    thread_local GrowArray<Point2D> madeFrom;
    bool same = madeFrom.count == points.count && points.count > 0;
    for (int i = 0; same && i < points.count; ++i)
        same = fastPow::bitsOf(points[i].x) == fastPow::bitsOf(madeFrom[i].x) &&
               fastPow::bitsOf(points[i].y) == fastPow::bitsOf(madeFrom[i].y);
    if (!same) {
        curve.setControlPoints(points);
        madeFrom = points;
    }
    return curve;
}
