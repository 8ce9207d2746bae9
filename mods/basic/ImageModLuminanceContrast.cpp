#include "mods/basic/ImageModLuminanceContrast.h"

#include <cmath>

#include "imaging/FastPow.h"
#include "mods/common/SampleLoop.h"

ImageModLuminanceContrast::ImageModLuminanceContrast(float amount, float center)
    : ImageModTemplate("Luminance Contrast", amount, center, "Contrast Origin",
                       "Adjust contrast based on luminance, which preserves saturation. The Contrast Origin slider "
                       "determines the brightness value from which the contrast emanates.")
{
}

template <typename T>
void ImageModLuminanceContrast::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const a = floatVarInRange(0);
    if (a == 1.0f)
        return;
    float const centre = floatVarInRange(1);
    float const k = exponentFor(a);
    moveLuminanceByRows(image, image->channels, [=](int) {
        return [=](int, float L) {
            return curveAt(L, centre, k, [](float x, float y) { return samplePow<T>(x, y); });
        };
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModLuminanceContrast);
