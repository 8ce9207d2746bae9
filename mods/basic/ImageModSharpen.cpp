#include "mods/basic/ImageModSharpen.h"

#include <algorithm>

#include <vector>

#include "mods/common/SampleLoop.h"

ImageModSharpen::ImageModSharpen(float amount)
    : ImageModTemplate("Sharpen", "")
{
    addVar(ImageModVariable::makeFloat("Amount", amount, 0.0f, 100.0f));
    description = "Sharpen the image using the specified amount.";
    setDefaultVarsToCurrent();
}

int ImageModSharpen::getExtraPixelRadiusRequired(int width, int height, float scale)
{
    // More than the picture's size would only repeat its edges.
    return std::min(radiusForScale(scale), std::max(std::max(width, height), 0));
}

void ImageModSharpen::makeHighPassKernel(int r, GrowArray<float>* out)
{
    int const side = 2 * r + 1;
    out->count = 0;
    for (int i = 0; i < side * side; ++i)
        out->add(-1.0f);
    (*out)[side * side / 2] = float(side * side - 1);
}

namespace {

// The box sums of one row of the picture, for the used columns: the sums
// down side rows (each of the picture's columns from the used ones less r
// to the used ones plus r, edge columns repeated past the picture), then
// the sums of side of those across. Each sum adds its terms in one fixed
// order, top to bottom and left to right, so every tiling gives the same
// sums. rowAt(y) gives the original samples of picture row y.
template <typename T, typename RowAt>
void boxSumsOfRow(RowAt rowAt, int y, int height, int width, int channels, int r, PixelRect const& used,
                  float* columnSums, float* boxes)
{
    int const side = 2 * r + 1;
    int const first = std::max(0, used.left - r);
    int const last = std::min(width, used.right + r);
    // columnSums[0] is the column r left of the used ones, inside the
    // picture or not.
    float* inside = columnSums + size_t(first - (used.left - r)) * channels;
    size_t const insideSamples = size_t(last - first) * channels;
    std::fill(inside, inside + insideSamples, 0.0f);
    for (int ky = 0; ky < side; ++ky) {
        T const* row = rowAt(std::clamp(y + ky - r, 0, height - 1)) + size_t(first) * channels;
        widestLoop(insideSamples, [inside, row](size_t i) { inside[i] += float(row[i]); });
    }
    for (int x = used.left - r; x < first; ++x)
        std::copy(inside, inside + channels, columnSums + size_t(x - (used.left - r)) * channels);
    float const* lastInside = inside + insideSamples - channels;
    for (int x = last; x < used.right + r; ++x)
        std::copy(lastInside, lastInside + channels, columnSums + size_t(x - (used.left - r)) * channels);
    size_t const usedSamples = size_t(used.width()) * channels;
    std::fill(boxes, boxes + usedSamples, 0.0f);
    for (int kx = 0; kx < side; ++kx) {
        float const* shifted = columnSums + size_t(kx) * channels;
        widestLoop(usedSamples, [boxes, shifted](size_t i) { boxes[i] += shifted[i]; });
    }
}

} // namespace

// The high-pass kernel is -1 everywhere but its centre, side^2 - 1: the
// centre sample times side^2 less the box of side x side around it. Rows are
// sharpened in place from the top down; the original samples of the r rows
// above the current one are kept in a ring.
template <typename T>
void ImageModSharpen::templateMod(FlexImage<T>* image, ImageModChunkInfo* info)
{
    float const a = floatVarInRange(0) * 0.01f;
    PixelRect const used = UsedRegion::of(image->width, image->height);
    if (a == 0.0f || used.width() <= 0 || used.height() <= 0)
        return;
    int const r = radiusForScale(info ? info->scale : image->scale);
    int const side = 2 * r + 1;
    float const centreWeight = float(side * side);
    int const channels = image->channels;
    size_t const rowSamples = size_t(image->width) * channels;
    std::vector<T> ring(size_t(r + 1) * rowSamples);
    std::vector<float> columnSums(size_t(used.width() + 2 * r) * channels);
    std::vector<float> boxes(size_t(used.width()) * channels);
    int const sharpenedTop = used.top;
    int sharpenedBottom = used.top; // rows [top, bottom) hold results
    auto rowAt = [&](int y) -> T const* {
        if (y >= sharpenedTop && y < sharpenedBottom)
            return ring.data() + size_t(y % (r + 1)) * rowSamples;
        return image->pixelAt(0, y);
    };
    // The columns the box sums read, kept for the rows below.
    size_t const keptFrom = size_t(std::max(0, used.left - r)) * channels;
    size_t const keptTo = size_t(std::min(image->width, used.right + r)) * channels;
    forEachUsedRow(image, [&](int y, int, T* row, int width) {
        boxSumsOfRow<T>(rowAt, y, image->height, image->width, channels, r, used, columnSums.data(), boxes.data());
        T const* original = image->pixelAt(0, y);
        std::copy(original + keptFrom, original + keptTo, ring.data() + size_t(y % (r + 1)) * rowSamples + keptFrom);
        sharpenedBottom = y + 1;
        float const* const box = boxes.data();
        widestLoop(size_t(width) * channels, [row, box, centreWeight, a](size_t i) {
            float const high = centreWeight * float(row[i]) - box[i];
            row[i] = FlexImage<T>::storeSample(clamp255(float(row[i]) + high * a));
        });
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModSharpen);
