#include "mods/basic/ImageModNoise.h"

#include <cmath>
#include <mutex>

#include "imaging/Luminance.h"
#include "mods/basic/SampleLoop.h"

namespace {

constexpr int cosineTableSize = 1000;
float cosineTable[cosineTableSize];
std::once_flag cosineTableFilled;

void fillCosineTable()
{
    for (int i = 0; i < cosineTableSize; ++i)
        cosineTable[i] = float(std::cos(i * 0.001 * M_PI));
}

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

// Luminance grain: shadows get more, and the sample moves along a power curve
// so black and white stay put.
template <typename T>
void addLuminanceGrain(T* p, int channels, float grain, float strength)
{
    float const L = float(pixelLuminance(p, channels));
    float const shade = (255.0f - L) / 255.0f;
    float const d = grain * strength * (0.3f + 0.7f * shade * shade);
    float const exponent = d >= 0.0f ? 1.0f - d : 1.0f / (1.0f + d);
    int const colours = channels < 3 ? channels : 3;
    for (int c = 0; c < colours; ++c)
        p[c] = FlexImage<T>::storeSample(255.0f * std::pow(float(p[c]) / 255.0f, exponent));
}

// The per-channel frequency multipliers of the additive grain.
constexpr double channelFrequency[3] = {1.137, 1.292769, 1.4698782};

// Additive grain, strongest in the mid-tones as on film.
template <typename T>
void addAdditiveGrain(T* p, int channels, int mode, double x, double y, float amplitude)
{
    float fields[3];
    int const fieldCount = mode == 2 ? 1 : 3;
    for (int f = 0; f < fieldCount; ++f)
        fields[f] = ImageModNoise::grainAt(x * channelFrequency[f], y * channelFrequency[f]);
    float grain[3];
    if (mode == 2) {
        grain[0] = grain[1] = grain[2] = fields[0];
    } else if (mode == 3) {
        grain[0] = fields[0];
        grain[1] = fields[1];
        grain[2] = fields[2];
    } else {
        grain[0] = 0.8f * fields[0] + 0.2f * fields[1];
        grain[1] = 0.8f * fields[0] + 0.2f * fields[2];
        grain[2] = 0.8f * fields[0] - 0.1f * (fields[1] + fields[2]);
    }
    float const L = float(pixelLuminance(p, channels));
    float const fromMid = (L - 127.5f) / 127.5f;
    float const toneWeight = 0.35f + 0.65f * (1.0f - fromMid * fromMid);
    int const colours = channels < 3 ? channels : 3;
    for (int c = 0; c < colours; ++c)
        p[c] = FlexImage<T>::storeSample(clamp255(float(p[c]) + grain[c] * amplitude * toneWeight));
}

} // namespace

ImageModNoise::ImageModNoise(float amount, float scale, float offset, int)
    : ImageMod("Noise", "Grain")
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
        return vars[3]->choiceData()->selected + 1;
    return version;
}

float ImageModNoise::cosineWeight(float t)
{
    std::call_once(cosineTableFilled, fillCosineTable);
    int const index = t > 1.0f ? cosineTableSize - 1 : int((t < 0.0f ? 0.0f : t) * 999.9f);
    return (1.0f - cosineTable[index]) * 0.5f;
}

float ImageModNoise::latticeValue(int32_t i, int32_t j)
{
    // Wrapping 32-bit arithmetic, done unsigned to keep it defined.
    uint32_t h = uint32_t(i) + uint32_t(j) * 2939u;
    h = (h << 13) ^ h;
    uint32_t const mixed = (h * (h * h * 60493u + 19990303u) + 1376312589u) & 0x7fffffffu;
    return 1.0f - float(double(mixed) * 9.313225746154785e-10);
}

float ImageModNoise::valueNoise(double x, double y)
{
    double const fx = std::floor(x);
    double const fy = std::floor(y);
    int32_t const ix = int32_t(int64_t(fx));
    int32_t const iy = int32_t(int64_t(fy));
    float const wx = cosineWeight(float(x - fx));
    float const wy = cosineWeight(float(y - fy));
    float const top = latticeValue(ix, iy) * (1.0f - wx) + latticeValue(ix + 1, iy) * wx;
    float const bottom = latticeValue(ix, iy + 1) * (1.0f - wx) + latticeValue(ix + 1, iy + 1) * wx;
    return top * (1.0f - wy) + bottom * wy;
}

float ImageModNoise::grainAt(double x, double y)
{
    float const n = valueNoise(x, y) + 0.6f * valueNoise(1.33 * x, 1.33 * y);
    return n < -1.0f ? -1.0f : (n > 1.0f ? 1.0f : n);
}

template <typename T>
void ImageModNoise::templateMod(FlexImage<T>* image, ImageModChunkInfo* info)
{
    float const amount = floatVar(0);
    if (amount == 0.0f)
        return;
    int const mode = grainMode();
    bool const additive = mode >= 2 && mode <= 4;
    float const strength = std::pow(amount * 0.01f, 1.4f);
    float const amplitude = (amount * 0.01f) * (amount * 0.01f) * 255.0f;
    float const scale = floatVar(1); // a missing Scale reads 0: fineness 0.4
    GrainPlacement const at = placementFor(*image, info, scale, floatVar(2));
    int const channels = image->channels;
    for (int row = 0; row < image->height; ++row) {
        double const y = at.y(row);
        T* p = image->pixelAt(0, row);
        for (int col = 0; col < image->width; ++col, p += channels) {
            double const x = at.x(col);
            if (additive)
                addAdditiveGrain(p, channels, mode, x, y, amplitude);
            else
                addLuminanceGrain(p, channels, grainAt(x, y), strength);
        }
    }
}

template void ImageModNoise::templateMod(FlexImage<unsigned char>*, ImageModChunkInfo*);
template void ImageModNoise::templateMod(FlexImage<float>*, ImageModChunkInfo*);
