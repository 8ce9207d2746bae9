#include "mods/basic/RunningBlur.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "core/SampleMemory.h"
#include "core/ScratchPool.h"
#include "imaging/WidestVectors.h"
#include "mods/UsedRegion.h"
#include "mods/common/SampleLoop.h"

namespace {

// The fixed-point scale for sums over offsets up to reach: the largest power
// of two up to 2^15 for which every running sum (at most about 2 reach^3 x
// 256 x scale) stays a whole number well below 2^53, where doubles stop
// holding whole numbers exactly.
double scaleFor(int reach)
{
    double const r = double(std::max(reach, 1)) + 1.0;
    double const largestSum = 2.0 * r * r * r * 256.0;
    double scale = 32768.0;
    while (scale > 1.0 && largestSum * scale > 4.0e15)
        scale *= 0.5;
    return scale;
}

// A sample as a whole number of 1/scale levels (exact in a float: at most
// 255 x 2^15 < 2^23), rounded to nearest. Samples outside 0..255 count as
// the nearest end (halves up). In float arithmetic, which vectorises: the
// scale is a power of two, so the product is exact, and so is its fraction.
inline float quantised(float v, double scale)
{
    float const exact = clamp255(v) * float(scale);
    float const whole = float(int(exact));
    return whole + float(exact - whole >= 0.5f);
}

// Whole numbers, worked out in doubles so that a loop of kernels vectorises:
// exact up to reaches of about 10^5; beyond, rounded, the same for every
// tile.
inline double sumOfOffsets(int m) // 1 + 2 + ... + m
{
    double const d = m;
    return d * (d + 1.0) * 0.5;
}

inline double sumOfSquares(int m) // 1 + 4 + ... + m^2
{
    double const d = m;
    return d * (d + 1.0) * (2.0 * d + 1.0) / 6.0;
}

// floor and ceil of a value in 0..2^30, without a library call (a blur
// with its own radius at every pixel takes both at every pixel).
inline int floorOfPositive(double v)
{
    return int(v);
}

// In float: a comparison of floats gives a mask as wide as an int, which
// keeps a loop of them vectorisable.
inline int ceilOfPositive(float v)
{
    int const whole = int(v);
    return whole + (float(whole) < v ? 1 : 0);
}

// A kernel symmetric about offset 0: a + c i^2 for |i| <= inner, and
// sideA + sideB |i| + sideC i^2 for inner < |i| <= reach.
struct SymmetricKernel
{
    int inner = 0;
    int reach = 0;
    double a = 1.0;
    double c = 0.0;
    double sideA = 0.0;
    double sideB = 0.0;
    double sideC = 0.0;
    double norm = 1.0; // the sum of all weights
};

// ease(1 - t / (extent + 1)) for t in -reach..reach: 1 - 2 (t v)^2 up to
// half way, 2 (1 - |t| v)^2 beyond (v = 1 / (extent + 1)). Extent 0 leaves
// the samples as they are. (No branches: a line of kernels vectorises.)
inline SymmetricKernel gaussianShape(double extent, int reach)
{
    SymmetricKernel k;
    double const v = 1.0 / (extent + 1.0);
    k.reach = reach;
    k.inner = std::min(reach, floorOfPositive((extent + 1.0) * 0.5));
    k.a = 1.0;
    k.c = -2.0 * v * v;
    k.sideA = 2.0;
    k.sideB = -4.0 * v;
    k.sideC = 2.0 * v * v;
    int const inner = k.inner;
    // 0 when the sides are empty (reach = inner).
    double const outer = 2.0 * (double(reach - inner) - 2.0 * v * (sumOfOffsets(reach) - sumOfOffsets(inner)) +
                                v * v * (sumOfSquares(reach) - sumOfSquares(inner)));
    k.norm = 1.0 + 2.0 * ((double(inner) - 2.0 * v * v * sumOfSquares(inner)) + outer);
    return k;
}

// Weight 1 within the extent, (extent + 1) - t for the one offset beyond.
// Reach 0 leaves the samples as they are.
inline SymmetricKernel boxShape(double extent, int reach)
{
    SymmetricKernel k;
    bool const blurs = reach > 0;
    double const end = extent + 1.0 - double(reach);
    k.reach = reach;
    k.inner = blurs ? reach - 1 : 0;
    k.sideA = blurs ? end : 0.0;
    k.norm = blurs ? double(2 * reach - 1) + 2.0 * end : 1.0;
    return k;
}

// A radius as the extent of its kernel: none for 0 or for what is not a
// number, and a million pixels at most.
inline float extentOf(float radius)
{
    return radius > 0.0f ? std::min(radius, 1.0e6f) : 0.0f;
}

// The circular blur's kernels for a line of radii (no blur for 0 or for
// what is not a number; radii past a million pixels blur as a million), one
// array a setting, and each kernel's 1 / (norm x scale). Made in plain loops
// of their own, which vectorise, before the line is blurred.
class LineShapes
{
public:
    void make(BlurMethod method, float const* radii, int count, double scale)
    {
        resize(size_t(std::max(count, 0)));
        // Shapes as lambdas, not function pointers: so they are inlined
        // into the loop, which then vectorises.
        if (method == BlurBox)
            makeWith(radii, count, scale, [](double extent, int reach) { return boxShape(extent, reach); });
        else
            makeWith(radii, count, scale, [](double extent, int reach) { return gaussianShape(extent, reach); });
        findRuns(count);
    }

    // Kernel i's weights: a (= 1) over the middle, + c i^2; over the sides,
    // whose weights mirror each other, sideA + sideB |i| + sideC i^2; and
    // 1 / (norm x scale), which turns its sums into samples.
    std::vector<int> inner, reach;
    std::vector<double> c, sideA, sideB, sideC, toSample;
    // Where each run of kernels of one reach and middle ends, in order (the
    // first runCount): a radius that varies over the picture changes them
    // only now and then.
    std::vector<int> runEnds;
    size_t runCount = 0;

private:
    // Every position is written as a possible end and kept only where its
    // kernel differs from the next: no branch, which the changes of reach,
    // some hundreds along a line at no pattern, would mostly mispredict.
    void findRuns(int count)
    {
        if (runEnds.size() < size_t(std::max(count, 0)) + 1)
            runEnds.resize(size_t(std::max(count, 0)) + 1);
        int* const ends = runEnds.data();
        int const* const reachOf = reach.data();
        int const* const innerOf = inner.data();
        size_t found = 0;
        for (int i = 1; i < count; ++i) {
            ends[found] = i;
            found += size_t((reachOf[i] != reachOf[i - 1]) | (innerOf[i] != innerOf[i - 1]));
        }
        if (count > 0)
            ends[found++] = count;
        runCount = found;
    }

    void resize(size_t n)
    {
        for (std::vector<int>* v : {&inner, &reach})
            v->resize(n);
        for (std::vector<double>* v : {&c, &sideA, &sideB, &sideC, &toSample})
            v->resize(n);
    }

    template <typename Shape>
    WIDEST_VECTORS void makeWith(float const* radii, int count, double scale, Shape shape)
    {
        int* const innerOf = inner.data();
        int* const reachOf = reach.data();
        double* const cOf = c.data();
        double* const sideAOf = sideA.data();
        double* const sideBOf = sideB.data();
        double* const sideCOf = sideC.data();
        double* const toSampleOf = toSample.data();
        // The arrays are apart from each other and from the radii.
#pragma GCC ivdep
        for (int i = 0; i < count; ++i) {
            float const extent = extentOf(radii[i]);
            SymmetricKernel const k = shape(extent, ceilOfPositive(extent));
            innerOf[i] = k.inner;
            reachOf[i] = k.reach;
            cOf[i] = k.c;
            sideAOf[i] = k.sideA;
            sideBOf[i] = k.sideB;
            sideCOf[i] = k.sideC;
            toSampleOf[i] = 1.0 / (k.norm * scale);
        }
    }
};

// The kernel as pieces: the middle, then the right side and the left side
// (the sides only where they have offsets).
PiecewiseKernel piecesOf(SymmetricKernel const& k)
{
    PiecewiseKernel pieces;
    pieces.pieces[pieces.count++] = KernelPiece{-k.inner, k.inner, k.a, 0.0, k.c};
    if (k.reach > k.inner) {
        pieces.pieces[pieces.count++] = KernelPiece{k.inner + 1, k.reach, k.sideA, k.sideB, k.sideC};
        pieces.pieces[pieces.count++] = KernelPiece{-k.reach, -k.inner - 1, k.sideA, -k.sideB, k.sideC};
    }
    pieces.norm = k.norm;
    pieces.reach = k.reach;
    return pieces;
}

bool isIdentity(PiecewiseKernel const& k)
{
    return k.reach == 0;
}

// --- one pass over rows, the same kernel everywhere ----------------------

// Columns are swept in strips narrow enough that a strip's running sums
// stay in the first-level cache while the rows go by.
constexpr size_t sweepStripWidth = 256;

// The kernel's pieces as the sweep uses them: the weights scaled to samples,
// and the offsets at which a moving window loses and gains a row.
template <int Pieces>
struct SweepWeights
{
    double a[Pieces], b[Pieces], c[Pieces], lo[Pieces], in1[Pieces];

    SweepWeights(PiecewiseKernel const& k, double scale)
    {
        double const toSample = 1.0 / (k.norm * scale);
        for (int p = 0; p < Pieces; ++p) {
            a[p] = k.pieces[p].a * toSample;
            b[p] = k.pieces[p].b * toSample;
            c[p] = k.pieces[p].c * toSample;
            lo[p] = k.pieces[p].lo;
            in1[p] = k.pieces[p].hi + 1;
        }
    }
};

// One strip of sweepRows: width columns from in (rows rowLength apart),
// sums for 3 x Pieces x sweepStripWidth values.
template <int Pieces>
WIDEST_VECTORS void sweepStrip(float const* in, size_t rowLength, size_t width, int rows, int from, int to,
                               PiecewiseKernel const& k, SweepWeights<Pieces> const& w, double* sums, float* out)
{
    constexpr size_t stride = sweepStripWidth;
    std::fill(sums, sums + size_t(3 * Pieces) * stride, 0.0);
    auto const rowAt = [&](int y) { return in + size_t(std::clamp(y, 0, rows - 1)) * rowLength; };
    for (int p = 0; p < Pieces; ++p) {
        double* s0 = sums + size_t(3 * p) * stride;
        double* s1 = s0 + stride;
        double* s2 = s1 + stride;
        for (int i = k.pieces[p].lo; i <= k.pieces[p].hi; ++i) {
            float const* row = rowAt(from + i);
            double const di = i;
            for (size_t x = 0; x < width; ++x) {
                double const f = row[x];
                s0[x] += f;
                s1[x] += di * f;
                s2[x] += di * di * f;
            }
        }
    }
    for (int y = from; y < to; ++y) {
        float* o = out + size_t(y - from) * rowLength;
        if (y > from) {
            // Each window moves down one row: its top row leaves at offset
            // lo, a new row enters at hi + 1, and every offset drops by one.
            for (int p = 0; p < Pieces; ++p) {
                double* s0 = sums + size_t(3 * p) * stride;
                double* s1 = s0 + stride;
                double* s2 = s1 + stride;
                float const* fo = rowAt(y - 1 + k.pieces[p].lo);
                float const* fi = rowAt(y + k.pieces[p].hi);
                double const l = w.lo[p];
                double const e = w.in1[p];
                for (size_t x = 0; x < width; ++x) {
                    double const n0 = s0[x] - double(fo[x]) + double(fi[x]);
                    double const t1 = s1[x] - l * double(fo[x]) + e * double(fi[x]);
                    double const t2 = s2[x] - l * l * double(fo[x]) + e * e * double(fi[x]);
                    s0[x] = n0;
                    s1[x] = t1 - n0;
                    s2[x] = t2 - 2.0 * t1 + n0;
                }
            }
        }
        for (size_t x = 0; x < width; ++x) {
            double total = 0.0;
            for (int p = 0; p < Pieces; ++p) {
                double const* s0 = sums + size_t(3 * p) * stride;
                total += w.a[p] * s0[x] + w.b[p] * s0[x + stride] + w.c[p] * s0[x + 2 * stride];
            }
            o[x] = float(total);
        }
    }
}

// Each output row is the kernel over the rows around it (edge rows
// repeating), every column at once, for rows [from, to). in holds whole
// numbers; out receives the weighted sums divided by the norm and by scale,
// row from first. The piece count is a template argument so that the loops
// over a row unroll over the pieces and vectorise.
template <int Pieces>
void sweepRows(float const* in, size_t rowLength, int rows, int from, int to, PiecewiseKernel const& k,
               double scale, SampleBuffer<double>& sumsScratch, float* out)
{
    double* sums = sumsScratch.atLeast(size_t(3 * Pieces) * sweepStripWidth);
    SweepWeights<Pieces> const weights(k, scale);
    for (size_t first = 0; first < rowLength; first += sweepStripWidth)
        sweepStrip<Pieces>(in + first, rowLength, std::min(sweepStripWidth, rowLength - first), rows, from, to, k,
                           weights, sums, out + first);
}

void sweepRows(float const* in, size_t rowLength, int rows, int from, int to, PiecewiseKernel const& k, double scale,
               SampleBuffer<double>& sumsScratch, float* out)
{
    if (k.count == 3)
        sweepRows<3>(in, rowLength, rows, from, to, k, scale, sumsScratch, out);
    else
        sweepRows<1>(in, rowLength, rows, from, to, k, scale, sumsScratch, out);
}

// Rows and columns are exchanged in blocks of 32 x 32 pixels, so that both
// the reads and the writes of a block stay in cache.
constexpr int transposeBlock = 32;

// rows x length pixels from in (rows inStride samples apart) with rows and
// columns exchanged into out (rows outStride samples apart): pixel x of row
// y goes to row x, position y, each sample through change. Channels is the
// channel count, or 0 for any (anyChannels). The passes' quantising and
// storing ride along, so the samples cross memory once less.
template <int Channels, typename In, typename Out, typename Change>
WIDEST_VECTORS void exchangeRowsAndColumns(In const* in, size_t inStride, int rows, int length, int anyChannels,
                                           Out* out, size_t outStride, Change change)
{
    int const channels = Channels > 0 ? Channels : anyChannels;
    for (int y0 = 0; y0 < rows; y0 += transposeBlock)
        for (int x0 = 0; x0 < length; x0 += transposeBlock) {
            int const y1 = std::min(y0 + transposeBlock, rows);
            int const x1 = std::min(x0 + transposeBlock, length);
            for (int y = y0; y < y1; ++y) {
                In const* from = in + size_t(y) * inStride;
                for (int x = x0; x < x1; ++x)
                    for (int c = 0; c < channels; ++c)
                        out[size_t(x) * outStride + size_t(y) * channels + c] = change(from[size_t(x) * channels + c]);
            }
        }
}

template <typename In, typename Out, typename Change>
void exchangeRowsAndColumns(In const* in, size_t inStride, int rows, int length, int channels, Out* out,
                            size_t outStride, Change change)
{
    if (channels == 1)
        exchangeRowsAndColumns<1>(in, inStride, rows, length, channels, out, outStride, change);
    else if (channels == 3)
        exchangeRowsAndColumns<3>(in, inStride, rows, length, channels, out, outStride, change);
    else if (channels == 4)
        exchangeRowsAndColumns<4>(in, inStride, rows, length, channels, out, outStride, change);
    else
        exchangeRowsAndColumns<0>(in, inStride, rows, length, channels, out, outStride, change);
}

// The changes made on the way: a sample quantised, into a float for the
// fixed kernel's sweeps (which work in doubles) or into an int32 for the
// varying blur's sums (which work in whole numbers); a pass result stored
// as the image stores samples (8-bit blurs truncate between the passes, and
// the next pass quantises what was stored).
template <typename Quantised = float>
auto quantisedBy(double scale)
{
    return [scale](auto sample) { return Quantised(quantised(float(sample), scale)); };
}

template <typename T>
auto storedAs()
{
    return [](float v) { return FlexImage<T>::storeSample(clamp255(v)); };
}

auto unchanged()
{
    return [](float v) { return v; };
}

// --- one pass along lines, each position with its own kernel -------------

// A signed whole number below 2^51 in size (held in a wrapping 64-bit
// word), as a double, with integer and bit operations only: x86's vectors
// before AVX-512 have no conversion from 64-bit integers. Adding 2^52 + 2^51
// puts the number into the mantissa of a double of that size, which is
// then taken away again, exactly.
inline double wholeToDouble(uint64_t v)
{
    constexpr uint64_t magicBits = 0x4338000000000000u; // 2^52 + 2^51
    uint64_t const bits = v + magicBits;
    double shifted;
    std::memcpy(&shifted, &bits, sizeof shifted);
    return shifted - 6755399441055744.0;
}

// Prefix sums of i^0 f, i^1 f and i^2 f along one line, extended by pad
// repeated edge samples at each end, in 64-bit whole numbers that wrap. The
// samples are whole numbers, and every window's true sums fit well within 63
// bits, so a window's sums taken as differences of prefixes are exact however
// often the prefixes wrapped: they depend only on the samples under the
// window, not on where the line starts. Any window then costs the same,
// whatever its size, and each position can take its own.
// Each channel's three sums are kept in planes of their own, so that a line
// of kernels is a plain loop over positions (its reads gathered).
class LinePrefixSums
{
public:
    // Lines of channels samples a position, extended by pad repeated edge
    // samples at each end; the planes are kept from line to line.
    void shapeLines(int lineChannels, int linePad)
    {
        channels = lineChannels;
        pad = linePad;
    }

    // Only the prefixes that the windows of positions [from, to) read are
    // made: from the first window's start to the last one's end. Inside a
    // picture the lines are read with a margin of the largest reach, so the
    // pads are then never summed at all.
    void build(int32_t const* samples, int length, int from, int to)
    {
        positions = size_t(length) + 2 * size_t(pad);
        prefix.resize(size_t(3 * channels) * (positions + 1));
        size_t const begin = size_t(std::max(from, 0));
        size_t const end = std::min(positions, size_t(std::max(to, 0)) + 2 * size_t(pad));
        if (channels == 3)
            buildChannels<3>(samples, 0, length, begin, end);
        else
            for (int c = 0; c < channels; ++c)
                buildChannels<1>(samples, c, length, begin, end);
    }

    // Positions [from, from + count) blurred, each with its own kernel of
    // shapes (kernel i for position from + i), pixel after pixel into out;
    // blurred holds count x channels values.
    void blurLine(int from, int count, LineShapes const& shapes, float* blurred, float* out) const
    {
        for (int c = 0; c < channels; ++c)
            blurChannel(plane(c, 0), plane(c, 1), plane(c, 2), shapes, from + pad, blurred + size_t(c) * count);
        if (channels == 3)
            interleave<3>(blurred, count, out);
        else
            interleave<0>(blurred, count, out);
    }

private:
    int channels = 0;
    int pad = 0;
    size_t positions = 0;
    std::vector<uint64_t> prefix;

    // Channel after channel into pixel after pixel; Channels is the channel
    // count, or 0 for any.
    template <int Channels>
    void interleave(float const* planes, int count, float* out) const
    {
        int const n = Channels > 0 ? Channels : channels;
        for (int i = 0; i < count; ++i)
            for (int c = 0; c < n; ++c)
                out[size_t(i) * n + c] = planes[size_t(c) * count + i];
    }

    uint64_t* plane(int c, int k) { return prefix.data() + size_t(3 * c + k) * (positions + 1); }
    uint64_t const* plane(int c, int k) const { return prefix.data() + size_t(3 * c + k) * (positions + 1); }

    // The edge samples repeat over the pads: the sums run over the pad
    // before the line, the line, and the pad after it. The samples are whole
    // numbers of at most 24 bits, quantised into int32s as the plane was
    // made: converted here, from floats, each took a conversion in a loop
    // that has few other steps.
    // Channels [c0, c0 + Channels) are summed side by side, a pixel a step:
    // one pass over the line, one product i^2 a position, and the stores of
    // the channels' planes interleaved.
    template <int Channels>
    void buildChannels(int32_t const* samples, int c0, int length, size_t begin, size_t end)
    {
        uint64_t* p[Channels][3];
        for (int c = 0; c < Channels; ++c)
            for (int k = 0; k < 3; ++k) {
                p[c][k] = plane(c0 + c, k);
                p[c][k][begin] = 0;
            }
        size_t const stride = size_t(channels);
        int32_t const* const line = samples + c0;
        // The running sums stay in registers: read back from the planes,
        // each step would wait for the store before it.
        uint64_t s0[Channels] = {}, s1[Channels] = {}, s2[Channels] = {};
        auto const add = [&](size_t from, size_t to, int32_t const* pixel, size_t step) {
            for (size_t j = from; j < to; ++j, pixel += step) {
                uint64_t const i = j;
                uint64_t const squareI = i * i;
                for (int c = 0; c < Channels; ++c) {
                    uint64_t const v = uint32_t(pixel[c]);
                    s0[c] += v;
                    s1[c] += i * v;
                    s2[c] += squareI * v;
                    p[c][0][j + 1] = s0[c];
                    p[c][1][j + 1] = s1[c];
                    p[c][2][j + 1] = s2[c];
                }
            }
        };
        size_t const lineStart = size_t(pad);
        size_t const lineEnd = lineStart + size_t(length);
        auto const within = [&](size_t at) { return std::clamp(at, begin, end); };
        size_t const inside = within(lineStart);
        add(within(0), inside, line, 0);
        add(inside, within(lineEnd), line + (inside - lineStart) * stride, stride);
        add(within(lineEnd), within(positions), line + size_t(length - 1) * stride, 0);
    }

    // The blurred samples at prefix positions first.. with the kernels of
    // shapes, one a position. The pieces' bounds as prefix positions: left
    // A..B, middle B..C, right C..D (an empty side reads one prefix twice:
    // sums of 0).
    // Sums over absolute positions j become sums over offsets j - X: S1 =
    // P1 - X P0 and S2 = P2 - 2 X P1 + X^2 P0. The sides' sums are combined
    // as whole numbers before they are moved to the centre and turned into
    // doubles (the scale of the sums keeps every window's below 2^51).
    // Along a run of kernels of one reach and middle (see LineShapes), each
    // bound moves one prefix a position, so the prefixes are read in
    // contiguous runs, not gathered.
    static WIDEST_VECTORS void blurChannel(uint64_t const* p0, uint64_t const* p1, uint64_t const* p2,
                                           LineShapes const& shapes, int first, float* out)
    {
        int const* innerOf = shapes.inner.data();
        int const* reachOf = shapes.reach.data();
        double const* c = shapes.c.data();
        double const* sideA = shapes.sideA.data();
        double const* sideB = shapes.sideB.data();
        double const* sideC = shapes.sideC.data();
        double const* toSample = shapes.toSample.data();
        int runStart = 0;
        for (size_t run = 0; run < shapes.runCount; ++run) {
            int const runEnd = shapes.runEnds[run];
            int const reach = reachOf[runStart];
            int const inner = innerOf[runStart];
            for (int i = runStart; i < runEnd; ++i) {
                int const at = first + i;
                int const A = at - reach;
                int const B = at - inner;
                int const C = at + inner + 1;
                int const D = at + reach + 1;
                uint64_t const X = uint64_t(at);
                uint64_t const twiceX = 2 * X;
                uint64_t const squareX = X * X;
                uint64_t const middle0 = p0[C] - p0[B];
                uint64_t const middle1 = p1[C] - p1[B];
                uint64_t const middle2 = p2[C] - p2[B];
                uint64_t const both0 = (p0[D] - p0[C]) + (p0[B] - p0[A]);
                uint64_t const both1 = (p1[D] - p1[C]) + (p1[B] - p1[A]);
                uint64_t const both2 = (p2[D] - p2[C]) + (p2[B] - p2[A]);
                uint64_t const apart0 = (p0[D] - p0[C]) - (p0[B] - p0[A]);
                uint64_t const apart1 = (p1[D] - p1[C]) - (p1[B] - p1[A]);
                double const middleS0 = wholeToDouble(middle0);
                double const middleS2 = wholeToDouble(middle2 - twiceX * middle1 + squareX * middle0);
                double const sidesS0 = wholeToDouble(both0);
                double const sidesS1 = wholeToDouble(apart1 - X * apart0);
                double const sidesS2 = wholeToDouble(both2 - twiceX * both1 + squareX * both0);
                out[i] = float(
                    (middleS0 + c[i] * middleS2 + (sideA[i] * sidesS0 + sideB[i] * sidesS1 + sideC[i] * sidesS2)) *
                    toSample[i]);
            }
            runStart = runEnd;
        }
    }
};

// --- narrow kernels, tap by tap -------------------------------------------

// A kernel of small reach is cheaper summed tap by tap than from prefix
// sums: with the tap count fixed, a line of pixels is a plain loop whose
// taps unroll, each pixel in a lane of a vector with its own weights, and
// nothing is stored but the results. Those of reach up to 8, 16 and 24 are
// summed over 8, 16 and 24 taps each side (the taps past a kernel's reach
// weigh 0); wider ones come from prefix sums. Either way a pixel's result
// depends only on its radius and the samples around it, so every tiling
// gives the same.
constexpr int widestTaps = 24;

// The taps for a radius (one whose reach is up to 8, 16 or 24), or 0 for
// prefix sums. (A radius that is not a number blurs nothing, from prefix
// sums.)
inline int tapsFor(float radius)
{
    return radius <= 8.0f ? 8 : radius <= 16.0f ? 16 : radius <= float(widestTaps) ? widestTaps : 0;
}

// The weight of tap k (k >= 1) of a pixel's kernel from its two settings.
// Gaussian: ease(1 - u), u = k / (extent + 1): 1 - 2 u^2 up to u = 1/2,
// 2 (1 - u)^2 up to u = 1, 0 beyond. The two halves differ by (2u - 1)^2,
// so with u capped at 1 the weight is 1 - 2 u^2 + max(2u - 1, 0)^2, with no
// select: the tap loop is the blur's innermost.
// Box: 1 below its reach n, its fraction of a pixel at n, 0 beyond.
struct GaussianTaps
{
    static void settings(float extent, float* a, float*)
    {
        *a = 1.0f / (extent + 1.0f);
    }
    static float weight(float k, float a, float)
    {
        float const u = std::min(k * a, 1.0f);
        float const past = std::max(2.0f * u - 1.0f, 0.0f);
        return 1.0f - 2.0f * u * u + past * past;
    }
};

struct BoxTaps
{
    static void settings(float extent, float* a, float* b)
    {
        float const reach = float(ceilOfPositive(extent));
        *a = reach;
        *b = extent - reach + 1.0f;
    }
    static float weight(float k, float a, float b)
    {
        return k < a ? 1.0f : k == a ? b : 0.0f;
    }
};

// count pixels blurred over Taps taps each side into out (pixel after
// pixel). around holds each channel's samples (channel c at around + c x
// stride) from Taps taps before the first pixel, step apart: pixel i's
// centre is at i + Taps x step, its taps step on either side of it. a and
// b are each pixel's kernel settings. Channels is the channel count, or 0
// for one channel of any count. The sums go tap after tap, in the same
// order whatever the step, so a pixel comes out alike along a line or down
// a column.
template <int Taps, int Channels, typename Kernel>
WIDEST_VECTORS void sumTaps(float const* __restrict around, size_t stride, size_t step, float const* __restrict a,
                            float const* __restrict b, int count, int anyChannels, float* __restrict out)
{
    int const channels = Channels > 0 ? Channels : anyChannels;
    constexpr int summed = Channels > 0 ? Channels : 1;
    for (int i = 0; i < count; ++i) {
        float const ai = a[i];
        float const bi = b[i];
        float norm = 1.0f;
        float sums[summed];
        float const* const centre = around + size_t(i) + size_t(Taps) * step;
#pragma GCC unroll 4
        for (int c = 0; c < summed; ++c)
            sums[c] = centre[size_t(c) * stride];
#pragma GCC unroll 32
        for (int k = 1; k <= Taps; ++k) {
            float const w = Kernel::weight(float(k), ai, bi);
            norm += 2.0f * w;
            float const* const after = centre + size_t(k) * step;
            float const* const before = centre - size_t(k) * step;
#pragma GCC unroll 4
            for (int c = 0; c < summed; ++c)
                sums[c] += w * (after[size_t(c) * stride] + before[size_t(c) * stride]);
        }
#pragma GCC unroll 4
        for (int c = 0; c < summed; ++c)
            out[size_t(i) * channels + c] = sums[c] / norm;
    }
}

// Kernels summed tap by tap: their settings made from the radii, then the
// sums over the samples laid out for them (see sumTaps).
class TapSums
{
public:
    // Settings for count pixels from their radii.
    void settle(BlurMethod method, float const* radii, int count)
    {
        a.resize(size_t(std::max(count, 0)));
        b.resize(size_t(std::max(count, 0)));
        if (method == BlurBox)
            settleWith<BoxTaps>(radii, count);
        else
            settleWith<GaussianTaps>(radii, count);
    }

    // The count settled pixels summed over taps taps each side (see
    // sumTaps).
    void sum(BlurMethod method, int taps, float const* around, size_t stride, size_t step, int count, int channels,
             float* out) const
    {
        if (method == BlurBox)
            sumWith<BoxTaps>(taps, around, stride, step, count, channels, out);
        else
            sumWith<GaussianTaps>(taps, around, stride, step, count, channels, out);
    }

private:
    std::vector<float> a, b;

    template <typename Kernel>
    void settleWith(float const* radii, int count)
    {
        for (int i = 0; i < count; ++i)
            Kernel::settings(extentOf(radii[i]), &a[size_t(i)], &b[size_t(i)]);
    }

    template <typename Kernel>
    void sumWith(int taps, float const* around, size_t stride, size_t step, int count, int channels,
                 float* out) const
    {
        if (taps == 8)
            sumFor<8, Kernel>(around, stride, step, count, channels, out);
        else if (taps == 16)
            sumFor<16, Kernel>(around, stride, step, count, channels, out);
        else
            sumFor<widestTaps, Kernel>(around, stride, step, count, channels, out);
    }

    template <int Taps, typename Kernel>
    void sumFor(float const* around, size_t stride, size_t step, int count, int channels, float* out) const
    {
        if (channels == 3) {
            sumTaps<Taps, 3, Kernel>(around, stride, step, a.data(), b.data(), count, channels, out);
            return;
        }
        for (int c = 0; c < channels; ++c)
            sumTaps<Taps, 0, Kernel>(around + size_t(c) * stride, stride, step, a.data(), b.data(), count,
                                     channels, out + c);
    }
};

// count pixels into levels (toLevels of each sample), each channel into a
// line of its own (channel c at out + c x stride). Channels is the channel
// count, or 0 for any.
template <int Channels, typename Sample, typename ToLevels>
WIDEST_VECTORS void spreadLevelsOf(Sample const* pixels, int count, int anyChannels, ToLevels toLevels, float* out,
                                   size_t stride)
{
    size_t const k = size_t(Channels > 0 ? Channels : anyChannels);
    for (size_t x = 0; x < size_t(std::max(count, 0)); ++x)
#pragma GCC unroll 4
        for (size_t c = 0; c < k; ++c)
            out[c * stride + x] = toLevels(pixels[x * k + c]);
}

// The same for any channel count, with RGB's loop built for three.
template <typename Sample, typename ToLevels>
void spreadLevels(Sample const* pixels, int count, int channels, ToLevels toLevels, float* out, size_t stride)
{
    if (channels == 3)
        spreadLevelsOf<3>(pixels, count, channels, toLevels, out, stride);
    else
        spreadLevelsOf<0>(pixels, count, channels, toLevels, out, stride);
}

// A sample in levels: a whole number of 1/scale levels as it stands, or a
// sample quantised (see quantised) as the planes of whole numbers hold it.
// Either way the same float for the same sample.
inline auto wholeInLevels(double scale)
{
    float const toLevels = float(1.0 / scale);
    return [toLevels](int32_t whole) { return float(whole) * toLevels; };
}

template <typename T>
auto quantisedInLevels(double scale)
{
    float const toLevels = float(1.0 / scale);
    return [scale, toLevels](T sample) { return quantised(float(sample), scale) * toLevels; };
}

// Narrow kernels along a line of samples.
class TapBlur
{
public:
    // Positions [from, to) of a line of length positions x channels,
    // position from + i with radii[i], over taps taps each side, into out
    // (pixel after pixel). toLevels turns a sample into levels: a whole
    // number of 1/scale levels, or a sample quantised as one. Past the
    // line's ends its edge samples repeat.
    template <typename Sample, typename ToLevels>
    void blur(Sample const* samples, int length, int channels, float const* radii, int from, int to,
              BlurMethod method, ToLevels toLevels, int taps, float* out)
    {
        int const count = to - from;
        if (count <= 0)
            return;
        size_t const stride = size_t(count) + 2 * size_t(taps);
        around.resize(stride * size_t(channels));
        // The samples in the line, then the edges repeated before and after.
        int const first = from - taps;
        int const inside0 = std::clamp(first, 0, length);
        int const inside1 = std::clamp(to + taps, inside0, length);
        float* const inside = around.data() + (inside0 - first);
        spreadLevels(samples + size_t(inside0) * channels, inside1 - inside0, channels, toLevels, inside, stride);
        for (int c = 0; c < channels; ++c) {
            float* const line = around.data() + size_t(c) * stride;
            std::fill(line, line + (inside0 - first), toLevels(samples[c]));
            std::fill(line + (inside1 - first), line + stride,
                      toLevels(samples[size_t(length - 1) * channels + size_t(c)]));
        }
        sums.settle(method, radii, count);
        sums.sum(method, taps, around.data(), stride, 1, count, channels, out);
    }

private:
    std::vector<float> around;
    TapSums sums;
};

// Blurs positions [from, to) of every line of a plane of lines x length
// positions x channels, each with the kernel of its radius (radii[line *
// radiiStride + position]), into lines of to - from positions; pad is at
// least the largest reach of those kernels. Along a line, the stretches of
// kernels of one tap count are summed tap by tap, those wider from prefix
// sums. Its working memory is kept from sweep to sweep.
class VaryingSweep
{
public:
    void run(int32_t const* in, int lines, int length, int channels, float const* radii, size_t radiiStride,
             int from, int to, BlurMethod method, double scale, int pad, float* out)
    {
        int const made = to - from;
        sums.shapeLines(channels, pad);
        blurred.resize(size_t(std::max(made, 0)) * channels);
        tapsOf.resize(size_t(std::max(made, 0)));
        for (int line = 0; line < lines; ++line) {
            int32_t const* const samples = in + size_t(line) * length * channels;
            float const* const lineRadii = radii + size_t(line) * radiiStride;
            float* const lineOut = out + size_t(line) * made * channels;
            for (int i = 0; i < made; ++i)
                tapsOf[size_t(i)] = tapsFor(lineRadii[from + i]);
            for (int begin = 0; begin < made;) {
                int const kind = tapsOf[size_t(begin)];
                int end = begin + 1;
                while (end < made && tapsOf[size_t(end)] == kind)
                    ++end;
                int const first = from + begin;
                int const last = from + end;
                float* const spanOut = lineOut + size_t(begin) * channels;
                if (kind > 0) {
                    taps.blur(samples, length, channels, lineRadii + first, first, last, method,
                              wholeInLevels(scale), kind, spanOut);
                } else {
                    sums.build(samples, length, first, last);
                    shapes.make(method, lineRadii + first, end - begin, scale);
                    sums.blurLine(first, end - begin, shapes, blurred.data(), spanOut);
                }
                begin = end;
            }
        }
    }

private:
    LinePrefixSums sums;
    LineShapes shapes;
    TapBlur taps;
    std::vector<float> blurred;
    std::vector<int> tapsOf;
};

// Scratch planes lent out for each blur: a blur of a large tile needs tens
// of megabytes, and fresh pages cost more to fault in than the blur itself.
// They grow without copying or clearing what they held.
struct BlurScratch
{
    SampleBuffer<float> plane;        // the fixed kernel's quantised samples
    SampleBuffer<int32_t> wholePlane; // the varying blur's
    SampleBuffer<float> levels;       // its samples for sums tap by tap
    SampleBuffer<float> blurred;
    SampleBuffer<float> radii;
    SampleBuffer<double> sums;
    TapSums taps;       // down strips of columns
    TapBlur alongRows;
    VaryingSweep sweep; // along lines
};

// Never destroyed: blurs may still run on worker threads while the program
// ends.
ScratchPool<BlurScratch>& blurScratchPool()
{
    static auto* pool = new ScratchPool<BlurScratch>();
    return *pool;
}

// The reach of the largest of the radii (those that are not numbers blur
// nothing), at most a million pixels.
//
// Positive floats order as their bits do, as whole numbers: the largest is
// found with whole-number maxima, which vectorise (a float maximum does not
// in strict arithmetic, which must keep what is not a number in order).
// The bits of a positive float, infinity included, are 1 to 0x7f800000;
// zero, negative numbers and what is not a number count as 0.
WIDEST_VECTORS int reachOfLargest(float const* radii, size_t count)
{
    constexpr uint32_t infinityBits = 0x7f800000u;
    uint32_t largest = 0;
    for (size_t i = 0; i < count; ++i) {
        uint32_t b;
        std::memcpy(&b, radii + i, sizeof b);
        // A mask, not a select: a select here does not vectorise.
        largest = std::max(largest, b & -uint32_t(b - 1u < infinityBits));
    }
    float value;
    std::memcpy(&value, &largest, sizeof value);
    return int(std::ceil(std::min(value, 1.0e6f)));
}

// The reach of the largest radius in rect of a plane of radii, stride
// radii a row.
int reachOfLargestIn(float const* radii, size_t stride, PixelRect rect)
{
    int reach = 0;
    for (int y = rect.top; y < rect.bottom; ++y)
        reach = std::max(reach, reachOfLargest(radii + size_t(y) * stride + rect.left, size_t(rect.width())));
    return reach;
}

// The used rows, and as many rows on each side as their widest kernel
// reaches down and up, in the used columns (see varyingBlurRadiiRows).
PixelRect rowsAround(PixelRect used, int reachDown, int width, int height)
{
    PixelRect rows = grownWithin(used, reachDown, width, height);
    rows.left = used.left;
    rows.right = used.right;
    return rows;
}

// --- discs from row spans ------------------------------------------------

// A picture's rows as prefix sums of whole numbers (fixed point, exact in
// doubles): the sum over any span of a row is the difference of two,
// exactly, so it does not depend on where the sums started.
class RowSums
{
public:
    template <typename T>
    explicit RowSums(FlexImage<T> const& image)
        : width(image.width), height(image.height), channels(image.channels),
          stride(size_t(image.width + 1) * image.channels),
          // Sums of a row grow to width x 256 x scale, kept well below 2^53.
          scale(std::max(1.0, std::min(32768.0, std::exp2(std::floor(std::log2(4.0e15 / (256.0 * (width + 1)))))))),
          samples(image.sampleCount()), prefix(size_t(image.height) * stride, 0.0)
    {
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] = quantised(float(image.pixels[i]), scale);
        size_t const rowSamples = size_t(width) * channels;
        for (int y = 0; y < height; ++y) {
            double* p = &prefix[size_t(y) * stride];
            float const* row = &samples[size_t(y) * rowSamples];
            for (size_t i = 0; i < rowSamples; ++i)
                p[i + channels] = p[i] + double(row[i]);
        }
    }

    // Channel c summed over columns from..to of row y (clamped into the
    // picture), columns outside the picture repeating its edge pixels.
    double span(int y, int from, int to, int c) const
    {
        y = std::clamp(y, 0, height - 1);
        double const* p = &prefix[size_t(y) * stride];
        double sum = 0.0;
        if (from < 0) {
            sum += double(std::min(to + 1, 0) - from) * double(sample(0, y, c));
            from = 0;
        }
        if (to > width - 1) {
            sum += double(to - std::max(from - 1, width - 1)) * double(sample(width - 1, y, c));
            to = width - 1;
        }
        if (from <= to)
            sum += p[size_t(to + 1) * channels + c] - p[size_t(from) * channels + c];
        return sum;
    }

    // Row y's prefix sums (position x of channel c at x * channels + c; one
    // pixel of zeros first) and its samples.
    double const* prefixRow(int y) const { return &prefix[size_t(y) * stride]; }
    float const* sampleRow(int y) const { return &samples[size_t(y) * width * channels]; }

    // One sample, edges repeating.
    float sample(int x, int y, int c) const
    {
        x = std::clamp(x, 0, width - 1);
        y = std::clamp(y, 0, height - 1);
        return samples[(size_t(y) * width + x) * channels + c];
    }

    int width;
    int height;
    int channels;
    size_t stride;
    double scale;

private:
    std::vector<float> samples;
    std::vector<double> prefix;
};

// The disc kernel of extent x and radius r as rows: a full-weight span
// |dx| <= span[dy] in each row (-1: none), and the rim, where the weight
// falls from 1 to 0.
class Disc
{
public:
    Disc(float x, int r) : r(r), spans(2 * r + 1, -1)
    {
        for (int dy = -r; dy <= r; ++dy)
            for (int dx = -r; dx <= r; ++dx) {
                float const d = std::sqrt(float(dx * dx + dy * dy));
                if (d < x) {
                    spans[dy + r] = std::max(spans[dy + r], std::abs(dx));
                    norm += 1.0;
                } else if (d < x + 1.0f) {
                    rim.push_back(RimPixel{dy, dx, double((x + 1.0f) - d)});
                    norm += double((x + 1.0f) - d);
                }
            }
    }

    // Adds the disc over row y's neighbourhood into total (one row of
    // samples): the columns whose spans and rim lie inside the picture run
    // over contiguous memory; only the edges take the clamped path.
    void addRow(RowSums const& rows, int y, double* total) const
    {
        int const channels = rows.channels;
        int const width = rows.width;
        int const inside0 = std::min(r, width);
        int const inside1 = std::max(inside0, width - r);
        for (int dy = -r; dy <= r; ++dy) {
            int const s = spans[dy + r];
            if (s < 0)
                continue;
            int const sy = std::clamp(y + dy, 0, rows.height - 1);
            double const* p = rows.prefixRow(sy);
            size_t const from = size_t(inside0) * channels;
            size_t const to = size_t(inside1) * channels;
            size_t const ahead = size_t(s + 1) * channels;
            size_t const behind = size_t(s) * channels;
            for (size_t i = from; i < to; ++i)
                total[i] += p[i + ahead] - p[i - behind];
            for (int x = 0; x < width; ++x)
                if (x < inside0 || x >= inside1)
                    for (int c = 0; c < channels; ++c)
                        total[size_t(x) * channels + c] += rows.span(sy, x - s, x + s, c);
        }
        for (RimPixel const& rp : rim) {
            int const sy = std::clamp(y + rp.dy, 0, rows.height - 1);
            float const* row = rows.sampleRow(sy);
            ptrdiff_t const shift = ptrdiff_t(rp.dx) * channels;
            for (size_t i = size_t(inside0) * channels; i < size_t(inside1) * channels; ++i)
                total[i] += rp.weight * double(row[ptrdiff_t(i) + shift]);
            for (int x = 0; x < width; ++x)
                if (x < inside0 || x >= inside1)
                    for (int c = 0; c < channels; ++c)
                        total[size_t(x) * channels + c] += rp.weight * double(rows.sample(x + rp.dx, sy, c));
        }
    }

    double toSample(RowSums const& rows) const { return 1.0 / (norm * rows.scale); }

    void blurAt(RowSums const& rows, int x, int y, float* out) const
    {
        double const toSample = 1.0 / (norm * rows.scale);
        for (int c = 0; c < rows.channels; ++c) {
            double plateau = 0.0;
            for (int dy = -r; dy <= r; ++dy)
                if (spans[dy + r] >= 0)
                    plateau += rows.span(y + dy, x - spans[dy + r], x + spans[dy + r], c);
            double soft = 0.0;
            for (RimPixel const& p : rim)
                soft += p.weight * double(rows.sample(x + p.dx, y + p.dy, c));
            out[c] = float((plateau + soft) * toSample);
        }
    }

private:
    struct RimPixel
    {
        int dy, dx;
        double weight;
    };
    int r;
    std::vector<int> spans;
    std::vector<RimPixel> rim;
    double norm = 0.0;
};

template <typename T>
void storePlane(float const* values, size_t count, T* out)
{
    widestLoop(count, [values, out](size_t i) { out[i] = FlexImage<T>::storeSample(clamp255(values[i])); });
}

// count samples quantised (see quantised) into plane.
template <typename T, typename Quantised>
void quantisePlane(T const* samples, size_t count, double scale, Quantised* plane)
{
    auto const change = quantisedBy<Quantised>(scale);
    widestLoop(count, [samples, plane, change](size_t i) { plane[i] = change(samples[i]); });
}

// Values for a block of the image, row after row, stored as the image
// stores samples.
template <typename T>
void storeBlock(float const* values, PixelRect block, FlexImage<T>* image)
{
    size_t const rowSamples = size_t(block.width()) * image->channels;
    for (int y = block.top; y < block.bottom; ++y)
        storePlane(values + size_t(y - block.top) * rowSamples, rowSamples, image->pixelAt(block.left, y));
}

} // namespace

PiecewiseKernel PiecewiseKernel::forBlur(BlurMethod method, float x, int r)
{
    if (r <= 0)
        return piecesOf(SymmetricKernel());
    return piecesOf(method == BlurBox ? boxShape(x, r) : gaussianShape(x, r));
}


// The passes work through the picture a strip at a time, so that their
// scratch planes hold a strip, not the whole picture: a wide blur's tiles
// are large, and planes of their size took most of its memory.
// Rows: a strip of rows with rows and columns exchanged is a plane whose
// columns are the picture's rows, and the pass is a sweep down the plane's
// rows. The results go back into the picture's rows, stored as the picture
// stores samples; rows of the halo that the columns pass reads but nothing
// after it does are changed too.
template <typename T>
void blurRowsByStrips(FlexImage<T>* image, PiecewiseKernel const& kernel, double scale, PixelRect used,
                      PixelRect read, BlurScratch& keep)
{
    int const channels = image->channels;
    size_t const imageStride = size_t(image->width) * channels;
    int const stripRows = std::max(1, int(sweepStripWidth) / channels);
    float* plane = keep.plane.atLeast(size_t(read.width()) * stripRows * channels);
    float* blurred = keep.blurred.atLeast(size_t(used.width()) * stripRows * channels);
    for (int top = read.top; top < read.bottom; top += stripRows) {
        int const rows = std::min(stripRows, read.bottom - top);
        size_t const planeStride = size_t(rows) * channels;
        exchangeRowsAndColumns(image->pixelAt(read.left, top), imageStride, rows, read.width(), channels, plane,
                               planeStride, quantisedBy(scale));
        sweepRows(plane, planeStride, read.width(), used.left - read.left, used.right - read.left, kernel, scale,
                  keep.sums, blurred);
        exchangeRowsAndColumns(blurred, planeStride, used.width(), rows, channels, image->pixelAt(used.left, top),
                               imageStride, storedAs<T>());
    }
}

// Columns: a strip of columns, as wide as one sweep takes, quantised into a
// plane of its own and swept down.
template <typename T>
void blurColumnsByStrips(FlexImage<T>* image, PiecewiseKernel const& kernel, double scale, PixelRect used,
                         PixelRect read, BlurScratch& keep)
{
    size_t const usedSamples = size_t(used.width()) * image->channels;
    float* plane = keep.plane.atLeast(sweepStripWidth * size_t(read.height()));
    float* blurred = keep.blurred.atLeast(sweepStripWidth * size_t(used.height()));
    for (size_t first = 0; first < usedSamples; first += sweepStripWidth) {
        size_t const width = std::min(sweepStripWidth, usedSamples - first);
        for (int y = read.top; y < read.bottom; ++y) {
            T const* row = image->pixelAt(used.left, y) + first;
            quantisePlane(row, width, scale, plane + size_t(y - read.top) * width);
        }
        sweepRows(plane, width, read.height(), used.top - read.top, used.bottom - read.top, kernel, scale,
                  keep.sums, blurred);
        for (int y = used.top; y < used.bottom; ++y)
            storePlane(blurred + size_t(y - used.top) * width, width, image->pixelAt(used.left, y) + first);
    }
}

template <typename T>
void runningSeparableBlur(FlexImage<T>* image, PiecewiseKernel const& kernel)
{
    PixelRect const used = UsedRegion::of(image->width, image->height);
    if (used.width() <= 0 || used.height() <= 0 || isIdentity(kernel))
        return;
    double const scale = scaleFor(kernel.reach);
    // The rows pass makes the used columns of every row the columns pass
    // reads, from the columns around them.
    PixelRect const read = grownWithin(used, kernel.reach, image->width, image->height);
    auto const lease = blurScratchPool().lease();
    blurRowsByStrips(image, kernel, scale, used, read, *lease);
    blurColumnsByStrips(image, kernel, scale, used, read, *lease);
}

// The varying blur's passes also go a strip at a time, their results back
// into the picture (see blurRowsByStrips). Rows: a strip of rows quantised
// and blurred along.
constexpr int varyingStripLines = 32;

template <typename T>
void blurVaryingRowsByStrips(FlexImage<T>* image, float const* radii, BlurMethod method, double scale, int reach,
                             PixelRect used, PixelRect read, BlurScratch& keep)
{
    int const width = image->width;
    int const channels = image->channels;
    size_t const readSamples = size_t(read.width()) * channels;
    size_t const usedSamples = size_t(used.width()) * channels;
    int32_t* plane = keep.wholePlane.atLeast(readSamples * varyingStripLines);
    float* blurred = keep.blurred.atLeast(usedSamples * varyingStripLines);
    int const from = used.left - read.left;
    int const to = used.right - read.left;
    // A row whose kernels are all narrow is summed tap by tap straight from
    // its samples; the rows around it, a run at a time, through a plane of
    // whole numbers. (The same pixels either way: see blurColumnsByTaps.)
    auto const tapsOfRow = [&](int y) {
        return tapsFor(float(reachOfLargest(radii + size_t(y) * width + used.left, size_t(used.width()))));
    };
    for (int top = read.top; top < read.bottom;) {
        if (int const taps = tapsOfRow(top)) {
            keep.alongRows.blur(image->pixelAt(read.left, top), read.width(), channels,
                                radii + size_t(top) * width + used.left, from, to, method,
                                quantisedInLevels<T>(scale), taps, blurred);
            storePlane(blurred, usedSamples, image->pixelAt(used.left, top));
            ++top;
            continue;
        }
        int lines = 1;
        while (lines < varyingStripLines && top + lines < read.bottom && tapsOfRow(top + lines) == 0)
            ++lines;
        for (int y = top; y < top + lines; ++y) {
            T const* row = image->pixelAt(read.left, y);
            quantisePlane(row, readSamples, scale, plane + size_t(y - top) * readSamples);
        }
        keep.sweep.run(plane, lines, read.width(), channels, radii + size_t(top) * width + read.left,
                       size_t(width), from, to, method, scale, reach, blurred);
        for (int y = top; y < top + lines; ++y)
            storePlane(blurred + size_t(y - top) * usedSamples, usedSamples, image->pixelAt(used.left, y));
        top += lines;
    }
}

// A strip of columns [left, left + lines) whose kernels all reach no
// further than taps, summed tap by tap down the columns as they lie: no
// rows and columns exchanged, nor prefix sums made. The samples are
// quantised as the exchange quantises them, the rows past the read ones
// repeat its edge rows as a line's edges repeat, and the sums go in the
// same order: each pixel comes out as it would along an exchanged column.
template <typename T>
void blurColumnsByTaps(FlexImage<T>* image, float const* radii, BlurMethod method, double scale, int taps, int left,
                       int lines, PixelRect used, PixelRect read, BlurScratch& keep)
{
    int const channels = image->channels;
    int const rows = read.height() + 2 * taps;
    size_t const channelSize = size_t(rows) * lines;
    float* const levels = keep.levels.atLeast(channelSize * channels);
    for (int r = 0; r < rows; ++r) {
        T const* pixels = image->pixelAt(left, std::clamp(read.top - taps + r, read.top, read.bottom - 1));
        float* const row = levels + size_t(r) * lines;
        spreadLevels(pixels, lines, channels, quantisedInLevels<T>(scale), row, channelSize);
    }
    float* const made = keep.blurred.atLeast(size_t(lines) * channels);
    for (int y = used.top; y < used.bottom; ++y) {
        float const* const rowRadii = radii + size_t(y) * image->width + left;
        // The row's own widest kernel sets how many taps its sums take:
        // often fewer than the strip's, as the radii grow from the middle.
        int const rowTaps = tapsFor(float(reachOfLargest(rowRadii, size_t(lines))));
        keep.taps.settle(method, rowRadii, lines);
        keep.taps.sum(method, rowTaps, levels + size_t(y - read.top + taps - rowTaps) * lines, channelSize,
                      size_t(lines), lines, channels, made);
        storePlane(made, size_t(lines) * channels, image->pixelAt(left, y));
    }
}

// The largest radius of a strip of columns' used pixels, as the taps that
// sum them all (0 for prefix sums).
int tapsOfStrip(float const* radii, size_t stride, int left, int lines, PixelRect used)
{
    return tapsFor(float(reachOfLargestIn(radii, stride, PixelRect{left, used.top, left + lines, used.bottom})));
}

// Strips of narrow kernels side by side are summed down their columns
// together, up to this many columns: the longer the rows, the fewer the
// steps around each; and the plane of their samples stays small.
constexpr int tapStripLines = 2 * varyingStripLines;

// Where the strips that take the same taps as the strip [left, left +
// lines) end, beside it: at most tapStripLines columns from left.
int narrowStripsEnd(float const* radii, size_t stride, int left, int lines, int taps, PixelRect used)
{
    int const limit = std::min(used.right, left + tapStripLines);
    int right = left + lines;
    while (right < limit) {
        int const next = std::min(varyingStripLines, limit - right);
        if (tapsOfStrip(radii, stride, right, next, used) != taps)
            break;
        right += next;
    }
    return right;
}

// Columns: a strip of columns, and its radii, with rows and columns
// exchanged, so that each column is a line; or, where every kernel of the
// strip is narrow, tap by tap as they lie.
template <typename T>
void blurVaryingColumnsByStrips(FlexImage<T>* image, float const* radii, BlurMethod method, double scale, int reach,
                                PixelRect used, PixelRect read, BlurScratch& keep)
{
    int const width = image->width;
    int const channels = image->channels;
    size_t const imageStride = size_t(width) * channels;
    size_t const lineSamples = size_t(read.height()) * channels;
    size_t const madeSamples = size_t(used.height()) * channels;
    int32_t* plane = keep.wholePlane.atLeast(lineSamples * varyingStripLines);
    float* blurred = keep.blurred.atLeast(madeSamples * varyingStripLines);
    float* columnRadii = keep.radii.atLeast(size_t(read.height()) * varyingStripLines);
    for (int left = used.left; left < used.right;) {
        int const lines = std::min(varyingStripLines, used.right - left);
        if (int const taps = tapsOfStrip(radii, size_t(width), left, lines, used)) {
            int const right = narrowStripsEnd(radii, size_t(width), left, lines, taps, used);
            blurColumnsByTaps(image, radii, method, scale, taps, left, right - left, used, read, keep);
            left = right;
            continue;
        }
        exchangeRowsAndColumns(image->pixelAt(left, read.top), imageStride, read.height(), lines, channels, plane,
                               lineSamples, quantisedBy<int32_t>(scale));
        exchangeRowsAndColumns(radii + size_t(read.top) * width + left, size_t(width), read.height(), lines, 1,
                               columnRadii, size_t(read.height()), unchanged());
        keep.sweep.run(plane, lines, read.height(), channels, columnRadii, size_t(read.height()),
                       used.top - read.top, used.bottom - read.top, method, scale, reach, blurred);
        exchangeRowsAndColumns(blurred, madeSamples, lines, used.height(), channels, image->pixelAt(left, used.top),
                               imageStride, storedAs<T>());
        left += lines;
    }
}

template <typename T>
void runningVariableBlur(FlexImage<T>* image, float const* radii, BlurMethod method, float largestRadius)
{
    PixelRect const used = UsedRegion::of(image->width, image->height);
    if (used.width() <= 0 || used.height() <= 0)
        return;
    // Past a million pixels the scale has long reached its floor.
    double const scale = scaleFor(largestRadius > 0.0f ? int(std::ceil(std::min(largestRadius, 1.0e6f))) : 0);
    // The columns pass makes the used pixels, and reads as far up and down
    // as their kernels reach; the rows pass makes the used columns of those
    // rows, and reads as far across as the kernels of those rows reach.
    size_t const stride = size_t(image->width);
    int const reachDown = reachOfLargestIn(radii, stride, used);
    PixelRect const rows = rowsAround(used, reachDown, image->width, image->height);
    int const reachAcross = reachOfLargestIn(radii, stride, rows);
    PixelRect read = grownWithin(used, reachAcross, image->width, image->height);
    read.top = rows.top;
    read.bottom = rows.bottom;
    auto const lease = blurScratchPool().lease();
    blurVaryingRowsByStrips(image, radii, method, scale, reachAcross, used, read, *lease);
    blurVaryingColumnsByStrips(image, radii, method, scale, reachDown, used, read, *lease);
}

PixelRect varyingBlurRadiiRows(float const* radii, int width, int height)
{
    PixelRect const used = UsedRegion::of(width, height);
    if (used.width() <= 0 || used.height() <= 0)
        return used;
    return rowsAround(used, reachOfLargestIn(radii, size_t(width), used), width, height);
}

template <typename T>
void circleBlurBySpans(FlexImage<T>* image, float x, int r)
{
    if (image->width <= 0 || image->height <= 0 || r <= 0)
        return;
    Disc const disc(x, r);
    RowSums const rows(*image);
    size_t const rowSamples = size_t(image->width) * image->channels;
    std::vector<double> total(rowSamples);
    double const toSample = disc.toSample(rows);
    PixelRect const used = UsedRegion::of(image->width, image->height);
    for (int y = used.top; y < used.bottom; ++y) {
        std::fill(total.begin(), total.end(), 0.0);
        disc.addRow(rows, y, total.data());
        T* out = image->pixelAt(0, y);
        for (size_t i = 0; i < rowSamples; ++i)
            out[i] = FlexImage<T>::storeSample(clamp255(float(total[i] * toSample)));
    }
}

template <typename T>
void variableCircleBlur(FlexImage<T>* image, float const* radii)
{
    if (image->width <= 0 || image->height <= 0)
        return;
    RowSums const rows(*image);
    PixelRect const used = UsedRegion::of(image->width, image->height);
    std::vector<float> out(size_t(used.width()) * used.height() * image->channels);
    for (int y = used.top; y < used.bottom; ++y)
        for (int px = used.left; px < used.right; ++px) {
            size_t const at = size_t(y) * image->width + px;
            float* o = &out[(size_t(y - used.top) * used.width() + (px - used.left)) * image->channels];
            float const radius = radii[at];
            if (!(radius > 0.0f)) {
                for (int c = 0; c < image->channels; ++c)
                    o[c] = float(image->pixels[at * image->channels + c]);
                continue;
            }
            Disc(radius, int(std::ceil(radius))).blurAt(rows, px, y, o);
        }
    storeBlock(out.data(), used, image);
}

template void runningSeparableBlur(FlexImage<unsigned char>*, PiecewiseKernel const&);
template void runningSeparableBlur(FlexImage<float>*, PiecewiseKernel const&);
template void runningVariableBlur(FlexImage<unsigned char>*, float const*, BlurMethod, float);
template void runningVariableBlur(FlexImage<float>*, float const*, BlurMethod, float);
template void circleBlurBySpans(FlexImage<unsigned char>*, float, int);
template void circleBlurBySpans(FlexImage<float>*, float, int);
template void variableCircleBlur(FlexImage<unsigned char>*, float const*);
template void variableCircleBlur(FlexImage<float>*, float const*);
