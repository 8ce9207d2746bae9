#include "mods/basic/ImageModRadialBlur.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "mods/basic/BlurKernels.h"
#include "mods/common/Ramps.h"
#include "mods/common/SampleLoop.h"

namespace {

// Builds kernels on demand, reusing the last one while the radius repeats
// (the untouched centre and the fully blurred rim share one radius each).
class KernelCache
{
public:
    explicit KernelCache(int method) : method(method) {}

    GrowArray<float> const& forRadius(float radius)
    {
        if (radius != lastRadius || kernel.count == 0) {
            lastRadius = radius;
            if (method == BlurCircle)
                makeCircleKernel(radius, int(std::ceil(radius)), &kernel);
            else if (method == BlurBox)
                makeBoxKernelForRadius(radius, &kernel);
            else
                makeGaussKernelForRadius(radius, &kernel);
        }
        return kernel;
    }

private:
    int method;
    float lastRadius = 0.0f;
    GrowArray<float> kernel;
};

// Each pixel's blur radius from its distance to the picture's centre.
template <typename T>
std::vector<float> radiusPlane(FlexImage<T> const& image, ImageModChunkInfo const* info, float falloff,
                               float size, float maxRadius)
{
    PictureFrame const frame = pictureFrame(image, info);
    float const e = rampExponent(falloff);
    float const reach = size * 1.85f *
                        std::sqrt(frame.visibleWidth * 0.5f * frame.visibleWidth * 0.5f +
                                  frame.visibleHeight * 0.5f * frame.visibleHeight * 0.5f);
    std::vector<float> radii(size_t(image.width) * image.height);
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            float const dx = float(x) - frame.centreX;
            float const dy = float(y) - frame.centreY;
            float const d = std::sqrt(dx * dx + dy * dy) / reach;
            float const mask = d > 0.0f ? easePow(d * 1.05f, e) : 0.0f;
            radii[size_t(y) * image.width + x] = mask * maxRadius;
        }
    return radii;
}

// One pass of a per-pixel 1-D blur along rows (step 1 sample column) or
// columns, reading source and writing dest; positions clamp at the edges.
template <typename T>
void variablePass(FlexImage<T> const& source, FlexImage<T>& dest, std::vector<float> const& radii,
                  KernelCache& kernels, bool alongRows)
{
    int const width = source.width;
    int const height = source.height;
    int const channels = source.channels;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            GrowArray<float> const& kernel = kernels.forRadius(radii[size_t(y) * width + x]);
            int const n = kernel.count / 2;
            T* out = dest.pixelAt(x, y);
            for (int c = 0; c < channels; ++c) {
                float sum = 0.0f;
                for (int i = -n; i <= n; ++i) {
                    T const* p = alongRows ? source.pixelAt(std::clamp(x + i, 0, width - 1), y)
                                           : source.pixelAt(x, std::clamp(y + i, 0, height - 1));
                    sum += kernel[i + n] * float(p[c]);
                }
                out[c] = FlexImage<T>::storeSample(clamp255(sum));
            }
        }
}

// The disc kernel of each pixel's own radius, edges clamped.
template <typename T>
void variableCircle(FlexImage<T> const& source, FlexImage<T>& dest, std::vector<float> const& radii,
                    KernelCache& kernels)
{
    int const width = source.width;
    int const height = source.height;
    int const channels = source.channels;
    float sums[4];
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            GrowArray<float> const& kernel = kernels.forRadius(radii[size_t(y) * width + x]);
            int const side = int(std::lround(std::sqrt(double(kernel.count))));
            int const n = side / 2;
            int const shared = std::min(channels, 4);
            std::fill(sums, sums + 4, 0.0f);
            for (int dy = -n; dy <= n; ++dy) {
                int const sy = std::clamp(y + dy, 0, height - 1);
                for (int dx = -n; dx <= n; ++dx) {
                    float const w = kernel[(dy + n) * side + dx + n];
                    if (w == 0.0f)
                        continue;
                    T const* p = source.pixelAt(std::clamp(x + dx, 0, width - 1), sy);
                    for (int c = 0; c < shared; ++c)
                        sums[c] += w * float(p[c]);
                }
            }
            T* out = dest.pixelAt(x, y);
            for (int c = 0; c < shared; ++c)
                out[c] = FlexImage<T>::storeSample(clamp255(sums[c]));
        }
}

} // namespace

ImageModRadialBlur::ImageModRadialBlur(float amount, float falloff, float radius, int method)
    : ImageModTemplate("Radial Blur", "Circular Blur")
{
    addPercentVar("Amount", amount, 0.0f, 1.0f);
    addVar(ImageModVariable::makeFloat("Falloff", falloff, 0.0f, 100.0f));
    addVar(ImageModVariable::makeFloat("Radius", radius, 0.0f, 2.0f));
    addVar(ImageModVariable::makeChoice("Blur Method", labelList({"Gaussian", "Box", "Circle"}), method));
    description = "Blur in a circle around the edges of an image. Falloff affects how quickly the blur "
                  "intensity grows as it gets further from the center of the image.";
    setDefaultVarsToCurrent();
}

float ImageModRadialBlur::maximumRadius(int longestSide) const
{
    float k = floatVarInRange(0) * 30.0f;
    if (method() == BlurGaussian)
        k *= 1.5f;
    return float(double(longestSide) * 0.0008333333333333334 * double(k));
}

int ImageModRadialBlur::getExtraPixelRadiusRequired(int width, int height, float)
{
    return int(double(maximumRadius(std::max(width, height))) + 1.0);
}

template <typename T>
void ImageModRadialBlur::templateMod(FlexImage<T>* image, ImageModChunkInfo* info)
{
    float const amount = floatVarInRange(0);
    int const m = method();
    if (amount == 0.0f || m < BlurGaussian || m > BlurCircle || image->width <= 0 || image->height <= 0)
        return;
    int const fullWidth = info ? info->fullWidth : image->width;
    int const fullHeight = info ? info->fullHeight : image->height;
    std::vector<float> const radii = radiusPlane(*image, info, floatVarInRange(1), floatVarInRange(2),
                                                 maximumRadius(std::max(fullWidth, fullHeight)));
    KernelCache kernels(m);
    FlexImage<T> source;
    source.copyFromImage(*image, true);
    if (m == BlurCircle) {
        variableCircle(source, *image, radii, kernels);
        return;
    }
    variablePass(source, *image, radii, kernels, true);
    source.copyFromImage(*image, true);
    variablePass(source, *image, radii, kernels, false);
}

INSTANTIATE_TEMPLATE_MOD(ImageModRadialBlur);
