#include "mods/basic/ImageModRadialBlur.h"

#include <algorithm>
#include <cmath>

#include "core/SampleMemory.h"
#include "core/ScratchPool.h"
#include "imaging/FastPow.h"
#include "mods/UsedRegion.h"
#include "mods/basic/BlurKernels.h"
#include "mods/basic/RunningBlur.h"
#include "mods/common/Ramps.h"
#include "mods/common/SampleLoop.h"

namespace {

// Each pixel's blur radius from its distance to the picture's centre.
class RadiusRamp
{
public:
    template <typename T>
    RadiusRamp(FlexImage<T> const& image, ImageModChunkInfo const* info, float falloff, float size, float maxRadius)
        : frame(pictureFrame(image, info)), exponent(rampExponent(falloff)),
          reach(size * 1.85f *
                std::sqrt(frame.visibleWidth * 0.5f * frame.visibleWidth * 0.5f +
                          frame.visibleHeight * 0.5f * frame.visibleHeight * 0.5f)),
          maxRadius(maxRadius)
    {
    }

    // The radii of the pixels in rect, into a plane stride radii a row.
    void fill(PixelRect rect, size_t stride, float* radii) const
    {
        for (int y = rect.top; y < rect.bottom; ++y) {
            float* const row = radii + size_t(y) * stride;
            float const dy = float(y) - frame.centreY;
            // Copies for the loop, which then reads nothing through this.
            int const left = rect.left;
            float const centreX = frame.centreX;
            float const e = exponent;
            float const toDistance = reach;
            float const largest = maxRadius;
            widestLoop(rect.width(), [=](int i) {
                int const x = left + i;
                float const dx = float(x) - centreX;
                float const d = std::sqrt(dx * dx + dy * dy) / toDistance;
                // The vectorisable power: a radius needs no more than a few
                // parts in 10^7, and the loop then runs several pixels at once.
                float const mask = radialRamp(d, e, [](float b, float k) { return fastPow::power(b, k); });
                row[x] = mask * largest;
            });
        }
    }

private:
    PictureFrame frame;
    float exponent;
    float reach;
    float maxRadius;
};

// The planes of radii, kept from tile to tile: a plane of a large tile is
// megabytes, and only the part a blur reads is filled.
ScratchPool<SampleBuffer<float>>& radiusPlanes()
{
    static auto* pool = new ScratchPool<SampleBuffer<float>>();
    return *pool;
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
    RadiusRamp const ramp(*image, info, floatVarInRange(1), floatVarInRange(2), largest);
    // The radii of the used pixels (see UsedRegion) first: the reach of
    // their kernels says which more the blur reads.
    auto const lease = radiusPlanes().lease();
    float* const radii = lease->atLeast(size_t(image->width) * size_t(image->height));
    size_t const stride = size_t(image->width);
    PixelRect const used = UsedRegion::of(image->width, image->height);
    ramp.fill(used, stride, radii);
    if (m == BlurCircle) {
        variableCircleBlur(image, radii);
        return;
    }
    PixelRect const rows = varyingBlurRadiiRows(radii, image->width, image->height);
    ramp.fill(PixelRect{used.left, rows.top, used.right, used.top}, stride, radii);
    ramp.fill(PixelRect{used.left, used.bottom, used.right, rows.bottom}, stride, radii);
    runningVariableBlur(image, radii, BlurMethod(m), largest);
}

INSTANTIATE_TEMPLATE_MOD(ImageModRadialBlur);
