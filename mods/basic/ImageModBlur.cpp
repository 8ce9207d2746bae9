#include "mods/basic/ImageModBlur.h"

#include <algorithm>
#include <cmath>

#include "core/SampleMemory.h"
#include "core/ScratchPool.h"
#include "mods/UsedRegion.h"
#include "mods/basic/BlurKernels.h"
#include "mods/basic/RunningBlur.h"

namespace {

// The largest radii run directly: up to them the direct kernel is faster
// than keeping running sums (on one core, 24 against 65 ns a pixel at
// radius 5, 39 against 65 at 15; they meet near 30).
constexpr int directReach = 16;
constexpr int directDiscReach = 2;

} // namespace

ImageModBlur::ImageModBlur(float amount, float mix, int)
    : ImageModTemplate("Blur", "")
{
    addVar(ImageModVariable::makeFloat("Amount", amount, 0.0f, 100.0f));
    addVar(ImageModVariable::makeFloat("Mix", mix, 0.0f, 100.0f));
    addVar(ImageModVariable::makeChoice("Blur Method", labelList({"Gaussian", "Box", "Circle"}), BlurGaussian));
    description = "Blur the image using the selected blurring method.";
    setDefaultVarsToCurrent();
}

float ImageModBlur::extentFor(int longestSide) const
{
    float const a = float(double(floatVarInRange(0)) * 0.01);
    // A blur wider than the picture is taken as one as wide as the picture.
    return std::fmin(a * a * float(longestSide) * (method() == BlurGaussian ? 0.03f : 0.02f), float(longestSide));
}

int ImageModBlur::getExtraPixelRadiusRequired(int width, int height, float)
{
    return int(std::ceil(extentFor(std::max(width, height))));
}

namespace {

// The picture before the blur, kept for the mix, in memory kept from tile to
// tile: a tile-sized buffer made anew for every tile is faulted in anew.
// Never destroyed: blurs may still run on worker threads while the program
// ends.
template <typename T>
ScratchPool<SampleBuffer<T>>& originalsPool()
{
    static auto* pool = new ScratchPool<SampleBuffer<T>>();
    return *pool;
}

// The used part of image (see UsedRegion) into original, over memory.
template <typename T>
void keepUsedPart(FlexImage<T> const& image, SampleBuffer<T>* memory, FlexImage<T>* original)
{
    PixelRect const used = UsedRegion::of(image.width, image.height);
    size_t const rowSamples = size_t(std::max(used.width(), 0)) * image.channels;
    original->viewOf(memory->atLeast(rowSamples * size_t(std::max(used.height(), 0))), used.width(), used.height(),
                     image.channels);
    for (int y = used.top; y < used.bottom; ++y)
        std::copy_n(image.pixelAt(used.left, y), rowSamples, original->pixelAt(0, y - used.top));
}

} // namespace

template <typename T>
void ImageModBlur::templateMod(FlexImage<T>* image, ImageModChunkInfo* info)
{
    if (floatVarInRange(0) == 0.0f)
        return;
    int const fullWidth = info ? info->fullWidth : image->width;
    int const fullHeight = info ? info->fullHeight : image->height;
    float const x = extentFor(std::max(fullWidth, fullHeight));
    int const r = int(std::ceil(x));
    float const mix = floatVarInRange(1) * 0.01f;
    int const m = method();
    if (mix == 0.0f || r == 0 || m < BlurGaussian || m > BlurCircle)
        return;

    // Small kernels run directly, mixing as they store; larger ones by
    // running sums, whose cost does not grow with the radius (the disc's by
    // row spans, O(r)).
    GrowArray<float> kernel;
    if (m != BlurCircle && r <= directReach) {
        makeBlurKernel(BlurMethod(m), x, r, &kernel);
        separableBlur(image, kernel.data, r, mix);
        return;
    }
    // Only the used part is blurred, kept and mixed.
    auto const originalMemory = originalsPool<T>().lease();
    FlexImage<T> original;
    if (mix < 1.0f)
        keepUsedPart(*image, &*originalMemory, &original);
    if (m == BlurCircle && r <= directDiscReach) {
        makeCircleKernel(x, r, &kernel);
        convolveClamped(image, kernel.data, r);
    } else if (m == BlurCircle) {
        circleBlurBySpans(image, x, r);
    } else {
        runningSeparableBlur(image, PiecewiseKernel::forBlur(BlurMethod(m), x, r));
    }
    if (mix < 1.0f)
        blendWithOriginal(image, original, mix);
}

INSTANTIATE_TEMPLATE_MOD(ImageModBlur);
