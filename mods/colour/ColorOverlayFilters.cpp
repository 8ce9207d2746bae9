#include "mods/colour/ColorOverlayFilters.h"

#include "mods/common/SampleLoop.h"
#include "mods/common/ColourRules.h"

ImageModColorOverlay::ImageModColorOverlay(char const* name, int method, float amount, OVRGBColor colour,
                                           char const* text)
    : ImageMod(name, ""), method(method)
{
    addPercentVar("Amount", amount, 0.0f, 1.0f);
    setAuxFloat(0, 0.5f);
    addColorVar("Color", colour);
    description = text;
}

template <typename T>
void ImageModColorOverlay::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const a = floatVarInRange(0);
    if (a == 0.0f || image->channels < 3)
        return;
    OVRGBColor const colour = colorVar(1);
    HSV const dye = colourRules::dyeHSV(colour);
    int const dyeVersion = version;
    colourRules::withMethod(method, [&](auto m) {
        constexpr int rule = decltype(m)::value;
        forEachPixel(image, [&](T* p, int channels) {
            float rgb[3] = {float(p[0]), float(p[1]), float(p[2])};
            colourRules::applyMethod<rule>(rgb, colour, dye, a, dyeVersion);
            for (int c = 0; c < 3; ++c)
                p[c] = FlexImage<T>::storeSample(rgb[c]);
            // A colour filter's fourth target is 255: alpha moves toward opaque.
            if (rule == colourRules::ColorFilter && channels > 3)
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
