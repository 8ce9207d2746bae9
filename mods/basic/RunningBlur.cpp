#include "mods/basic/RunningBlur.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "imaging/WidestVectors.h"
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
// 255 x 2^15 < 2^24), rounded to nearest. Samples outside 0..255 count as
// the nearest end.
inline float quantised(float v, double scale)
{
    return float(int(double(clamp255(v)) * scale + 0.5));
}

// Scratch planes kept per thread: a blur of a large tile needs tens of
// megabytes, and fresh pages cost more to fault in than the blur itself.
template <typename Value>
Value* scratch(std::vector<Value>& keep, size_t count)
{
    if (keep.size() < count)
        keep.resize(count);
    return keep.data();
}

double sumOfOffsets(int m) // 1 + 2 + ... + m
{
    return double(m) * double(m + 1) * 0.5;
}

double sumOfSquares(int m) // 1 + 4 + ... + m^2
{
    return double(m) * double(m + 1) * double(2 * m + 1) / 6.0;
}

// ease(1 - t / (extent + 1)) for t in -reach..reach: 1 - 2 (t v)^2 up to
// half way, 2 (1 - |t| v)^2 beyond (v = 1 / (extent + 1)).
PiecewiseKernel gaussianPieces(double extent, int reach)
{
    PiecewiseKernel k;
    double const v = 1.0 / (extent + 1.0);
    int const inner = std::min(reach, int(std::floor((extent + 1.0) * 0.5)));
    k.pieces[k.count++] = KernelPiece{-inner, inner, 1.0, 0.0, -2.0 * v * v};
    if (reach > inner) {
        k.pieces[k.count++] = KernelPiece{inner + 1, reach, 2.0, -4.0 * v, 2.0 * v * v};
        k.pieces[k.count++] = KernelPiece{-reach, -inner - 1, 2.0, 4.0 * v, 2.0 * v * v};
    }
    double outer = 0.0;
    if (reach > inner)
        outer = 2.0 * (double(reach - inner) - 2.0 * v * (sumOfOffsets(reach) - sumOfOffsets(inner)) +
                       v * v * (sumOfSquares(reach) - sumOfSquares(inner)));
    k.norm = 1.0 + 2.0 * ((double(inner) - 2.0 * v * v * sumOfSquares(inner)) + outer);
    k.reach = reach;
    return k;
}

// Weight 1 within the extent, (extent + 1) - t for the one offset beyond.
PiecewiseKernel boxPieces(double extent, int reach)
{
    PiecewiseKernel k;
    double const end = extent + 1.0 - double(reach);
    k.pieces[k.count++] = KernelPiece{-(reach - 1), reach - 1, 1.0, 0.0, 0.0};
    k.pieces[k.count++] = KernelPiece{reach, reach, end, 0.0, 0.0};
    k.pieces[k.count++] = KernelPiece{-reach, -reach, end, 0.0, 0.0};
    k.norm = double(2 * reach - 1) + 2.0 * end;
    k.reach = reach;
    return k;
}

PiecewiseKernel identityKernel()
{
    PiecewiseKernel k;
    k.pieces[k.count++] = KernelPiece{0, 0, 1.0, 0.0, 0.0};
    return k;
}

bool isIdentity(PiecewiseKernel const& k)
{
    return k.reach == 0;
}

// --- one pass over rows, the same kernel everywhere ----------------------

// Each output row is the kernel over the rows around it (edge rows
// repeating), every column at once. in holds whole numbers; out receives
// the weighted sums divided by the norm and by scale. The piece count is a
// template argument so that one pass over a row updates every piece's sums
// and combines them, with the loop over the row vectorised.
template <int Pieces>
WIDEST_VECTORS void sweepRows(float const* in, size_t rowLength, int rows, PiecewiseKernel const& k, double scale,
                              float* out)
{
    static thread_local std::vector<double> keep;
    double* sums = scratch(keep, size_t(3 * Pieces) * rowLength);
    std::fill(sums, sums + size_t(3 * Pieces) * rowLength, 0.0);
    auto const rowAt = [&](int y) { return in + size_t(std::clamp(y, 0, rows - 1)) * rowLength; };
    for (int p = 0; p < Pieces; ++p) {
        double* s0 = sums + size_t(3 * p) * rowLength;
        double* s1 = s0 + rowLength;
        double* s2 = s1 + rowLength;
        for (int i = k.pieces[p].lo; i <= k.pieces[p].hi; ++i) {
            float const* row = rowAt(i);
            double const di = i;
            for (size_t x = 0; x < rowLength; ++x) {
                double const f = row[x];
                s0[x] += f;
                s1[x] += di * f;
                s2[x] += di * di * f;
            }
        }
    }
    double const toSample = 1.0 / (k.norm * scale);
    double a[Pieces], b[Pieces], c[Pieces], lo[Pieces], in1[Pieces];
    for (int p = 0; p < Pieces; ++p) {
        a[p] = k.pieces[p].a * toSample;
        b[p] = k.pieces[p].b * toSample;
        c[p] = k.pieces[p].c * toSample;
        lo[p] = k.pieces[p].lo;
        in1[p] = k.pieces[p].hi + 1;
    }
    for (int y = 0; y < rows; ++y) {
        // Each window moves down one row: its top row leaves at offset lo, a
        // new row enters at hi + 1, and every offset drops by one.
        float const* leaving[Pieces];
        float const* entering[Pieces];
        for (int p = 0; p < Pieces; ++p) {
            leaving[p] = rowAt(y - 1 + k.pieces[p].lo);
            entering[p] = rowAt(y + k.pieces[p].hi);
        }
        float* o = out + size_t(y) * rowLength;
        if (y > 0)
            for (int p = 0; p < Pieces; ++p) {
                double* s0 = sums + size_t(3 * p) * rowLength;
                double* s1 = s0 + rowLength;
                double* s2 = s1 + rowLength;
                float const* fo = leaving[p];
                float const* fi = entering[p];
                double const l = lo[p];
                double const e = in1[p];
                for (size_t x = 0; x < rowLength; ++x) {
                    double const n0 = s0[x] - double(fo[x]) + double(fi[x]);
                    double const t1 = s1[x] - l * double(fo[x]) + e * double(fi[x]);
                    double const t2 = s2[x] - l * l * double(fo[x]) + e * e * double(fi[x]);
                    s0[x] = n0;
                    s1[x] = t1 - n0;
                    s2[x] = t2 - 2.0 * t1 + n0;
                }
            }
        for (size_t x = 0; x < rowLength; ++x) {
            double total = 0.0;
            for (int p = 0; p < Pieces; ++p) {
                double const* s0 = sums + size_t(3 * p) * rowLength;
                total += a[p] * s0[x] + b[p] * s0[x + rowLength] + c[p] * s0[x + 2 * rowLength];
            }
            o[x] = float(total);
        }
    }
}

void sweepRows(float const* in, size_t rowLength, int rows, PiecewiseKernel const& k, double scale, float* out)
{
    if (k.count == 3)
        sweepRows<3>(in, rowLength, rows, k, scale, out);
    else
        sweepRows<1>(in, rowLength, rows, k, scale, out);
}

// Rows and columns are exchanged in blocks of 32 x 32 pixels, so that both
// the reads and the writes of a block stay in cache.
constexpr int transposeBlock = 32;

// Every sample quantised, in one plain loop.
template <typename T>
void quantisePlane(T const* samples, size_t count, double scale, float* out)
{
    for (size_t i = 0; i < count; ++i)
        out[i] = quantised(float(samples[i]), scale);
}

// Every sample stored as the image stores samples (8-bit blurs truncate
// between the passes), then quantised for the next pass, in place.
template <typename T>
void storeAndQuantise(float* samples, size_t count, double scale)
{
    for (size_t i = 0; i < count; ++i)
        samples[i] = quantised(float(FlexImage<T>::storeSample(clamp255(samples[i]))), scale);
}

// A plane of rows x length pixels with rows and columns exchanged: pixel x
// of row y goes to row x, position y. Channels is the channel count, or 0
// for any (anyChannels).
template <int Channels>
void exchangeRowsAndColumns(float const* in, int rows, int length, int anyChannels, float* out)
{
    int const channels = Channels > 0 ? Channels : anyChannels;
    for (int y0 = 0; y0 < rows; y0 += transposeBlock)
        for (int x0 = 0; x0 < length; x0 += transposeBlock) {
            int const y1 = std::min(y0 + transposeBlock, rows);
            int const x1 = std::min(x0 + transposeBlock, length);
            for (int y = y0; y < y1; ++y) {
                float const* from = in + size_t(y) * length * channels;
                for (int x = x0; x < x1; ++x)
                    for (int c = 0; c < channels; ++c)
                        out[(size_t(x) * rows + y) * channels + c] = from[size_t(x) * channels + c];
            }
        }
}

void exchangeRowsAndColumns(float const* in, int rows, int length, int channels, float* out)
{
    if (channels == 3)
        exchangeRowsAndColumns<3>(in, rows, length, channels, out);
    else if (channels == 4)
        exchangeRowsAndColumns<4>(in, rows, length, channels, out);
    else
        exchangeRowsAndColumns<0>(in, rows, length, channels, out);
}

// --- one pass along lines, each position with its own kernel -------------

// The running sums of one piece of one line: sums of i^k f over a window of
// offsets lo..hi around the current position, per channel.
struct Window
{
    int lo = 0;
    int hi = -1; // empty
    double s[4][3] = {};
};

// Kernels up to this reach are summed tap by tap: for them that is
// cheaper than keeping windows.
constexpr int directVaryingReach = 6;

// Slides the windows of a line along it, each position taking the kernel of
// its own radius. Channels is the channel count, or 0 for any.
template <int Channels>
class VaryingLine
{
public:
    VaryingLine(float const* samples, int length, int anyChannels, double scale)
        : samples(samples), length(length), channels(Channels > 0 ? Channels : anyChannels), scale(scale)
    {
    }

    // The blurred samples at position x for kernel k.
    void blurAt(int x, PiecewiseKernel const& k, float* out)
    {
        if (k.reach <= directVaryingReach) {
            // The middle of the picture is blurred little or not at all: no
            // window to keep there.
            sumDirectly(x, k, out);
            valid = false;
            return;
        }
        if (!valid || k.count != pieceCount) {
            rebuild(x, k);
        } else {
            for (int p = 0; p < pieceCount; ++p)
                follow(windows[p], x, k.pieces[p]);
        }
        position = x;
        double const toSample = 1.0 / (k.norm * scale);
        for (int c = 0; c < channels; ++c) {
            double total = 0.0;
            for (int p = 0; p < pieceCount; ++p) {
                KernelPiece const& piece = k.pieces[p];
                total += piece.a * windows[p].s[c][0] + piece.b * windows[p].s[c][1] + piece.c * windows[p].s[c][2];
            }
            out[c] = float(total * toSample);
        }
    }

private:
    float const* samples;
    int length;
    int channels;
    double scale;
    Window windows[3];

    void sumDirectly(int x, PiecewiseKernel const& k, float* out) const
    {
        double totals[4] = {};
        for (int p = 0; p < k.count; ++p) {
            KernelPiece const& piece = k.pieces[p];
            for (int i = piece.lo; i <= piece.hi; ++i) {
                double const w = piece.a + piece.b * i + piece.c * double(i) * double(i);
                float const* sample = samples + size_t(std::clamp(x + i, 0, length - 1)) * channels;
                for (int c = 0; c < channels; ++c)
                    totals[c] += w * double(sample[c]);
            }
        }
        double const toSample = 1.0 / (k.norm * scale);
        for (int c = 0; c < channels; ++c)
            out[c] = float(totals[c] * toSample);
    }
    int pieceCount = 0;
    int position = 0;
    bool valid = false;

    void add(Window& w, int x, int offset, double sign)
    {
        float const* p = samples + size_t(std::clamp(x + offset, 0, length - 1)) * channels;
        double const i = offset;
        for (int c = 0; c < channels; ++c) {
            double const f = sign * double(p[c]);
            w.s[c][0] += f;
            w.s[c][1] += i * f;
            w.s[c][2] += i * i * f;
        }
    }

    void fill(Window& w, int x, KernelPiece const& piece)
    {
        w = Window();
        w.lo = piece.lo;
        w.hi = piece.hi;
        for (int i = piece.lo; i <= piece.hi; ++i)
            add(w, x, i, 1.0);
    }

    void rebuild(int x, PiecewiseKernel const& k)
    {
        pieceCount = k.count;
        for (int p = 0; p < pieceCount; ++p)
            fill(windows[p], x, k.pieces[p]);
        valid = true;
    }

    // Moves a window from the previous position to x and to the piece's
    // offsets, one sample at each end at a time.
    void follow(Window& w, int x, KernelPiece const& piece)
    {
        int const step = x - position;
        bool const overlaps = w.lo <= w.hi && piece.lo <= piece.hi && w.lo - step <= piece.hi &&
                              piece.lo <= w.hi - step;
        if (step != 1 || !overlaps) {
            fill(w, x, piece);
            return;
        }
        // The same samples, one offset nearer: i becomes i - 1.
        for (int c = 0; c < channels; ++c) {
            double* s = w.s[c];
            s[2] = s[2] - 2.0 * s[1] + s[0];
            s[1] = s[1] - s[0];
        }
        w.lo -= 1;
        w.hi -= 1;
        while (w.lo < piece.lo)
            add(w, x, w.lo++, -1.0);
        while (w.lo > piece.lo)
            add(w, x, --w.lo, 1.0);
        while (w.hi < piece.hi)
            add(w, x, ++w.hi, 1.0);
        while (w.hi > piece.hi)
            add(w, x, w.hi--, -1.0);
    }
};

// Blurs every line of a plane of lines x positions x channels, each position
// with the kernel of its radius (radii[line * length + position]).
template <int Channels>
void sweepVaryingLines(float const* in, int lines, int length, int channels, float const* radii, BlurMethod method,
                       double scale, float* out)
{
    for (int line = 0; line < lines; ++line) {
        size_t const first = size_t(line) * size_t(length);
        VaryingLine<Channels> sweep(in + first * channels, length, channels, scale);
        for (int x = 0; x < length; ++x)
            sweep.blurAt(x, PiecewiseKernel::forRadius(method, radii[first + x]), out + (first + x) * channels);
    }
}

void sweepVarying(float const* in, int lines, int length, int channels, float const* radii, BlurMethod method,
                  double scale, float* out)
{
    if (channels == 3)
        sweepVaryingLines<3>(in, lines, length, channels, radii, method, scale, out);
    else
        sweepVaryingLines<0>(in, lines, length, channels, radii, method, scale, out);
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
    for (size_t i = 0; i < count; ++i)
        out[i] = FlexImage<T>::storeSample(clamp255(values[i]));
}

} // namespace

PiecewiseKernel PiecewiseKernel::forBlur(BlurMethod method, float x, int r)
{
    if (r <= 0)
        return identityKernel();
    return method == BlurBox ? boxPieces(x, r) : gaussianPieces(x, r);
}

PiecewiseKernel PiecewiseKernel::forRadius(BlurMethod method, float radius)
{
    if (!(radius > 0.0f))
        return identityKernel();
    return forBlur(method, radius, int(std::ceil(radius)));
}

template <typename T>
void runningSeparableBlur(FlexImage<T>* image, PiecewiseKernel const& kernel)
{
    int const width = image->width;
    int const height = image->height;
    int const channels = image->channels;
    if (width <= 0 || height <= 0 || isIdentity(kernel))
        return;
    double const scale = scaleFor(kernel.reach);
    size_t const samples = image->sampleCount();
    static thread_local std::vector<float> keepPlane;
    static thread_local std::vector<float> keepBlurred;
    float* quantisedPlane = scratch(keepPlane, samples);
    float* blurred = scratch(keepBlurred, samples);
    // Rows: with rows and columns exchanged, each row of the picture is a
    // column of the plane, and the pass is a sweep down the plane's rows.
    quantisePlane(image->pixels, samples, scale, blurred);
    exchangeRowsAndColumns(blurred, height, width, channels, quantisedPlane);
    sweepRows(quantisedPlane, size_t(height) * channels, width, kernel, scale, blurred);
    // Stored as the image stores samples, so 8-bit blurs truncate between
    // passes, and exchanged back.
    storeAndQuantise<T>(blurred, samples, scale);
    exchangeRowsAndColumns(blurred, width, height, channels, quantisedPlane);
    sweepRows(quantisedPlane, size_t(width) * channels, height, kernel, scale, blurred);
    storePlane(blurred, samples, image->pixels);
}

template <typename T>
void runningVariableBlur(FlexImage<T>* image, float const* radii, BlurMethod method, float largestRadius)
{
    int const width = image->width;
    int const height = image->height;
    int const channels = image->channels;
    if (width <= 0 || height <= 0)
        return;
    // Past a million pixels the scale has long reached its floor.
    double const scale = scaleFor(largestRadius > 0.0f ? int(std::ceil(std::min(largestRadius, 1.0e6f))) : 0);
    size_t const samples = image->sampleCount();
    std::vector<float> plane(samples);
    std::vector<float> blurred(samples);
    quantisePlane(image->pixels, samples, scale, plane.data());
    sweepVarying(plane.data(), height, width, channels, radii, method, scale, blurred.data());
    // Columns: rows and columns exchanged, radii too, the rows' results
    // stored as the image stores samples.
    std::vector<float> transposedRadii(size_t(width) * height);
    exchangeRowsAndColumns(radii, height, width, 1, transposedRadii.data());
    storeAndQuantise<T>(blurred.data(), samples, scale);
    exchangeRowsAndColumns(blurred.data(), height, width, channels, plane.data());
    sweepVarying(plane.data(), width, height, channels, transposedRadii.data(), method, scale, blurred.data());
    exchangeRowsAndColumns(blurred.data(), width, height, channels, plane.data());
    storePlane(plane.data(), samples, image->pixels);
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
    for (int y = 0; y < image->height; ++y) {
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
    std::vector<float> out(image->sampleCount());
    for (int y = 0; y < image->height; ++y)
        for (int px = 0; px < image->width; ++px) {
            size_t const at = size_t(y) * image->width + px;
            float* o = &out[at * image->channels];
            float const radius = radii[at];
            if (!(radius > 0.0f)) {
                for (int c = 0; c < image->channels; ++c)
                    o[c] = float(image->pixels[at * image->channels + c]);
                continue;
            }
            Disc(radius, int(std::ceil(radius))).blurAt(rows, px, y, o);
        }
    storePlane(out.data(), out.size(), image->pixels);
}

template void runningSeparableBlur(FlexImage<unsigned char>*, PiecewiseKernel const&);
template void runningSeparableBlur(FlexImage<float>*, PiecewiseKernel const&);
template void runningVariableBlur(FlexImage<unsigned char>*, float const*, BlurMethod, float);
template void runningVariableBlur(FlexImage<float>*, float const*, BlurMethod, float);
template void circleBlurBySpans(FlexImage<unsigned char>*, float, int);
template void circleBlurBySpans(FlexImage<float>*, float, int);
template void variableCircleBlur(FlexImage<unsigned char>*, float const*);
template void variableCircleBlur(FlexImage<float>*, float const*);
