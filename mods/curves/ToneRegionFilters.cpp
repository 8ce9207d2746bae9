#include "mods/curves/ToneRegionFilters.h"

#include "imaging/OVRGBColor.h"
#include "mods/common/SampleLoop.h"

namespace {

GrowArray<Point2D> pointList(std::initializer_list<Point2D> points)
{
    GrowArray<Point2D> list;
    for (Point2D const& p : points)
        list.add(p);
    return list;
}

// Each pixel's HSV value moved a of the way to the curve, hue and
// saturation kept, over a block of pixels (reds, greens and blues apart):
// every pixel to HSV, the values through the curve, and back, each in a
// loop without branches (the sides worked out and picked), with the
// arithmetic of OVRGBColor's toHSV and fromHSV.
void moveValuesTowardCurve(float* red, float* green, float* blue, int count, ToneCurve const& curve, float a)
{
    float hues[colourBlockPixels];
    float saturations[colourBlockPixels];
    float values[colourBlockPixels];
    float curved[colourBlockPixels];
    widestLoop(count, [=, &hues, &saturations, &values, &curved](int i) {
        float const r = float(double(red[i]) * (1.0 / 255.0));
        float const g = float(double(green[i]) * (1.0 / 255.0));
        float const b = float(double(blue[i]) * (1.0 / 255.0));
        float const gb = g > b ? g : b;
        float const max = r > gb ? r : gb;
        float const gbLow = g < b ? g : b;
        float const min = r < gbLow ? r : gbLow;
        float const d = max - min;
        bool const redTop = r == max;
        bool const greenTop = !redTop && g == max;
        float const rise = redTop ? g - b : (greenTop ? b - r : r - g);
        float const from = redTop ? 0.0f : (greenTop ? 120.0f : 240.0f);
        float hue = d != 0.0f ? rise * 60.0f / d + from : 0.0f;
        hue = hue < 0.0f ? hue + 360.0f : hue;
        hue = hue >= 360.0f ? hue - 360.0f : hue;
        hues[i] = hue;
        saturations[i] = d != 0.0f ? d / max : 0.0f;
        values[i] = max;
        curved[i] = max;
    });
    curve.lookupValues(curved, count);
    widestLoop(count, [=, &hues, &saturations, &values, &curved](int i) {
        float const v = (curved[i] - values[i]) * a + values[i];
        float const s = saturations[i];
        float const x = float(double(hues[i]) * (1.0 / 360.0)) * 6.0f;
        float const sector = std::floor(x);
        float const f = x - sector;
        // A saturation of 0 gives v in every channel through these too.
        float const p = (1.0f - s) * v;
        float const q = (1.0f - f * s) * v;
        float const t = ((f - 1.0f) * s + 1.0f) * v;
        int const k = int(sector);
        float const r = k == 0 ? v : (k == 1 ? q : (k == 2 || k == 3 ? p : (k == 4 ? t : v)));
        float const g = k == 0 ? t : (k == 1 || k == 2 ? v : (k == 3 ? q : p));
        float const b = k == 0 || k == 1 ? p : (k == 2 ? t : (k == 3 || k == 4 ? v : q));
        red[i] = r * 255.0f;
        green[i] = g * 255.0f;
        blue[i] = b * 255.0f;
    });
}

} // namespace

ImageModToneRegion::ImageModToneRegion(char const* name, char const* text, float auxAmount, char const* lifting,
                                       char const* lowering)
    : ImageMod(name, "")
{
    addPercentVar("Amount", 1.0f, 0.0f, 2.0f);
    setAuxFloat(0, auxAmount);
    liftingCurve.setControlPoints(GrowString(lifting));
    loweringCurve.setControlPoints(GrowString(lowering));
    setVersion(2);
    description = text;
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModToneRegion::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const amount = floatVar(0);
    if (hasFloatVar(0) && amount == 1.0f)
        return;
    if (version == 2) {
        if (image->channels < 3)
            return;
        ToneCurve const& curve = amount > 1.0f ? liftingCurve : loweringCurve;
        float const a = amount > 1.0f ? amount - 1.0f : 1.0f - amount;
        forEachColourBlock(image, [&curve, a](float* red, float* green, float* blue, int count) {
            moveValuesTowardCurve(red, green, blue, count, curve, a);
        });
        return;
    }
    ToneCurve curve;
    curve.setControlPoints(legacyPoints(amount));
    forEachPixel(image, [&](T* p, int channels) {
        float const L = float(pixelLuminance(p, channels));
        FlexImage<T>::moveLuminance(p, channels, L, curve.lookup(L / 255.0f) * 255.0f);
    });
}

ImageModHighlights::ImageModHighlights()
    : ImageModTemplate("Highlights", "Adjust the brightness of only the lighter portions of an image.", 0.25f,
                         "0.000000 0.000000 0.245000 0.245000 0.503043 0.503043 0.608696 0.802174 0.813044 "
                         "0.959239 1.000000 1.000000",
                         "0.000000 0.000000 0.245000 0.245000 0.472609 0.472609 0.630435 0.563044 0.834783 "
                         "0.650543 0.960870 0.810054 1.000000 1.000000")
{
}

GrowArray<Point2D> ImageModHighlights::legacyPoints(float a) const
{
    Point2D const moved = a < 1.0f ? Point2D{float(0.75 + (1.0 - double(a)) * 0.25), 0.75f}
                                   : Point2D{0.75f, float(0.75 + (double(a) - 1.0) * 0.25)};
    return pointList({{0.0f, 0.0f}, {0.5f, 0.5f}, moved, {1.0f, 1.0f}});
}

ImageModShadows::ImageModShadows()
    : ImageModTemplate("Shadows", "Adjust the brightness of only the darker portions of an image.", 1.75f,
                         "0.000000 0.000000 0.023913 0.054348 0.071739 0.271739 0.311956 0.455435 0.566522 "
                         "0.562174 0.750000 0.750000 1.000000 1.000000",
                         "0.000000 0.000000 0.149457 0.021739 0.342391 0.116304 0.454348 0.336956 0.575217 "
                         "0.575217 0.750000 0.750000 1.000000 1.000000")
{
}

GrowArray<Point2D> ImageModShadows::legacyPoints(float a) const
{
    Point2D const moved = a < 1.0f ? Point2D{0.25f, float(0.25 + (double(a) - 1.0) * 0.25)}
                                   : Point2D{float(0.25 + (1.0 - double(a)) * 0.25), 0.25f};
    return pointList({{0.0f, 0.0f}, moved, {0.5f, 0.5f}, {1.0f, 1.0f}});
}

INSTANTIATE_TEMPLATE_MOD(ImageModToneRegion);
