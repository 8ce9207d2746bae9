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

template <typename T>
void ImageModSharpen::templateMod(FlexImage<T>* image, ImageModChunkInfo* info)
{
    float const a = floatVarInRange(0) * 0.01f;
    if (a == 0.0f || image->width <= 0 || image->height <= 0)
        return;
    int const r = radiusForScale(info ? info->scale : image->scale);
    int const side = 2 * r + 1;
    GrowArray<float> kernel;
    makeHighPassKernel(r, &kernel);
    // The high-pass is signed, so it is kept in float whatever the image.
    FlexImage<T> source;
    source.copyFromImage(*image, true);
    std::vector<float> high(size_t(image->width) * image->channels);
    for (int y = 0; y < image->height; ++y) {
        source.convolveRow(kernel.data, side, side, y, high.data());
        T* row = image->pixelAt(0, y);
        for (size_t i = 0; i < high.size(); ++i)
            row[i] = FlexImage<T>::storeSample(clamp255(float(row[i]) + high[i] * a));
    }
}

INSTANTIATE_TEMPLATE_MOD(ImageModSharpen);
