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
    // All weights of the box are one: side of them down, then side across.
    std::vector<float> const ones(size_t(side), 1.0f);
    FlexImage<float> columns(image->width, 1, image->channels);
    std::vector<float> boxes(columns.sampleCount());
    // Only the rows and columns whose results are read.
    int const channels = image->channels;
    forEachUsedRow(image, [&](int y, int x0, T* row, int width) {
        source.convolveRow(ones.data(), 1, side, y, columns.pixels);
        columns.convolveRow(ones.data(), side, 1, 0, boxes.data());
        float const* box = boxes.data() + size_t(x0) * channels;
        for (size_t i = 0; i < size_t(width) * channels; ++i) {
            float const high = centreWeight * float(row[i]) - box[i];
            row[i] = FlexImage<T>::storeSample(clamp255(float(row[i]) + high * a));
        }
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModSharpen);
