#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "imaging/FastPow.h"
#include "imaging/FlexImage.h"
#include "imaging/Luminance.h"
#include "imaging/WidestVectors.h"
#include "mods/UsedRegion.h"

// The per-sample and per-pixel loops below work on the part of the image
// whose results are read (all of it, except in a renderer's tiles; see
// UsedRegion), a row at a time, or in one stretch when that part spans whole
// rows. span(samples, count) is called for each stretch.
template <typename T, typename Span>
void forEachUsedStretch(FlexImage<T>* image, Span span)
{
    PixelRect const used = UsedRegion::of(image->width, image->height);
    if (used.width() <= 0 || used.height() <= 0)
        return;
    size_t const channels = size_t(image->channels);
    if (used.width() == image->width) {
        span(image->pixelAt(0, used.top), size_t(image->width) * channels * size_t(used.height()));
        return;
    }
    for (int y = used.top; y < used.bottom; ++y)
        span(image->pixelAt(used.left, y), size_t(used.width()) * channels);
}

// The same a row at a time: row(y, x0, pixels, count) for each row y of the
// used part, whose count pixels start at column x0.
template <typename T, typename Row>
void forEachUsedRow(FlexImage<T>* image, Row row)
{
    PixelRect const used = UsedRegion::of(image->width, image->height);
    if (used.width() <= 0)
        return;
    for (int y = used.top; y < used.bottom; ++y)
        row(y, used.left, image->pixelAt(used.left, y), used.width());
}

// Whether each of count three-sample pixels has red, green and blue alike.
// Stops at the first that has not, so a colour picture costs next to
// nothing.
template <typename T>
bool allGrey(T const* p, size_t count)
{
    for (size_t i = 0; i < count; ++i, p += 3)
        if (!(p[0] == p[1] && p[1] == p[2]))
            return false;
    return true;
}

// A per-sample rule over n samples of three-sample pixels. Black and white
// looks leave every pixel grey, and a grey pixel's three samples give three
// equal results: in a block of grey pixels the rule is worked out once a
// pixel (in a plain loop over the block's greys) and the result copied.
template <typename Rule>
void applyToGreyOrColourBlocks(float* samples, size_t n, Rule& rule)
{
    constexpr size_t blockPixels = 256;
    float greys[blockPixels];
    for (size_t start = 0; start < n; start += 3 * blockPixels) {
        float* p = samples + start;
        size_t const pixels = std::min(blockPixels, (n - start) / 3);
        if (!allGrey(p, pixels)) {
            widestLoop(3 * pixels, [p, &rule](size_t i) { p[i] = rule(p[i]); });
            continue;
        }
        for (size_t i = 0; i < pixels; ++i)
            greys[i] = p[3 * i];
        widestLoop(pixels, [&greys, &rule](size_t i) { greys[i] = rule(greys[i]); });
        for (size_t i = 0; i < pixels; ++i)
            p[3 * i] = p[3 * i + 1] = p[3 * i + 2] = greys[i];
    }
}

// Float samples that are all whole levels 0..255, as an 8-bit photo's are
// when the first filter of a chain sees them, take a per-sample rule from a
// table of its 256 results, made on first need: the very results of the
// rule, one evaluation a level. Any other stretch is left to the caller.
template <typename Rule>
class LevelTable
{
public:
    explicit LevelTable(Rule& rule) : rule(rule) {}

    bool mapIfWholeLevels(float* samples, size_t n) { return mapIfWholeLevels(samples, samples, n); }

    // The same from one stretch into another (or the same).
    bool mapIfWholeLevels(float const* from, float* to, size_t n)
    {
        if (!allWholeLevels(from, n))
            return false;
        if (!made) {
            for (int v = 0; v < 256; ++v)
                table[v] = rule(float(v));
            made = true;
        }
        mapThroughLevels(table, from, to, n);
        return true;
    }

private:
    Rule& rule;
    bool made = false;
    float table[256];

    // Exactly 0, 1, ... 255 (not -0, which a rule may tell apart from 0).
    // Most stretches that are not whole levels show it in their first
    // samples; the rest are tested in one loop without an early exit, which
    // vectorises.
    static bool allWholeLevels(float const* samples, size_t n)
    {
        size_t const first = std::min(n, size_t(8));
        uint32_t differ = 0;
        for (size_t i = 0; i < first; ++i)
            differ |= differenceFromLevel(samples[i]);
        return differ == 0 && differencesFromLevels(samples + first, n - first) == 0;
    }

    // The table apart from the samples (restrict): where the stores might
    // change the table, the loop would not vectorise.
    WIDEST_VECTORS static void mapThroughLevels(float const* __restrict levels, float const* from, float* to, size_t n)
    {
        for (size_t i = 0; i < n; ++i)
            to[i] = levels[int(from[i])];
    }

    WIDEST_VECTORS static uint32_t differencesFromLevels(float const* samples, size_t n)
    {
        uint32_t differ = 0;
        for (size_t i = 0; i < n; ++i)
            differ |= differenceFromLevel(samples[i]);
        return differ;
    }

    // The bits in which v differs from the whole level nearest below it
    // (within 0..255): none for a whole level.
    static uint32_t differenceFromLevel(float v)
    {
        float const inRange = v > 0.0f ? (v < 255.0f ? v : 255.0f) : 0.0f;
        return fastPow::bitsOf(v) ^ fastPow::bitsOf(float(int(inRange)));
    }
};

// A per-sample rule, for rules that cost more than reading a table (a power
// curve, say), over stretches of samples of type T, each stretch in place.
// 8-bit samples have only 256 possible inputs, so the rule is evaluated once
// per input value into a table and the samples are mapped through it: the
// same results, far fewer evaluations. Float samples do the same where a
// stretch holds whole levels only, and otherwise take the rule inlined into
// the loop (no call per sample), once a pixel where pixels are grey.
template <typename T, typename Rule>
class SampleRuleOnStretches
{
public:
    SampleRuleOnStretches(Rule& rule, int channels) : rule(rule), channels(channels), levels(rule)
    {
        if constexpr (std::is_same_v<T, unsigned char>)
            for (int v = 0; v < 256; ++v)
                byteTable[v] = FlexImage<unsigned char>::storeSample(rule(float(v)));
    }

    void apply(T* samples, size_t n)
    {
        if constexpr (std::is_same_v<T, unsigned char>) {
            for (size_t i = 0; i < n; ++i)
                samples[i] = byteTable[samples[i]];
        } else {
            if (levels.mapIfWholeLevels(samples, n))
                return;
            if (channels == 3) {
                applyToGreyOrColourBlocks(samples, n, rule);
                return;
            }
            widestLoop(n, [samples, this](size_t i) { samples[i] = rule(samples[i]); });
        }
    }

private:
    Rule& rule;
    int const channels;
    LevelTable<Rule> levels;
    unsigned char byteTable[256];
};

// Applies a per-sample rule to every sample of the image (see
// SampleRuleOnStretches).
template <typename T, typename Rule>
void forEachSample(FlexImage<T>* image, Rule rule)
{
    SampleRuleOnStretches<T, Rule> onStretches(rule, image->channels);
    forEachUsedStretch(image, [&onStretches](T* samples, size_t n) { onStretches.apply(samples, n); });
}

// The same over the first three samples of every pixel (red, green, blue),
// leaving a fourth untouched.
template <typename T, typename Rule>
void forEachColorSample(FlexImage<T>* image, Rule rule)
{
    if (image->channels <= 3) {
        forEachSample(image, rule);
        return;
    }
    int const channels = image->channels;
    forEachUsedStretch(image, [&](T* p, size_t n) {
        for (T* end = p + n; p < end; p += channels)
            for (int c = 0; c < 3; ++c)
                p[c] = FlexImage<T>::storeSample(rule(float(p[c])));
    });
}

// Calls rule(pixel, channels) for every pixel.
template <typename T, typename Rule>
void forEachPixel(FlexImage<T>* image, Rule rule)
{
    int const channels = image->channels;
    forEachUsedStretch(image, [&](T* p, size_t n) {
        for (T* end = p + n; p < end; p += channels)
            rule(p, channels);
    });
}

// The most pixels forEachColourBlock hands over at once.
constexpr int colourBlockPixels = 256;

// The reds, greens and blues of count pixels of `channels` samples apart,
// and back. Stride is the channel count when known while compiling (3 or
// 4), which lets the loops vectorise, or 0 for any other.
template <int Stride, typename T>
WIDEST_VECTORS void partColours(T const* pixels, int channels, int count, float* red, float* green, float* blue)
{
    size_t const n = size_t(Stride > 0 ? Stride : channels);
    for (int i = 0; i < count; ++i) {
        red[i] = float(pixels[n * size_t(i)]);
        green[i] = float(pixels[n * size_t(i) + 1]);
        blue[i] = float(pixels[n * size_t(i) + 2]);
    }
}

template <int Stride, typename T>
WIDEST_VECTORS void joinColours(float const* red, float const* green, float const* blue, int channels, int count,
                                T* pixels)
{
    size_t const n = size_t(Stride > 0 ? Stride : channels);
    for (int i = 0; i < count; ++i) {
        pixels[n * size_t(i)] = FlexImage<T>::storeSample(red[i]);
        pixels[n * size_t(i) + 1] = FlexImage<T>::storeSample(green[i]);
        pixels[n * size_t(i) + 2] = FlexImage<T>::storeSample(blue[i]);
    }
}

// job(std::integral_constant<int, Stride>) with Stride the channel count
// where a loop has its own build for it (3 or 4), else 0.
template <typename Job>
void withColourStride(int channels, Job job)
{
    if (channels == 3)
        job(std::integral_constant<int, 3>());
    else if (channels == 4)
        job(std::integral_constant<int, 4>());
    else
        job(std::integral_constant<int, 0>());
}

// blockRule(red, green, blue, count) on the first three samples of every
// pixel (a fourth is left as it is), a block of at most colourBlockPixels
// pixels at a time: the block's reds, greens and blues parted into runs of
// their own, which the rule changes in place. Its loops then run over
// contiguous values and vectorise, per-pixel values (a luminance, a weight)
// sitting beside them in plain arrays.
template <typename T, typename BlockRule>
void forEachColourBlock(FlexImage<T>* image, BlockRule blockRule)
{
    int const channels = image->channels;
    if (channels < 3)
        return;
    forEachUsedStretch(image, [&blockRule, channels](T* p, size_t n) {
        constexpr size_t block = colourBlockPixels;
        float red[block], green[block], blue[block];
        size_t const pixels = n / size_t(channels);
        for (size_t start = 0; start < pixels; start += block) {
            int const count = int(std::min(block, pixels - start));
            T* const q = p + start * size_t(channels);
            withColourStride(channels, [&](auto stride) {
                partColours<decltype(stride)::value>(q, channels, count, red, green, blue);
            });
            blockRule(red, green, blue, count);
            withColourStride(channels, [&](auto stride) {
                joinColours<decltype(stride)::value>(red, green, blue, channels, count, q);
            });
        }
    });
}

// rule(red, green, blue), each by reference, for every pixel in one loop a
// block (see forEachColourBlock): it vectorises when the rule has no
// branches around costly work and takes samplePow for its powers.
template <typename T, typename Rule>
void forEachColourTriple(FlexImage<T>* image, Rule rule)
{
    forEachColourBlock(image, [&rule](float* red, float* green, float* blue, int count) {
        widestLoop(count, [red, green, blue, &rule](int i) { rule(red[i], green[i], blue[i]); });
    });
}

// colourRule(red, green, blue) in double for each of count pixels of three
// or more channels, as float. The pixels are first parted into red, green
// and blue runs (partColours), a block at a time, so that the rule runs over
// contiguous values and vectorises.
template <typename T, typename ColourRule>
void rowOfColourValues(T const* pixels, int count, int channels, float* out, ColourRule colourRule)
{
    constexpr int block = 64;
    float red[block], green[block], blue[block];
    for (int start = 0; start < count; start += block) {
        int const n = std::min(block, count - start);
        T const* p = pixels + size_t(start) * size_t(channels);
        withColourStride(channels, [&](auto stride) {
            partColours<decltype(stride)::value>(p, channels, n, red, green, blue);
        });
        float* const to = out + start;
        widestLoop(n, [&red, &green, &blue, to, colourRule](int i) {
            to[i] = float(colourRule(double(red[i]), double(green[i]), double(blue[i])));
        });
    }
}

// The luminance of each of count pixels, as float (the first channel's
// value for pixels of fewer than three).
template <typename T>
void rowLuminances(T const* pixels, int count, int channels, float* out)
{
    if (channels < 3) {
        for (int i = 0; i < count; ++i)
            out[i] = float(pixels[size_t(i) * channels]);
        return;
    }
    rowOfColourValues(pixels, count, channels, out, [](double r, double g, double b) { return luminance(r, g, b); });
}

// Clamps to the sample range.
inline float clamp255(float v)
{
    return v < 0.0f ? 0.0f : (v > 255.0f ? 255.0f : v);
}

// Each of count per-pixel values repeated over the pixel's channels into
// out, so that a per-sample loop after it is one plain loop (three channels,
// the common case, in a loop the compiler can vectorise).
inline void spreadOverSamples(float const* values, int count, int channels, float* out)
{
    if (channels == 3) {
        widestLoop(count, [values, out](int i) {
            for (int c = 0; c < 3; ++c)
                out[i * 3 + c] = values[i];
        });
        return;
    }
    for (int i = 0; i < count; ++i)
        for (int c = 0; c < channels; ++c)
            out[i * channels + c] = values[i];
}

// Sets each sample of a row of count pixels to rule(source sample, its
// pixel's value), stored as the row stores samples: the per-pixel values are
// spread over their samples into sampleScratch (count x channels values)
// first, so that the rule runs in one plain loop, which vectorises. source
// may be the row itself.
template <typename T, typename Source, typename Rule>
void setSamplesFromPixelValues(T* row, Source const* source, int count, int channels, float const* pixelValues,
                               float* sampleScratch, Rule rule)
{
    spreadOverSamples(pixelValues, count, channels, sampleScratch);
    widestLoop(count * channels, [row, source, sampleScratch, rule](int i) {
        row[i] = FlexImage<T>::storeSample(rule(float(source[i]), sampleScratch[i]));
    });
}

// A sample v pulled toward its pixel's grey, keeping kept of it.
inline float pulledTowardGrey(float v, float grey, float kept)
{
    return clamp255(v * kept + grey * (1.0f - kept));
}

// Each of width pixels of source pulled toward its luminance, into row
// (which may be source), each sample by pulledTowardGrey. Three-sample
// pixels go in one loop over the pixels, which vectorises; others take
// their greys first (into greys, width values), spread over their samples
// (into sampleGreys, width x channels).
template <typename T, typename Source>
void pullTowardLuma(T* row, Source const* source, int width, int channels, float kept, float* greys,
                    float* sampleGreys)
{
    auto const pulled = [kept](float v, float grey) { return pulledTowardGrey(v, grey, kept); };
    if (channels != 3) {
        rowLuminances(source, width, channels, greys);
        setSamplesFromPixelValues(row, source, width, channels, greys, sampleGreys, pulled);
        return;
    }
    widestLoop(width, [row, source, pulled](int i) {
        Source const* from = source + 3 * i;
        float const r = float(from[0]), g = float(from[1]), b = float(from[2]);
        float const grey = float(luminance(double(r), double(g), double(b)));
        T* to = row + 3 * i;
        to[0] = FlexImage<T>::storeSample(pulled(r, grey));
        to[1] = FlexImage<T>::storeSample(pulled(g, grey));
        to[2] = FlexImage<T>::storeSample(pulled(b, grey));
    });
}

// Moves one row's pixels from luminance L[i] to targets[i], keeping hue and
// saturation, in the first movedChannels channels. 8-bit pictures take the
// engine's per-pixel rule as it stands (their truncation depends on its
// exact arithmetic); float pictures take the same rule as a gain and a lift
// per pixel, one division a pixel instead of one a sample. L and targets are
// used up: they end holding the gains and the lifts. sampleScratch holds
// width x channels values.
template <typename T>
WIDEST_VECTORS void moveRowLuminance(T* pixels, int width, int channels, int movedChannels, float* L, float* targets,
                      float* sampleScratch)
{
    if constexpr (!std::is_same_v<T, float>) {
        for (int col = 0; col < width; ++col)
            FlexImage<T>::moveLuminance(pixels + size_t(col) * channels, movedChannels, L[col], targets[col]);
    } else {
        // Darker: v - v (l - t) / l = v t / l. Lighter: v + (255 - v) k
        // with k = (t - l) / (255 - l). Black and white become the target.
        // Both sides are worked out and one picked, in a loop of its own:
        // it vectorises, and no branch is mispredicted.
        float* gains = L;
        float* lifts = targets;
        for (int col = 0; col < width; ++col) {
            float const l = L[col];
            float const t = targets[col];
            bool const flat = l == 0.0f || l == 255.0f;
            bool const darker = l >= t;
            float const k = darker ? 0.0f : (t - l) / (255.0f - l);
            float const darkerGain = t / l;
            gains[col] = flat ? 0.0f : (darker ? darkerGain : 1.0f - k);
            lifts[col] = flat ? t : 255.0f * k;
        }
        if (movedChannels != channels) {
            for (int col = 0; col < width; ++col) {
                float* p = pixels + size_t(col) * channels;
                for (int c = 0; c < movedChannels; ++c)
                    p[c] = p[c] * gains[col] + lifts[col];
            }
            return;
        }
        int const samples = width * channels;
        spreadOverSamples(gains, width, channels, sampleScratch);
        for (int i = 0; i < samples; ++i)
            pixels[i] *= sampleScratch[i];
        spreadOverSamples(lifts, width, channels, sampleScratch);
        for (int i = 0; i < samples; ++i)
            pixels[i] += sampleScratch[i];
    }
}

// Moves every pixel's luminance to a target, a row at a time: the row's
// luminances first, then their targets, then the moves, in the first
// movedChannels channels. rowTargets(y, x0, luminances, targets, width)
// works out the targets of the width pixels of row y from column x0 on.
template <typename T, typename RowTargets>
void moveLuminanceOfRows(FlexImage<T>* image, int movedChannels, RowTargets rowTargets)
{
    int const channels = image->channels;
    std::vector<float> luminance(size_t(std::max(image->width, 0)));
    std::vector<float> moved(luminance.size());
    std::vector<float> sampleScratch(luminance.size() * size_t(std::max(channels, 0)));
    forEachUsedRow(image, [&](int y, int x0, T* p, int width) {
        rowLuminances(p, width, channels, luminance.data());
        rowTargets(y, x0, static_cast<float const*>(luminance.data()), moved.data(), width);
        moveRowLuminance(p, width, channels, movedChannels, luminance.data(), moved.data(), sampleScratch.data());
    });
}

// The same with a target for each pixel: rowTarget(y) gives row y's
// target(col, L), worked out in one plain loop (which vectorises when the
// target does, as a power curve does).
template <typename T, typename RowTarget>
void moveLuminanceByRows(FlexImage<T>* image, int movedChannels, RowTarget rowTarget)
{
    moveLuminanceOfRows(image, movedChannels, [&rowTarget](int y, int x0, float const* from, float* to, int width) {
        auto const target = rowTarget(y);
        widestLoop(width, [target, to, from, x0](int i) { to[i] = target(x0 + i, from[i]); });
    });
}
