#pragma once

#include "imaging/FlexImage.h"
#include "mods/UsedRegion.h"
#include "mods/basic/BlurKernels.h"

// Blurs whose cost does not grow with the radius.
//
// Every blur kernel of the blur filters is a few pieces, each a polynomial of
// degree two or less in the offset i: w(i) = a + b i + c i^2 over a range of
// offsets. So a blurred sample is sum over pieces of a S0 + b S1 + c S2,
// where Sk is the sum of i^k times the samples under the piece. Those sums
// slide from one sample to the next in a few operations, whatever the radius.
//
// The samples are first scaled to whole numbers (fixed point, 1/2^15 of a
// level or finer), so the running sums are whole numbers held exactly in
// doubles: a running sum then depends only on the samples under its window,
// never on where the running started. That keeps every tiling of a picture
// bit-identical with no more halo than the radius itself. Where every pixel
// has a kernel of its own, the window sums come from prefix sums along the
// line instead (64-bit whole numbers, exact in the same way).
//
// All of them blur only the part of the image whose results are read (see
// UsedRegion), from the pixels around it.

// One piece of a kernel: weight a + b i + c i^2 at offsets lo..hi.
struct KernelPiece
{
    int lo = 0;
    int hi = -1;
    double a = 0.0;
    double b = 0.0;
    double c = 0.0;
};

struct PiecewiseKernel
{
    KernelPiece pieces[3];
    int count = 0;
    double norm = 1.0; // the sum of all weights
    int reach = 0;     // the largest |offset| with a weight

    // The Blur filter's kernel for extent x (Gaussian or Box), radius r.
    static PiecewiseKernel forBlur(BlurMethod method, float x, int r);
};

// The separable blur of separableBlur() with the given kernel, rows first,
// then columns, each pass clamped to 0..255 (and stored as the image stores
// samples in between); the same sums to within 1e-3 of a level.
template <typename T>
void runningSeparableBlur(FlexImage<T>* image, PiecewiseKernel const& kernel);

// The circular blur's two passes, each sample with the kernel of its own
// radius (radii: one per pixel, row-major).
// largestRadius bounds every radius of the whole picture: the fixed point
// of the sums follows it, so it must not depend on the tile (every tile
// then rounds its samples alike).
// Only the used columns of some rows of radii are read (see
// varyingBlurRadiiRows); the rest may hold anything.
template <typename T>
void runningVariableBlur(FlexImage<T>* image, float const* radii, BlurMethod method, float largestRadius);

// The radii runningVariableBlur reads, of a width x height image: the used
// columns (see UsedRegion) of the used rows, and of as many rows on each
// side as the widest kernel of the used rows reaches (the rows pass makes
// them for the columns pass). Only the used rows' radii are read to find
// them, so the rest can be worked out after.
PixelRect varyingBlurRadiiRows(float const* radii, int width, int height);

// The disc blur of extent x and radius r: each kernel row is one span of
// full weight (summed from prefix sums) and a soft rim of about 2 pi x
// pixels, so a sample costs O(r), not O(r^2).
template <typename T>
void circleBlurBySpans(FlexImage<T>* image, float x, int r);
// The same with each pixel's own radius (radii: one per pixel, row-major;
// only the used pixels' are read).
template <typename T>
void variableCircleBlur(FlexImage<T>* image, float const* radii);
