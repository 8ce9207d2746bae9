#include "mods/basic/ImageModRadialBlur.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "imaging/FastPow.h"
#include "mods/UsedRegion.h"
#include "mods/basic/BlurKernels.h"
#include "mods/basic/RunningBlur.h"
#include "mods/common/Ramps.h"
#include "mods/common/SampleLoop.h"

namespace {

// Each pixel's blur radius from its distance to the picture's centre, in
// the used columns (see UsedRegion) of every row: the blurs make only the
// used columns, and only their radii (the rest are 0) set how far they
// read.
template <typename T>
std::vector<float> radiusPlane(FlexImage<T> const& image, ImageModChunkInfo const* info, float falloff,
                               float size, float maxRadius)
{
    PixelRect const used = UsedRegion::of(image.width, image.height);
    PictureFrame const frame = pictureFrame(image, info);
    float const e = rampExponent(falloff);
    float const reach = size * 1.85f *
                        std::sqrt(frame.visibleWidth * 0.5f * frame.visibleWidth * 0.5f +
                                  frame.visibleHeight * 0.5f * frame.visibleHeight * 0.5f);
    std::vector<float> radii(size_t(image.width) * image.height);
    for (int y = 0; y < image.height; ++y) {
        float* const row = radii.data() + size_t(y) * image.width;
        float const dy = float(y) - frame.centreY;
        int const left = used.left;
        widestLoop(used.width(), [=](int i) {
            int const x = left + i;
            float const dx = float(x) - frame.centreX;
            float const d = std::sqrt(dx * dx + dy * dy) / reach;
            // The vectorisable power: a radius needs no more than a few
            // parts in 10^7, and the loop then runs several pixels at once.
            float const mask = radialRamp(d, e, [](float b, float k) { return fastPow::power(b, k); });
            row[x] = mask * maxRadius;
        });
    }
    return radii;
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
    float const largest = maximumRadius(std::max(fullWidth, fullHeight));
    std::vector<float> const radii = radiusPlane(*image, info, floatVarInRange(1), floatVarInRange(2), largest);
    if (m == BlurCircle)
        variableCircleBlur(image, radii.data());
    else
        runningVariableBlur(image, radii.data(), BlurMethod(m), largest);
}

INSTANTIATE_TEMPLATE_MOD(ImageModRadialBlur);
