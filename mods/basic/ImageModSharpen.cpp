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

// sums[i] = the samples at i of rows y - r .. y + r (edge rows repeating).
template <typename T>
void addColumn(FlexImage<T> const& source, int y, int r, float* sums)
{
    size_t const rowSamples = size_t(source.width) * source.channels;
    std::fill(sums, sums + rowSamples, 0.0f);
    for (int dy = -r; dy <= r; ++dy) {
        T const* row = source.pixelAt(0, std::clamp(y + dy, 0, source.height - 1));
        for (size_t i = 0; i < rowSamples; ++i)
            sums[i] += float(row[i]);
    }
}

// boxes[x] = columns[x - r .. x + r] (edge columns repeating), per channel.
void addAcross(float const* columns, int width, int channels, int r, float* boxes)
{
    int const insideFrom = std::min(r, width);
    int const insideTo = std::max(insideFrom, width - r);
    for (int x = 0; x < width; ++x) {
        if (x == insideFrom && insideFrom < insideTo) {
            // Away from the edges every column is in the row: one plain
            // loop per offset, which vectorises.
            size_t const from = size_t(insideFrom) * channels;
            size_t const to = size_t(insideTo) * channels;
            std::fill(boxes + from, boxes + to, 0.0f);
            for (int dx = -r; dx <= r; ++dx) {
                ptrdiff_t const shift = ptrdiff_t(dx) * channels;
                for (size_t i = from; i < to; ++i)
                    boxes[i] += columns[ptrdiff_t(i) + shift];
            }
            x = insideTo - 1;
            continue;
        }
        for (int c = 0; c < channels; ++c) {
            float sum = 0.0f;
            for (int dx = -r; dx <= r; ++dx)
                sum += columns[size_t(std::clamp(x + dx, 0, width - 1)) * channels + c];
            boxes[size_t(x) * channels + c] = sum;
        }
    }
}

} // namespace

// The high-pass kernel is -1 everywhere but its centre, side^2 - 1: the
// centre sample times side^2 less the box of side x side around it. The box
// is summed in two passes (down the columns, then across), each in a fixed
// order, so that every tiling of a picture gives the same sums.
template <typename T>
void ImageModSharpen::templateMod(FlexImage<T>* image, ImageModChunkInfo* info)
{
    float const a = floatVarInRange(0) * 0.01f;
    if (a == 0.0f || image->width <= 0 || image->height <= 0)
        return;
    int const r = radiusForScale(info ? info->scale : image->scale);
    int const side = 2 * r + 1;
    float const centreWeight = float(side * side);
    FlexImage<T> source;
    source.copyFromImage(*image, true);
    size_t const rowSamples = size_t(image->width) * image->channels;
    std::vector<float> columns(rowSamples);
    std::vector<float> boxes(rowSamples);
    for (int y = 0; y < image->height; ++y) {
        addColumn(source, y, r, columns.data());
        addAcross(columns.data(), image->width, image->channels, r, boxes.data());
        T* row = image->pixelAt(0, y);
        for (size_t i = 0; i < rowSamples; ++i) {
            float const high = centreWeight * float(row[i]) - boxes[i];
            row[i] = FlexImage<T>::storeSample(clamp255(float(row[i]) + high * a));
        }
    }
}

INSTANTIATE_TEMPLATE_MOD(ImageModSharpen);
