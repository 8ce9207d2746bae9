#include "mods/basic/ImageModNoise.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "imaging/FastPow.h"
#include "imaging/Luminance.h"
#include "mods/common/SampleLoop.h"
#include "mods/common/ValueNoise.h"

namespace {

// Where the grain field lies: the distance between pixels in noise space, the
// sideways shift, and the tile's place in the picture. Positions are computed
// from the pixel's column and row in the whole picture, so every tiling gives
// the same grain.
struct GrainPlacement
{
    double step;
    double shiftX;
    int firstColumn;
    int firstRow;

    double x(int col) const { return std::fabs(double(firstColumn + col) * step + shiftX); }
    double y(int row) const { return std::fabs(double(firstRow + row) * step + 10000.0); }
};

template <typename T>
GrainPlacement placementFor(FlexImage<T> const& image, ImageModChunkInfo const* info, float scale, float offset)
{
    float const fineness = scale * 0.006f + 0.4f;
    double const frequency = std::pow(1.0 / fineness - 1.0, 2.6);
    int const fullWidth = info ? info->fullWidth : image.width;
    double const step = frequency * 1000.0 / double(fullWidth);
    double const phase = 50.0 * double(info ? info->reserved : 0) - double(offset);
    return GrainPlacement{step, 50.0 * frequency * phase + 10000.0, info ? info->chunkX : 0,
                          info ? info->chunkY : 0};
}

// Every sample along a power curve of its own exponent (black and white
// stay put), in one plain loop.
template <typename T>
void raiseSamples(T* samples, int count, float const* exponents)
{
    widestLoop(count, [samples, exponents](int i) {
        float const v = std::clamp(float(samples[i]) / 255.0f, 0.0f, 1.0f);
        samples[i] = FlexImage<T>::storeSample(255.0f * samplePow<T>(v, exponents[i]));
    });
}

// Luminance grain along a row: shadows get more, and every sample (a
// fourth too) moves along a power curve so black and white stay put. Each
// pass is a plain loop that vectorises: the pixels' luminances, their
// exponents, the exponents spread over the samples, and the powers.
template <typename T>
void addLuminanceGrain(T* row, int width, int channels, float const* grain, float strength, float* scratch)
{
    float* exponents = scratch;
    // The pixels' luminances, replaced by their exponents.
    float* pixelExponents = scratch + size_t(width) * size_t(channels);
    rowLuminances(row, width, channels, pixelExponents);
    widestLoop(width, [pixelExponents, grain, strength](int col) {
        // Samples beyond 0..255 (an earlier filter may leave them) are
        // taken at the nearest end, so that the power stays finite.
        float const L = std::clamp(pixelExponents[col], 0.0f, 255.0f);
        float const shade = (255.0f - L) / 255.0f;
        float const d = grain[col] * strength * (0.3f + 0.7f * shade * shade);
        // Both sides worked out and one picked: a branch here would be
        // mispredicted half the time, the grain being random.
        float const lighter = 1.0f - d;
        float const darker = 1.0f / (1.0f + d);
        pixelExponents[col] = d >= 0.0f ? lighter : darker;
    });
    if constexpr (std::is_same_v<T, float>) {
        if (channels == 3 && allGrey(row, size_t(width))) {
            // A grey pixel's samples all rise alike: one power a pixel.
            float* greys = exponents;
            for (int col = 0; col < width; ++col)
                greys[col] = row[3 * col];
            raiseSamples(greys, width, pixelExponents);
            for (int col = 0; col < width; ++col)
                row[3 * col] = row[3 * col + 1] = row[3 * col + 2] = greys[col];
            return;
        }
    }
    spreadOverSamples(pixelExponents, width, channels, exponents);
    raiseSamples(row, width * channels, exponents);
}

// The per-channel frequency multipliers of the additive grain.
constexpr double channelFrequency[3] = {1.137, 1.292769, 1.4698782};

// The grain fields of one tile, a row at a time: each field's two octaves
// over the tile's columns (see valueNoise::OctaveRows).
class GrainFields
{
public:
    // fieldCount fields, field f at channelFrequency[f] (or the plain
    // position when frequencies is false).
    GrainFields(GrainPlacement const& at, int width, int fieldCount, bool frequencies)
        : at(at)
        , width(width)
        , fieldCount(fieldCount)
        , frequencies(frequencies)
        , values(size_t(fieldCount) * size_t(width))
        , coarseOctave(size_t(width))
        , fineOctave(size_t(width))
    {
        for (int f = 0; f < fieldCount; ++f) {
            double const scale = frequency(f);
            octaves.emplace_back(width, [&](int col) { return at.x(col) * scale; });
            octaves.emplace_back(width, [&](int col) { return valueNoise::fineOctave * (at.x(col) * scale); });
        }
    }

    // Works out every field along the row; field(f) then holds them.
    void moveToRow(int row)
    {
        double const yBase = at.y(row);
        for (int f = 0; f < fieldCount; ++f) {
            double const y = yBase * frequency(f);
            octaves[size_t(2 * f)].along(y, coarseOctave.data());
            octaves[size_t(2 * f + 1)].along(valueNoise::fineOctave * y, fineOctave.data());
            float* out = &values[size_t(f) * size_t(width)];
            float const* coarse = coarseOctave.data();
            float const* fine = fineOctave.data();
            widestLoop(width, [=](int col) { out[col] = valueNoise::grainFrom(coarse[col], fine[col]); });
        }
    }

    float const* field(int f) const { return &values[size_t(f) * size_t(width)]; }

private:
    GrainPlacement at;
    int width;
    int fieldCount;
    bool frequencies;
    std::vector<float> values;
    std::vector<float> coarseOctave;
    std::vector<float> fineOctave;
    std::vector<valueNoise::OctaveRows> octaves; // per field, coarse then fine

    double frequency(int f) const { return frequencies ? channelFrequency[f] : 1.0; }
};

// A pixel's grain in red, green and blue from its fields: one field for
// all (mode 2), one field each (mode 3), or a shared field with a little of
// the others (mode 4). f1 and f2 are read in modes 3 and 4 only.
inline void mixGrains(int mode, float f0, float f1, float f2, float* grain)
{
    if (mode == 2) {
        grain[0] = grain[1] = grain[2] = f0;
    } else if (mode == 3) {
        grain[0] = f0;
        grain[1] = f1;
        grain[2] = f2;
    } else {
        grain[0] = 0.8f * f0 + 0.2f * f1;
        grain[1] = 0.8f * f0 + 0.2f * f2;
        grain[2] = 0.8f * f0 - 0.1f * (f1 + f2);
    }
}

// Additive grain, strongest in the mid-tones as on film; fields holds the
// pixel's one (mode 2) or three grain fields.
template <typename T>
void addAdditiveGrain(T* p, int channels, int mode, float const* fields, float amplitude)
{
    float grain[3];
    mixGrains(mode, fields[0], fields[1], fields[2], grain);
    float const L = float(pixelLuminance(p, channels));
    float const fromMid = (L - 127.5f) / 127.5f;
    float const toneWeight = 0.35f + 0.65f * (1.0f - fromMid * fromMid);
    int const colours = channels < 3 ? channels : 3;
    for (int c = 0; c < colours; ++c)
        p[c] = FlexImage<T>::storeSample(clamp255(float(p[c]) + grain[c] * amplitude * toneWeight));
}

// Additive grain along a row of three-channel pixels: the tone weights of
// the row first, then each pixel's three grains (mixGrains), laid out along
// the row, then every sample in one loop. scratch
// holds 7 x width values.
template <typename T>
void addAdditiveGrainAlongRow(T* row, int width, int mode, GrainFields const& fields, float amplitude,
                              float* scratch)
{
    float* const weights = scratch;
    float* const sampleWeights = scratch + width;
    float* const grains = scratch + 4 * size_t(width);
    rowLuminances(row, width, 3, weights);
    widestLoop(width, [weights](int col) {
        float const fromMid = (weights[col] - 127.5f) / 127.5f;
        weights[col] = 0.35f + 0.65f * (1.0f - fromMid * fromMid);
    });
    spreadOverSamples(weights, width, 3, sampleWeights);
    float const* f0 = fields.field(0);
    float const* f1 = mode == 2 ? f0 : fields.field(1);
    float const* f2 = mode == 2 ? f0 : fields.field(2);
    widestLoop(width, [=](int col) { mixGrains(mode, f0[col], f1[col], f2[col], grains + 3 * size_t(col)); });
    widestLoop(3 * width, [row, grains, sampleWeights, amplitude](int i) {
        row[i] = FlexImage<T>::storeSample(clamp255(float(row[i]) + grains[i] * amplitude * sampleWeights[i]));
    });
}

} // namespace

ImageModNoise::ImageModNoise(float amount, float scale, float offset, int)
    : ImageModTemplate("Noise", "Grain")
{
    addVar(ImageModVariable::makeFloat("Amount", amount, 0.0f, 100.0f));
    addVar(ImageModVariable::makeFloat("Scale", scale, 0.0f, 100.0f));
    addVar(ImageModVariable::makeFloat("Offset", offset, 0.0f, 100.0f));
    setVersion(4);
    description = "Apply film grain.";
    setDefaultVarsToCurrent();
}

int ImageModNoise::grainMode() const
{
    if (vars.count > 3 && vars[3]->choiceData())
        // Any index past the options lands outside 2..4: luminance grain.
        return std::clamp(vars[3]->choiceData()->selected, -1, 4) + 1;
    return version;
}


template <typename T>
void ImageModNoise::templateMod(FlexImage<T>* image, ImageModChunkInfo* info)
{
    float const amount = floatVarInRange(0);
    if (amount == 0.0f)
        return;
    int const mode = grainMode();
    bool const additive = mode >= 2 && mode <= 4;
    float const strength = std::pow(amount * 0.01f, 1.4f);
    float const amplitude = (amount * 0.01f) * (amount * 0.01f) * 255.0f;
    float const scale = floatVarInRange(1); // a missing Scale reads 0: fineness 0.4
    // Grain only where the results are read; it lies by picture position,
    // so the part is placed where it is in the picture.
    PixelRect const used = UsedRegion::of(image->width, image->height);
    if (used.width() <= 0 || used.height() <= 0)
        return;
    GrainPlacement at = placementFor(*image, info, scale, floatVar(2));
    at.firstColumn += used.left;
    at.firstRow += used.top;
    int const width = used.width();
    int const channels = image->channels;
    int const fieldCount = additive && mode != 2 ? 3 : 1;
    GrainFields fields(at, width, fieldCount, additive);
    std::vector<float> scratch(size_t(width) * size_t(additive ? 7 : channels + 1));
    for (int row = 0; row < used.height(); ++row) {
        fields.moveToRow(row);
        T* p = image->pixelAt(used.left, used.top + row);
        if (!additive) {
            addLuminanceGrain(p, width, channels, fields.field(0), strength, scratch.data());
            continue;
        }
        if (channels == 3) {
            addAdditiveGrainAlongRow(p, width, mode, fields, amplitude, scratch.data());
            continue;
        }
        for (int col = 0; col < width; ++col, p += channels) {
            float pixelFields[3] = {0.0f, 0.0f, 0.0f};
            for (int f = 0; f < fieldCount; ++f)
                pixelFields[f] = fields.field(f)[col];
            addAdditiveGrain(p, channels, mode, pixelFields, amplitude);
        }
    }
}

INSTANTIATE_TEMPLATE_MOD(ImageModNoise);
