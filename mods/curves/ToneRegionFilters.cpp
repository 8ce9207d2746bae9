#include "mods/curves/ToneRegionFilters.h"

#include "imaging/OVRGBColor.h"
#include "mods/common/CurveThrough.h"
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
// saturation kept, over a block of pixels (reds, greens and blues apart).
// A colour's channels are all proportional to its value at a fixed hue and
// saturation, so the move is a scaling of the pixel by the new value over
// the old: no trip to HSV and back. Black, whose value is 0, has no hue and
// becomes the grey of its new value.
void moveValuesTowardCurve(float* red, float* green, float* blue, int count, ToneCurve const& curve, float a)
{
    float values[colourBlockPixels];
    float curved[colourBlockPixels];
    widestLoop(count, [=, &values, &curved](int i) {
        float const gb = green[i] > blue[i] ? green[i] : blue[i];
        float const max = red[i] > gb ? red[i] : gb;
        values[i] = float(double(max) * (1.0 / 255.0));
        curved[i] = values[i];
    });
    curve.lookupValues(curved, count);
    widestLoop(count, [=, &values, &curved](int i) {
        float const v = values[i];
        float const moved = (curved[i] - v) * a + v;
        bool const black = v == 0.0f;
        float const scale = moved / (black ? 1.0f : v);
        red[i] = black ? moved * 255.0f : red[i] * scale;
        green[i] = black ? moved * 255.0f : green[i] * scale;
        blue[i] = black ? moved * 255.0f : blue[i] * scale;
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
    ToneCurve const& curve = curveThrough(legacyPoints(amount));
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
