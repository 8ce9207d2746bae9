#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "core/GrowString.h"
#include "core/SampleMemory.h"
#include "imaging/Luminance.h"

// A float sample as a byte: truncated toward zero with only the low 8 bits
// kept (so 256 gives 0 and -1 gives 255: filters keep samples in 0..255, and
// the store stays branch-free). Values beyond the int range, and NaN, are
// pinned into it first (NaN to the low end), so that the conversion is
// defined for every float. Plain comparisons, not fmin and fmax (calls into
// the maths library), let a loop of stores vectorise.
inline unsigned char byteFromSample(float v)
{
    constexpr float low = -2147483520.0f;
    constexpr float high = 2147483520.0f;
    float const pinned = v > low ? (v < high ? v : high) : low;
    return static_cast<unsigned char>(int(pinned));
}

// Platform data tied to an image; deleted with it.
class FlexImageAttachment
{
public:
    virtual ~FlexImageAttachment() = default;
};

// Interleaved raster of T samples (unsigned char or float), row-major with no
// row padding. Both sample types use the 0..255 scale: float images are not
// normalised. Besides pixels an image carries the picture's frame margins and
// its render scale, which the renderer hands to filters per tile.
template <typename T>
class FlexImage
{
public:
    using Sample = T;

    T* pixels = nullptr;
    int32_t width = 0;
    int32_t height = 0;
    int32_t channels = 3;
    bool ownsPixels = true;
    GrowString label;
    int32_t marginLeft = 0;
    int32_t marginRight = 0;
    int32_t marginTop = 0;
    int32_t marginBottom = 0;
    float scale = 1.0f;
    FlexImageAttachment* attachment = nullptr;

    FlexImage() = default;
    FlexImage(int32_t w, int32_t h, int32_t c) { reshape(w, h, c); }
    FlexImage(FlexImage const&) = delete;
    FlexImage& operator=(FlexImage const&) = delete;
    ~FlexImage() { clear(); }

    size_t sampleCount() const { return size_t(std::max(width, 0)) * size_t(std::max(height, 0)) * size_t(channels); }
    T* pixelAt(int32_t x, int32_t y) { return pixels + (size_t(y) * size_t(width) + size_t(x)) * size_t(channels); }
    T const* pixelAt(int32_t x, int32_t y) const { return pixels + (size_t(y) * size_t(width) + size_t(x)) * size_t(channels); }

    // Frees the pixels (when owned) and the attachment.
    void clear()
    {
        if (ownsPixels)
            freeSampleMemory(pixels);
        pixels = nullptr;
        ownsPixels = true;
        width = height = 0;
        delete attachment;
        attachment = nullptr;
    }

    // (Re)allocates an owned buffer of the given shape. A channel count below
    // 1 is taken as 3; a float image with 4 channels starts with alpha 255.
    void reshape(int32_t w, int32_t h, int32_t c)
    {
        if (ownsPixels)
            freeSampleMemory(pixels);
        pixels = nullptr;
        ownsPixels = true;
        channels = c < 1 ? 3 : c;
        width = w;
        height = h;
        if (w > 0 && h > 0)
            pixels = allocateSamples<T>(size_t(w) * size_t(h) * size_t(channels));
        setOpaqueAlphaIfFloat();
    }

    // Becomes a view of w x h pixels of c channels at samples, which it does
    // not own and never frees: memory kept elsewhere from use to use.
    void viewOf(T* samples, int32_t w, int32_t h, int32_t c)
    {
        clear();
        ownsPixels = false;
        pixels = samples;
        width = w;
        height = h;
        channels = c;
    }

    // Exchanges pixels, shape and frame with other (no sample is copied).
    void swapWith(FlexImage& other)
    {
        std::swap(pixels, other.pixels);
        std::swap(width, other.width);
        std::swap(height, other.height);
        std::swap(channels, other.channels);
        std::swap(ownsPixels, other.ownsPixels);
        std::swap(marginLeft, other.marginLeft);
        std::swap(marginRight, other.marginRight);
        std::swap(marginTop, other.marginTop);
        std::swap(marginBottom, other.marginBottom);
        std::swap(scale, other.scale);
        std::swap(attachment, other.attachment);
    }

    // Keeps the buffer when it already has the wanted size.
    void ensureSize(int32_t w, int32_t h)
    {
        if (!pixels || width != w || height != h)
            reshape(w, h, channels);
    }

    void setOpaqueAlpha()
    {
        if (channels != 4 || !pixels)
            return;
        size_t const n = size_t(width) * size_t(height);
        for (size_t i = 0; i < n; ++i)
            pixels[i * 4 + 3] = T(255);
    }

    void copyFrameFrom(FlexImage const& source)
    {
        marginLeft = source.marginLeft;
        marginRight = source.marginRight;
        marginTop = source.marginTop;
        marginBottom = source.marginBottom;
        scale = source.scale;
    }

    void copyFromImage(FlexImage const& source, bool copyChannels)
    {
        int32_t const wanted = copyChannels ? source.channels : (channels < 1 ? 3 : channels);
        if (!pixels || width != source.width || height != source.height || channels != wanted) {
            if (ownsPixels)
                freeSampleMemory(pixels);
            pixels = nullptr;
            ownsPixels = true;
            width = source.width;
            height = source.height;
            channels = wanted;
            if (width > 0 && height > 0)
                pixels = allocateSamples<T>(sampleCount());
        }
        if (pixels && source.pixels)
            copyPixels(source);
        copyFrameFrom(source);
    }

    // Places source with its top-left corner at (x, y); margins (left, right,
    // top, bottom) columns and rows of the source are left out.
    void copyFromImagePortion(FlexImage const& source, int32_t x, int32_t y, int32_t const* margins)
    {
        if (!pixels || !source.pixels)
            return;
        int32_t const left = margins ? margins[0] : 0;
        int32_t const right = margins ? margins[1] : 0;
        int32_t const top = margins ? margins[2] : 0;
        int32_t const bottom = margins ? margins[3] : 0;
        int32_t const firstColumn = std::max(left, -x);
        int32_t const endColumn = std::min(source.width - right, width - x);
        int32_t const firstRow = std::max(top, -y);
        int32_t const endRow = std::min(source.height - bottom, height - y);
        if (firstColumn >= endColumn)
            return;
        int32_t const shared = std::min(channels, source.channels);
        for (int32_t r = firstRow; r < endRow; ++r) {
            T const* from = source.pixelAt(firstColumn, r);
            T* to = pixelAt(x + firstColumn, y + r);
            copyRow(from, source.channels, to, channels, shared, endColumn - firstColumn);
        }
    }

    // Convolution with edge pixels repeated; the kernel is expected to be
    // normalised by its maker, and sums are stored as they are.
    void convolveWithKernel(float const* kernel, int32_t kw, int32_t kh, FlexImage& destination) const
    {
        if (destination.width != width || destination.height != height || !destination.pixels) {
            destination.reshape(width, height, destination.channels);
            destination.setOpaqueAlpha();
        }
        if (!pixels || !destination.pixels)
            return;
        float* sums = new float[size_t(width) * size_t(channels)];
        int32_t const shared = std::min(destination.channels, channels);
        for (int32_t y = 0; y < height; ++y) {
            convolveRow(kernel, kw, kh, y, sums);
            for (int32_t x = 0; x < width; ++x) {
                T* out = destination.pixelAt(x, y);
                for (int32_t c = 0; c < shared; ++c)
                    out[c] = storeSample(sums[size_t(x) * channels + c]);
            }
        }
        delete[] sums;
    }

    // One output row of the convolution as float sums (width x channels).
    // Each kernel weight is added as one pass over a whole source row, a
    // contiguous loop the compiler vectorises; zero weights are skipped. The
    // order of the additions depends only on the kernel, so every tiling of a
    // picture gives the same sums.
    void convolveRow(float const* kernel, int32_t kw, int32_t kh, int32_t y, float* sums) const
    {
        size_t const rowSamples = size_t(width) * size_t(channels);
        std::fill(sums, sums + rowSamples, 0.0f);
        int32_t const halfW = kw / 2;
        for (int32_t ky = 0; ky < kh; ++ky) {
            T const* row = pixelAt(0, std::clamp(y + ky - kh / 2, 0, height - 1));
            for (int32_t kx = 0; kx < kw; ++kx) {
                float const weight = kernel[ky * kw + kx];
                if (weight == 0.0f)
                    continue;
                addShiftedRow(row, kx - halfW, weight, sums);
            }
        }
    }

    // sums[x] += weight * row[x + shift], with columns outside the row
    // repeating the edge pixel.
    void addShiftedRow(T const* row, int32_t shift, float weight, float* sums) const
    {
        int32_t const firstInside = std::clamp(-shift, 0, width);
        int32_t const endInside = std::clamp(width - shift, firstInside, width);
        for (int32_t x = 0; x < firstInside; ++x)
            addPixel(row, 0, weight, sums + size_t(x) * channels);
        size_t const begin = size_t(firstInside) * channels;
        size_t const end = size_t(endInside) * channels;
        ptrdiff_t const offset = ptrdiff_t(shift) * channels;
        for (size_t i = begin; i < end; ++i)
            sums[i] += weight * float(row[ptrdiff_t(i) + offset]);
        for (int32_t x = endInside; x < width; ++x)
            addPixel(row, width - 1, weight, sums + size_t(x) * channels);
    }

    // Moves one pixel's luminance to the contrast curve about pivot while
    // keeping its hue and saturation.
    static void luminanceContrast(T* pixel, int32_t channelCount, float contrast, float pivot)
    {
        float const L = float(pixelLuminance(pixel, channelCount));
        float const target = contrastTarget(L, contrastExponent(contrast), pivot,
                                            [](float x, float y) { return std::pow(x, y); });
        moveLuminance(pixel, channelCount, L, target);
    }

    // The exponent of luminanceContrast's curve for a contrast.
    static float contrastExponent(float contrast) { return contrast >= 1.0f ? 1.0f / (2.0f - contrast) : contrast; }

    // Where luminanceContrast moves a luminance L: along the power curve of
    // exponent e about pivot, with the power the caller gives. Both sides of
    // the pivot are worked out and one is selected, so that a loop of these
    // vectorises.
    template <typename Pow>
    static float contrastTarget(float L, float e, float pivot, Pow pow)
    {
        // A luminance beyond 0..255 takes its target from the nearest end
        // (a power of a negative base is not a number).
        float const inRange = std::clamp(L, 0.0f, 255.0f);
        bool const below = inRange <= pivot;
        float const base = below ? inRange / pivot : (255.0f - inRange) / (255.0f - pivot);
        float const curved = pow(base, e);
        float const lower = pivot > 0.0f ? pivot * curved : 0.0f; // a pivot of 0: 0 stays 0
        float const upper = pivot < 255.0f ? 255.0f - curved * (255.0f - pivot) : 255.0f;
        return below ? lower : upper;
    }

    void luminanceContrast(T* pixel, float contrast, float pivot) const
    {
        luminanceContrast(pixel, channels, contrast, pivot);
    }

    // Sets the pixel's luminance from L to target: scaling toward black when
    // it falls, toward white when it rises; results truncated toward zero.
    static void moveLuminance(T* pixel, int32_t channelCount, float L, float target)
    {
        for (int32_t c = 0; c < channelCount; ++c)
            pixel[c] = storeSample(movedSample(float(pixel[c]), L, target));
    }

    // One sample of a pixel of luminance L moved as moveLuminance moves it:
    // darker, v - v (L - target) / L; lighter, v + (255 - v) (target - L) /
    // (255 - L); black and white pixels become the target. The side picks
    // the dividend and the divisor, and one division serves both, with no
    // branch, so a loop of it vectorises.
    static float movedSample(float v, float L, float target)
    {
        bool const flat = L == 0.0f || L == 255.0f;
        bool const darker = L >= target;
        float const share = (darker ? v * (L - target) : (255.0f - v) * (target - L)) / (darker ? L : 255.0f - L);
        float const moved = darker ? v - share : v + share;
        return flat ? target : moved;
    }

    // Float images keep the value; 8-bit images truncate toward zero.
    static T storeSample(float v)
    {
        if constexpr (std::is_same_v<T, float>)
            return v;
        else
            return byteFromSample(v);
    }

private:
    void addPixel(T const* row, int32_t x, float weight, float* sums) const
    {
        for (int32_t c = 0; c < channels; ++c)
            sums[c] += weight * float(row[size_t(x) * channels + c]);
    }

    void setOpaqueAlphaIfFloat()
    {
        if constexpr (std::is_same_v<T, float>)
            setOpaqueAlpha();
    }

    void copyPixels(FlexImage const& source)
    {
        int32_t const shared = std::min(channels, source.channels);
        size_t const n = size_t(width) * size_t(height);
        if (channels == source.channels) {
            std::memcpy(pixels, source.pixels, n * size_t(channels) * sizeof(T));
            return;
        }
        copyRow(source.pixels, source.channels, pixels, channels, shared, int32_t(n));
        if (channels == 4 && source.channels < 4)
            for (size_t i = 0; i < n; ++i)
                pixels[i * 4 + 3] = T(255);
    }

    static void copyRow(T const* from, int32_t fromChannels, T* to, int32_t toChannels, int32_t shared,
                        int32_t pixelCount)
    {
        if (fromChannels == toChannels && shared == toChannels) {
            std::memcpy(to, from, size_t(pixelCount) * size_t(toChannels) * sizeof(T));
            return;
        }
        for (int32_t i = 0; i < pixelCount; ++i)
            for (int32_t c = 0; c < shared; ++c)
                to[size_t(i) * toChannels + c] = from[size_t(i) * fromChannels + c];
    }
};
