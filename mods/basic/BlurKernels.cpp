#include "mods/basic/BlurKernels.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "imaging/WidestVectors.h"
#include "mods/UsedRegion.h"
#include "mods/common/Ramps.h"
#include "mods/common/SampleLoop.h"

namespace {

void normalise(GrowArray<float>* kernel)
{
    float sum = 0.0f;
    for (float w : *kernel)
        sum += w;
    if (sum == 0.0f)
        return;
    for (float& w : *kernel)
        w /= sum;
}

// A weight of 1 inside extent x, 0 beyond x + 1, linear between.
float softStep(float distance, float x)
{
    if (distance < x)
        return 1.0f;
    if (distance >= x + 1.0f)
        return 0.0f;
    return (x + 1.0f) - distance;
}

void resize(GrowArray<float>* out, int count)
{
    out->count = 0;
    for (int i = 0; i < count; ++i)
        out->add(0.0f);
}

// A row of samples with r repeated edge pixels on either side, so that the
// horizontal pass reads without bounds checks.
template <typename T>
void padRow(T const* row, int width, int channels, int r, float* padded)
{
    float* const middle = padded + size_t(r) * channels;
    widestLoop(size_t(width) * channels, [row, middle](size_t i) { middle[i] = float(row[i]); });
    float* const lastPixel = middle + size_t(width - 1) * channels;
    for (int x = 1; x <= r; ++x) {
        std::copy(middle, middle + channels, middle - size_t(x) * channels);
        std::copy(lastPixel, lastPixel + channels, lastPixel + size_t(x) * channels);
    }
}

// out[i] = sum over k of kernel[k] * taps[k][i] for a symmetric kernel of
// 2r + 1 taps: mirrored taps share one multiply, the outermost pair first,
// then the centre. Each tap is a contiguous run, so the loops vectorise; the
// order depends only on the kernel, so every tiling adds the same way.
WIDEST_VECTORS void accumulateSymmetric(float const* const* taps, float const* kernel, int r, size_t count,
                                        float* out)
{
    float const centre = kernel[r];
    float const* middle = taps[r];
    if (r == 0) {
        for (size_t i = 0; i < count; ++i)
            out[i] = centre * middle[i];
        return;
    }
    // The outermost pair's products are stored, not added to zeros: one
    // pass fewer over out, and the same sums.
    for (size_t i = 0; i < count; ++i)
        out[i] = kernel[0] * (taps[0][i] + taps[2 * r][i]);
    for (int k = 1; k < r; ++k) {
        float const w = kernel[k];
        float const* left = taps[k];
        float const* right = taps[2 * r - k];
        for (size_t i = 0; i < count; ++i)
            out[i] += w * (left[i] + right[i]);
    }
    for (size_t i = 0; i < count; ++i)
        out[i] += centre * middle[i];
}

template <typename T>
void storeClamped(float const* values, size_t count, T* out)
{
    widestLoop(count, [values, out](size_t i) { out[i] = FlexImage<T>::storeSample(clamp255(values[i])); });
}

} // namespace

void makeGaussKernelForRadius(float radius, GrowArray<float>* out)
{
    int const n = int(std::ceil(radius));
    resize(out, 2 * n + 1);
    float outerSum = 0.0f;
    for (int k = n; k >= 1; --k) {
        float const w = ease(1.0f - float(k) / (radius + 1.0f));
        (*out)[n - k] = w;
        (*out)[n + k] = w;
        outerSum += w;
    }
    (*out)[n] = 1.0f;
    float const total = 2.0f * outerSum + 1.0f;
    for (float& w : *out)
        w /= total;
}

void makeBoxKernelForRadius(float radius, GrowArray<float>* out)
{
    int const n = int(std::ceil(radius));
    resize(out, 2 * n + 1);
    float const endWeight = radius - float(n) + 1.0f;
    float const total = 2.0f * endWeight + float(2 * n - 1);
    for (float& w : *out)
        w = 1.0f / total;
    (*out)[0] = endWeight / total;
    (*out)[2 * n] = endWeight / total;
}

void makeBlurKernel(BlurMethod method, float x, int r, GrowArray<float>* out)
{
    resize(out, 2 * r + 1);
    for (int i = -r; i <= r; ++i) {
        float const t = float(std::abs(i));
        float w;
        if (method == BlurGaussian) {
            float const u = std::fabs(t / (x + 1.0f));
            w = u > 1.0f ? 0.0f : ease(1.0f - u);
        } else {
            w = softStep(t, x);
        }
        (*out)[i + r] = w;
    }
    normalise(out);
}

void makeCircleKernel(float x, int r, GrowArray<float>* out)
{
    int const side = 2 * r + 1;
    resize(out, side * side);
    for (int dy = -r; dy <= r; ++dy)
        for (int dx = -r; dx <= r; ++dx)
            (*out)[(dy + r) * side + dx + r] = softStep(std::sqrt(float(dx * dx + dy * dy)), x);
    normalise(out);
}

// A blurred sample mixed with the original one, as the image stores it.
template <typename T>
inline T mixed(T original, T blurred, float mix)
{
    return FlexImage<T>::storeSample(clamp255(float(original) * (1.0f - mix) + float(blurred) * mix));
}

// The blurred samples into out, each stored as the image stores samples and
// then mixed with the sample it replaces.
template <typename T>
void storeMixed(float const* values, size_t count, float mix, T* out)
{
    widestLoop(count, [values, mix, out](size_t i) {
        out[i] = mixed(out[i], FlexImage<T>::storeSample(clamp255(values[i])), mix);
    });
}

template <typename T>
void separableBlur(FlexImage<T>* image, float const* kernel, int r, float mix)
{
    int const width = image->width;
    int const height = image->height;
    int const channels = image->channels;
    PixelRect const used = UsedRegion::of(width, height);
    if (used.width() <= 0 || used.height() <= 0)
        return;
    // Only the used part is blurred: the rows pass makes its columns in the
    // rows the columns pass reads (r more above and below).
    PixelRect const read = grownWithin(used, r, width, height);
    size_t const usedSamples = size_t(used.width()) * channels;
    size_t const skipped = size_t(used.left) * channels;
    std::vector<float> padded(size_t(width + 2 * r) * channels);
    std::vector<float> sums(usedSamples);
    std::vector<float const*> taps(2 * r + 1);
    // Rows: the taps are shifted views of the padded row.
    for (int k = 0; k <= 2 * r; ++k)
        taps[k] = padded.data() + skipped + size_t(k) * channels;
    std::vector<float> rows(usedSamples * size_t(read.height()));
    for (int y = read.top; y < read.bottom; ++y) {
        padRow(image->pixelAt(0, y), width, channels, r, padded.data());
        accumulateSymmetric(taps.data(), kernel, r, usedSamples, sums.data());
        // Stored as the image stores samples, so 8-bit blurs truncate between passes.
        float* out = &rows[size_t(y - read.top) * usedSamples];
        float const* rowSums = sums.data();
        widestLoop(usedSamples,
                   [out, rowSums](size_t i) { out[i] = float(FlexImage<T>::storeSample(clamp255(rowSums[i]))); });
    }
    // Columns: the taps are rows above and below (edges repeating), so the
    // pass walks rows instead of striding down each column. It runs in strips
    // of columns narrow enough that all the taps of a strip stay in cache.
    // The image still holds the samples before the blur, which the mix
    // takes as each is replaced.
    size_t const strip = 1024;
    for (size_t first = 0; first < usedSamples; first += strip) {
        size_t const count = std::min(strip, usedSamples - first);
        for (int y = used.top; y < used.bottom; ++y) {
            for (int k = 0; k <= 2 * r; ++k)
                taps[k] = &rows[size_t(std::clamp(y + k - r, 0, height - 1) - read.top) * usedSamples + first];
            accumulateSymmetric(taps.data(), kernel, r, count, sums.data());
            T* const out = image->pixelAt(used.left, y) + first;
            if (mix < 1.0f)
                storeMixed(sums.data(), count, mix, out);
            else
                storeClamped(sums.data(), count, out);
        }
    }
}

template <typename T>
void convolveClamped(FlexImage<T>* image, float const* kernel, int r)
{
    if (image->width <= 0 || image->height <= 0)
        return;
    int const side = 2 * r + 1;
    std::vector<float> sums(size_t(image->width) * image->channels);
    FlexImage<T> source;
    source.copyFromImage(*image, true);
    for (int y = 0; y < image->height; ++y) {
        source.convolveRow(kernel, side, side, y, sums.data());
        storeClamped(sums.data(), sums.size(), image->pixelAt(0, y));
    }
}

template <typename T>
void blendWithOriginal(FlexImage<T>* out, FlexImage<T> const& orig, float mix)
{
    forEachUsedRow(out, [&orig, mix, channels = out->channels, top = UsedRegion::of(out->width, out->height).top](
                            int y, int, T* blurred, int width) {
        T const* original = orig.pixelAt(0, y - top);
        widestLoop(size_t(width) * channels,
                   [blurred, original, mix](size_t i) { blurred[i] = mixed(original[i], blurred[i], mix); });
    });
}

template void separableBlur(FlexImage<unsigned char>*, float const*, int, float);
template void separableBlur(FlexImage<float>*, float const*, int, float);
template void convolveClamped(FlexImage<unsigned char>*, float const*, int);
template void convolveClamped(FlexImage<float>*, float const*, int);
template void blendWithOriginal(FlexImage<unsigned char>*, FlexImage<unsigned char> const&, float);
template void blendWithOriginal(FlexImage<float>*, FlexImage<float> const&, float);
