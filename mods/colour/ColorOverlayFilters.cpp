#include "mods/colour/ColorOverlayFilters.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "imaging/FastPow.h"
#include "mods/common/ColourRules.h"
#include "mods/common/SampleLoop.h"

ImageModColorOverlay::ImageModColorOverlay(char const* name, int method, float amount, OVRGBColor colour,
                                           char const* text)
    : ImageMod(name, ""), method(method)
{
    addPercentVar("Amount", amount, 0.0f, 1.0f);
    setAuxFloat(0, 0.5f);
    addColorVar("Color", colour);
    description = text;
}

namespace {

// Dye over three-channel pixels a row at a time: each pixel's value and
// saturation first, then every sample in one loop, with the channels' parts
// of the hue laid out along the row (the same arithmetic as dyePixel).
template <typename T>
void dyeRows(FlexImage<T>* image, HSV const& dye, float a, int version)
{
    PixelRect const used = UsedRegion::of(image->width, image->height);
    size_t const width = size_t(std::max(used.width(), 0));
    colourRules::DyeChannels const hue(dye.h);
    std::vector<float> values(width), saturations(width);
    float const valueScale = dye.v / 255.0f;
    forEachUsedRow(image, [&](int, int, T* p, int count) {
        float* const v = values.data();
        float* const s = saturations.data();
        if (version == 2) {
            for (int i = 0; i < count; ++i) {
                T const* px = p + 3 * i;
                v[i] = std::fmax(float(px[0]), std::fmax(float(px[1]), float(px[2]))) / 255.0f * dye.v;
                s[i] = dye.s;
            }
        } else {
            rowLuminances(p, count, 3, v);
            widestLoop(count, [v, s, valueScale, dye](int i) {
                v[i] = valueScale * v[i];
                s[i] = dye.s * (1.0f - v[i]);
            });
        }
        widestLoop(count, [p, v, s, hue, a](int i) {
            for (int c = 0; c < 3; ++c) {
                float const dyed = fastPow::pick(hue.isValue[c], v[i], (1.0f + hue.k[c] * s[i]) * v[i]) * 255.0f;
                p[3 * i + c] = FlexImage<T>::storeSample(dyed * a + float(p[3 * i + c]) * (1.0f - a));
            }
        });
    });
}

} // namespace

template <typename T>
void ImageModColorOverlay::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const a = floatVarInRange(0);
    if (a == 0.0f || image->channels < 3)
        return;
    OVRGBColor const colour = colorVar(1);
    HSV const dye = colourRules::dyeHSV(colour);
    int const dyeVersion = version;
    if (method == colourRules::Dye && image->channels == 3) {
        dyeRows(image, dye, a, dyeVersion);
        return;
    }
    colourRules::withMethod(method, [&](auto m) {
        constexpr int rule = decltype(m)::value;
        if constexpr (rule == colourRules::Tint) {
            // A blend toward the colour already vectorises pixel by pixel.
            forEachPixel(image, [&colour, a](T* p, int) {
                float rgb[3] = {float(p[0]), float(p[1]), float(p[2])};
                colourRules::applyMethod<rule>(rgb, colour, HSV(), a);
                for (int c = 0; c < 3; ++c)
                    p[c] = FlexImage<T>::storeSample(rgb[c]);
            });
            return;
        }
        // The colour and the dye by value: read through references, they
        // would be read again after every store, and the loop would not
        // vectorise.
        forEachColourTriple(image, [colour, dye, a, dyeVersion](float& red, float& green, float& blue) {
            float rgb[3] = {red, green, blue};
            colourRules::applyMethod<rule>(rgb, colour, dye, a, dyeVersion);
            red = rgb[0];
            green = rgb[1];
            blue = rgb[2];
        });
        // A colour filter's fourth target is 255: alpha moves toward opaque.
        if (rule == colourRules::ColorFilter && image->channels > 3)
            forEachPixel(image, [a](T* p, int) {
                p[3] = FlexImage<T>::storeSample(colourRules::filterChannel(float(p[3]), 255.0f, a));
            });
    });
}

ImageModTint::ImageModTint(float amount, OVRGBColor colour)
    : ImageModTemplate("Tint", colourRules::Tint, amount, colour,
                           "Tint the image by overlaying the selected color. Compare this result with Color Filter "
                           "and Dye.")
{
    setDefaultVarsToCurrent();
}

ImageModColorize::ImageModColorize(float amount, OVRGBColor colour)
    : ImageModTemplate("Colorize", colourRules::Colorize, amount, colour,
                           "Adjust the color of the image by adding or subtracting RGB values. Compare this result "
                           "with Color Filter, Dye, and Tint.")
{
    setDefaultVarsToCurrent();
}

ImageModColorFilter::ImageModColorFilter(float amount, OVRGBColor colour)
    : ImageModTemplate("Color Filter", colourRules::ColorFilter, amount, colour,
                           "Filter the image with the selected color. Compare this result with Tint and Dye.")
{
    setDefaultVarsToCurrent();
}

ImageModDye::ImageModDye(float amount, OVRGBColor colour, int version)
    : ImageModTemplate("Dye", colourRules::Dye, amount, colour,
                           "Dye the image with the selected color, preserving detail. Compare this result with Color "
                           "Filter and Tint.")
{
    setVersion(version);
    setDefaultVarsToCurrent();
}

INSTANTIATE_TEMPLATE_MOD(ImageModColorOverlay);
