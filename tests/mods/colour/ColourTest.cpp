#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "mods/colour/ColorBalanceFilters.h"
#include "mods/colour/ColorOverlayFilters.h"
#include "mods/colour/ImageModColorTemperature.h"
#include "mods/colour/ColorizeFilters.h"
#include "mods/colour/HueCurveFilters.h"
#include "mods/colour/ImageModRGBSwap.h"
#include "mods/colour/ImageModSelectiveColor.h"
#include "mods/colour/TonalColorFilters.h"
#include "support/PixelCheck.h"

namespace {

Pixel const skin = {224, 172, 138};
Pixel const grey = {100, 100, 100};

} // namespace

TEST(ColourFilters, ColorFilterPushesEachChannelTowardItsComponent)
{
    // Red component 255 at Amount 0.5: d = 0.5, 100 + 0.5 x 155; green
    // component 0: d = -0.5, 100 - 50; blue at mid-grey: unchanged.
    ImageModColorFilter filter(0.5f, OVRGBColor(255.0f, 0.0f, 127.5f));
    expectPixel(applyToPixel(filter, grey), 177.5f, 50.0f, 100.0f);
    ImageModColorFilter white(1.0f, OVRGBColor(255.0f, 255.0f, 255.0f));
    expectPixel(applyToPixel(white, skin), 255.0f, 255.0f, 255.0f);
    ImageModColorFilter black(1.0f, OVRGBColor(0.0f, 0.0f, 0.0f));
    expectPixel(applyToPixel(black, skin), 0.0f, 0.0f, 0.0f);
    ImageModColorFilter midGrey(1.0f, OVRGBColor(127.5f, 127.5f, 127.5f));
    EXPECT_EQ(applyToPixel(midGrey, skin), skin);
}

TEST(ColourFilters, TintColorizeAndDye)
{
    ImageModTint tint(0.25f, OVRGBColor(255.0f, 0.0f, 0.0f));
    expectPixel(applyToPixel(tint, grey), 138.75f, 75.0f, 75.0f);
    ImageModTint paint(1.0f, OVRGBColor(10.0f, 20.0f, 30.0f));
    expectPixel(applyToPixel(paint, skin), 10.0f, 20.0f, 30.0f);

    // Red's grey is 85: offsets +170 and -85, halved.
    ImageModColorize colorize(0.5f, OVRGBColor(255.0f, 0.0f, 0.0f));
    expectPixel(applyToPixel(colorize, grey), 185.0f, 57.5f, 57.5f);
    ImageModColorize greyColour(1.0f, OVRGBColor(40.0f, 40.0f, 40.0f));
    EXPECT_EQ(applyToPixel(greyColour, skin), skin);

    // Version 2 keeps the pixel's value (100) in the dye's hue.
    ImageModDye dye(1.0f, OVRGBColor(255.0f, 0.0f, 0.0f), 2);
    expectPixel(applyToPixel(dye, {100, 50, 25}), 100.0f, 0.0f, 0.0f, 1e-2f);
    // Version 1: v = Y / 255 = 62.1 / 255, saturation 1 - v.
    ImageModDye legacy(1.0f, OVRGBColor(255.0f, 0.0f, 0.0f), 1);
    float const v = 62.1f / 255.0f;
    expectPixel(applyToPixel(legacy, {100, 50, 25}), 62.1f, 62.1f * v, 62.1f * v, 1e-2f);
}

TEST(ColourFilters, SwapBalanceAndWhiteBalance)
{
    ImageModRGBSwap swap;
    EXPECT_EQ(applyToPixel(swap, skin), skin);
    setColour(swap, 0, OVRGBColor(0.0f, 0.0f, 255.0f));
    setColour(swap, 2, OVRGBColor(255.0f, 0.0f, 0.0f));
    Pixel const swapped = applyToPixel(swap, {224, 172, 138, 255});
    expectPixel(swapped, 138.0f, 172.0f, 224.0f, 1e-2f);
    EXPECT_EQ(swapped[3], 0.0f);

    ImageModColorBalance balance(50.0f, 0.0f, 0.0f);
    expectPixel(applyToPixel(balance, {220, 100, 0}), 255.0f, 100.0f, 0.0f);

    ImageModWhiteBalance white(OVRGBColor(200.0f, 150.0f, 100.0f));
    white.setFloatVar(0, 1.0f);
    expectPixel(applyToPixel(white, grey), 150.0f, 100.0f, 50.0f, 1e-2f);
    ImageModWhiteBalance neutral(OVRGBColor(90.0f, 90.0f, 90.0f));
    neutral.setFloatVar(0, 1.0f);
    EXPECT_EQ(applyToPixel(neutral, skin), skin);
}

TEST(ColourFilters, SelectiveSaturationActsWithinTheTolerance)
{
    ImageModSelectiveColor reds(OVRGBColor(255.0f, 0.0f, 0.0f), 20.0f, 0.0f);
    float const L = 0.299f * 200 + 0.587f * 50 + 0.114f * 50;
    expectPixel(applyToPixel(reds, {200, 50, 50}), L, L, L, 1e-2f);
    Pixel const green = {50, 200, 50};
    EXPECT_EQ(applyToPixel(reds, green), green);
    // 36 degrees of tolerance, fading out until 54.
    EXPECT_FLOAT_EQ(ImageModSelectiveColor::hueWeight(30.0f, 36.0f), 1.0f);
    EXPECT_FLOAT_EQ(ImageModSelectiveColor::hueWeight(45.0f, 36.0f), 0.5f);
    EXPECT_FLOAT_EQ(ImageModSelectiveColor::hueWeight(55.0f, 36.0f), 0.0f);
}

TEST(ColourFilters, SplitToneMixesItsColoursByLuminance)
{
    ImageModSplitTone split(1.0f, OVRGBColor(0.0f, 0.0f, 255.0f), OVRGBColor(255.0f, 255.0f, 0.0f));
    expectPixel(applyToPixel(split, {51, 51, 51}), 51.0f, 51.0f, 204.0f, 1e-2f);
    split.setFloatVar(0, 0.5f);
    expectPixel(applyToPixel(split, {51, 51, 51}), 51.0f, 51.0f, 127.5f, 1e-2f);

    // Along a row each pixel takes its own lightness, each channel its own
    // tint: dark (0, 0, 255), light (255, 255, 0), at full strength the
    // tint is (255 l, 255 l, 255 (1 - l)) for l = L / 255.
    split.setFloatVar(0, 1.0f);
    FlexImage<float> row(3, 1, 3);
    float const samples[9] = {0.0f, 0.0f, 0.0f, 255.0f, 255.0f, 255.0f, 255.0f, 0.0f, 0.0f};
    std::copy(samples, samples + 9, row.pixels);
    split.applyMod(&row, nullptr);
    float const redL = 0.299f * 255.0f;
    float const expected[9] = {0.0f, 0.0f, 255.0f, 255.0f, 255.0f, 0.0f, redL, redL, 255.0f - redL};
    for (int i = 0; i < 9; ++i)
        EXPECT_NEAR(row.pixels[i], expected[i], 1e-2f) << "sample " << i;
    // A fourth channel is left as it is.
    Pixel const withAlpha = applyToFloatPixel(split, {51, 51, 51, 77});
    expectPixel(withAlpha, 51.0f, 51.0f, 204.0f, 1e-2f);
    EXPECT_NEAR(withAlpha[3], 77.0f, 1e-3f);
}

TEST(ColourFilters, HueCurvesLeaveFlatCurvesAndGreysAlone)
{
    ImageModHueShift shift("0 .5 1 .5");
    EXPECT_EQ(applyToPixel(shift, skin), skin);
    ImageModHueBrightness brightness("0 .5 1 .5");
    EXPECT_EQ(applyToPixel(brightness, skin), skin);
    // A curve at 0.75 everywhere turns every hue by 90 degrees: red -> yellow-green.
    ImageModHueShift turn("0 .75 1 .75");
    expectPixel(applyToPixel(turn, {200, 0, 0}), 100.0f, 200.0f, 0.0f, 0.5f);
    expectPixel(applyToPixel(turn, grey), 100.0f, 100.0f, 100.0f);
}

TEST(ColourFilters, ColouringAppliesItsMethodAtTheCurvesStrength)
{
    ImageModColorizeNoCurve tint(OVRGBColor(10.0f, 20.0f, 30.0f), 1.0f, 1);
    expectPixel(applyToPixel(tint, skin), 10.0f, 20.0f, 30.0f);
    // The curve is centred on 0.5: there it shifts nothing; at 0.75 it
    // tints half way (100 toward 200: 150); at 0.25 half way toward the
    // complement (55): 77.5.
    ImageModColorizeCurve none("0 .5 1 .5", OVRGBColor(200.0f, 200.0f, 200.0f), 1.0f, 1);
    expectPixel(applyToPixel(none, grey), 100.0f, 100.0f, 100.0f, 1e-2f);
    ImageModColorizeCurve half("0 .75 1 .75", OVRGBColor(200.0f, 200.0f, 200.0f), 1.0f, 1);
    expectPixel(applyToPixel(half, grey), 150.0f, 150.0f, 150.0f, 1e-2f);
    ImageModColorizeCurve complement("0 .25 1 .25", OVRGBColor(200.0f, 200.0f, 200.0f), 1.0f, 1);
    expectPixel(applyToPixel(complement, grey), 77.5f, 77.5f, 77.5f, 1e-2f);
}

// Along a row each pixel takes the strength of its own luminance: an
// identity curve gives 2 (L / 255 - 0.5), here -0.6 for a grey of 51 (tint
// 0.6 toward the complement 55: 53.4) and 0.6 for 204 (toward 200: 201.6).
TEST(ColourFilters, ColouringGivesEachPixelOfARowItsOwnStrength)
{
    ImageModColorizeCurve rising("0 0 1 1", OVRGBColor(200.0f, 200.0f, 200.0f), 1.0f, 1);
    FlexImage<float> row(3, 1, 3);
    float const greys[3] = {51.0f, 204.0f, 51.0f};
    for (int x = 0; x < 3; ++x)
        std::fill(row.pixelAt(x, 0), row.pixelAt(x, 0) + 3, greys[x]);
    rising.applyMod(&row, nullptr);
    float const expected[3] = {53.4f, 201.6f, 53.4f};
    for (int x = 0; x < 3; ++x)
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(row.pixelAt(x, 0)[c], expected[x], 0.1f) << "pixel " << x;
}

// Colorize by a curve: red (255, 0, 0) is 170 above its grey of 85 in red
// and 85 below it in green and blue; its complement (0, 255, 255) the
// opposite. Shifts of -0.6 (grey 51), 0.2 (153) and 0.6 (204) give
// 51 + (-102, 51, 51), 153 + (34, -17, -17) and 204 + (102, -51, -51),
// clamped to 0..255. A row of 40 pixels, so that every part of a loop over
// blocks of samples is crossed.
TEST(ColourFilters, ColorizeByCurveMovesEachPixelByItsSidesDeviation)
{
    ImageModColorizeCurve rising("0 0 1 1", OVRGBColor(255.0f, 0.0f, 0.0f), 1.0f, 0);
    float const greys[3] = {51.0f, 153.0f, 204.0f};
    float const expected[3][3] = {{0.0f, 102.0f, 102.0f}, {187.0f, 136.0f, 136.0f}, {255.0f, 153.0f, 153.0f}};
    int const width = 40;
    FlexImage<float> row(width, 1, 3);
    for (int x = 0; x < width; ++x)
        std::fill(row.pixelAt(x, 0), row.pixelAt(x, 0) + 3, greys[x % 3]);
    rising.applyMod(&row, nullptr);
    for (int x = 0; x < width; ++x)
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(row.pixelAt(x, 0)[c], expected[x % 3][c], 0.1f) << "pixel " << x << " channel " << c;
}

// A dye of hue h and saturation s at value v is v (1 - s (1 - shape)) per
// channel, shape being where the channel sits between the hue's smallest
// (0) and largest (1) component. The six orders of the components (255,
// 204, 51) have one hue in each sixth of the circle, none half way through
// it (where the two rising and falling parts agree); a row of two pixels of
// different brightness checks that each takes its own value.
TEST(ColourFilters, DyeTakesEveryHueSectorAndEachPixelsOwnValue)
{
    float const components[6][3] = {{255, 204, 51}, {204, 255, 51}, {51, 255, 204},
                                    {51, 204, 255}, {204, 51, 255}, {255, 51, 204}};
    Pixel const pixels[2] = {{200, 100, 50}, {20, 40, 60}};
    for (int version : {1, 2}) {
        for (auto const& k : components) {
            ImageModDye dye(1.0f, OVRGBColor(k[0], k[1], k[2]), version);
            FlexImage<float> row(2, 1, 3);
            std::copy(pixels[0].begin(), pixels[0].end(), row.pixelAt(0, 0));
            std::copy(pixels[1].begin(), pixels[1].end(), row.pixelAt(1, 0));
            dye.applyMod(&row, nullptr);
            for (int x = 0; x < 2; ++x) {
                Pixel const& in = pixels[x];
                // Version 2 keeps the pixel's largest channel and the dye's
                // saturation (0.8); older versions take the luminance and
                // wash the saturation out with it.
                float const luma = 0.299f * in[0] + 0.587f * in[1] + 0.114f * in[2];
                float const v = (version == 2 ? std::max({in[0], in[1], in[2]}) : luma) / 255.0f;
                float const s = version == 2 ? 0.8f : 0.8f * (1.0f - v);
                for (int c = 0; c < 3; ++c) {
                    float const shape = (k[c] - 51.0f) / 204.0f;
                    EXPECT_NEAR(row.pixelAt(x, 0)[c], 255.0f * v * (1.0f - s * (1.0f - shape)), 2e-3f)
                        << "version " << version << ", dye " << k[0] << " " << k[1] << " " << k[2] << ", pixel "
                        << x << ", channel " << c;
                }
            }
        }
    }
}

// The temperature's curves at full weight (the flat curve, Amount 1) and
// Temp 0.5 raise red, green and blue to the powers 0.85, 0.975 and 1.15;
// the second curves method then moves each pixel back to its own
// luminance. A row longer than a block of the filters' loops.
TEST(ColourFilters, TemperatureCurvesRaiseEachChannelAndCanKeepLuminance)
{
    float const levels[2] = {60.0f, 200.0f};
    for (int method : {ImageModColorTemperature::ByRGBCurves, ImageModColorTemperature::ByRGBCurvesKeepingLuminance}) {
        ImageModColorTemperature warm(1.0f, 0.5f, method);
        FlexImage<float> row(300, 1, 3);
        for (int x = 0; x < 300; ++x)
            std::fill(row.pixelAt(x, 0), row.pixelAt(x, 0) + 3, levels[x % 2]);
        warm.applyMod(&row, nullptr);
        for (int x = 0; x < 300; ++x) {
            float const v = levels[x % 2] / 255.0f;
            float const* p = row.pixelAt(x, 0);
            if (method == ImageModColorTemperature::ByRGBCurves) {
                EXPECT_NEAR(p[0], 255.0f * std::pow(v, 0.85f), 1e-2f) << "pixel " << x;
                EXPECT_NEAR(p[1], 255.0f * std::pow(v, 0.975f), 1e-2f) << "pixel " << x;
                EXPECT_NEAR(p[2], 255.0f * std::pow(v, 1.15f), 1e-2f) << "pixel " << x;
            } else {
                EXPECT_NEAR(0.299f * p[0] + 0.587f * p[1] + 0.114f * p[2], levels[x % 2], 1e-2f) << "pixel " << x;
                EXPECT_GT(p[0], p[2]) << "pixel " << x;
            }
        }
    }
}

// Colorize over a row longer than a block of the filters' loops: red's
// offsets (+85, -42.5, -42.5) at half strength on each pixel's own levels,
// clamped, and a fourth channel left as it is.
TEST(ColourFilters, ColouringARowKeepsEveryPixelAndItsFourthChannel)
{
    ImageModColorize colorize(0.5f, OVRGBColor(255.0f, 0.0f, 0.0f));
    FlexImage<float> row(300, 1, 4);
    for (int x = 0; x < 300; ++x)
        for (int c = 0; c < 4; ++c)
            row.pixelAt(x, 0)[c] = float((x * 5 + c * 60) % 256);
    colorize.applyMod(&row, nullptr);
    float const offsets[3] = {85.0f, -42.5f, -42.5f};
    for (int x = 0; x < 300; ++x) {
        for (int c = 0; c < 3; ++c) {
            float const in = float((x * 5 + c * 60) % 256);
            EXPECT_NEAR(row.pixelAt(x, 0)[c], std::clamp(in + offsets[c], 0.0f, 255.0f), 1e-3f) << "pixel " << x;
        }
        EXPECT_EQ(row.pixelAt(x, 0)[3], float((x * 5 + 180) % 256));
    }
}

TEST(ColourFilters, ColourByToneAndTemperature)
{
    // Red in the shadows only: black takes its whole deviation from grey
    // (+170, -85, -85), white none of it.
    ImageModColorCorrector corrector(1.0f);
    setColour(corrector, 1, OVRGBColor(255.0f, 0.0f, 0.0f));
    expectPixel(applyToPixel(corrector, {0, 0, 0}), 170.0f, 0.0f, 0.0f);
    expectPixel(applyToPixel(corrector, {255, 255, 255}), 255.0f, 255.0f, 255.0f);
    float weights[3];
    ImageModColorCorrector::toneWeights(0.5f, weights);
    EXPECT_FLOAT_EQ(weights[0] + weights[1] + weights[2], 1.0f);
    EXPECT_FLOAT_EQ(weights[1], 0.5f);

    for (int method = 0; method < 4; ++method) {
        ImageModColorTemperature warm(1.0f, 0.8f, method);
        Pixel const warmed = applyToPixel(warm, grey);
        EXPECT_GT(warmed[0], 100.0f) << "method " << method;
        EXPECT_LT(warmed[2], 100.0f) << "method " << method;
        ImageModColorTemperature cool(1.0f, -0.8f, method);
        Pixel const cooled = applyToPixel(cool, grey);
        EXPECT_LT(cooled[0], 100.0f) << "method " << method;
        EXPECT_GT(cooled[2], 100.0f) << "method " << method;
    }
}

// Tint and Dye are blends: nothing clamps them.
TEST(ColourFilters, TintAndDyeClampNothing)
{
    // 400 x 0.9 + 255 x 0.1 = 385.5; 100 x 0.9 + 25.5; -50 x 0.9 + 25.5.
    ImageModTint tint(0.1f, OVRGBColor(255.0f, 255.0f, 255.0f));
    expectPixel(applyToFloatPixel(tint, {400, 100, -50}), 385.5f, 115.5f, -19.5f);
    // Dye red at full value: v = 510 / 255 x 1 = 2, so the dyed red is 510;
    // half of it and half of 510 is 510, not 255.
    ImageModDye dye(0.5f, OVRGBColor(255.0f, 0.0f, 0.0f), 2);
    expectPixel(applyToFloatPixel(dye, {510, 0, 0}), 510.0f, 0.0f, 0.0f);
}

// The fourth channel: Color Filter's target for it is 255, Selective
// Saturation moves every channel toward the luminance.
TEST(ColourFilters, FourthChannelFollowsItsRule)
{
    // d = (255 - 127.5) x 2/255 x 0.5 = 0.5: 100 + 0.5 x 155 = 177.5.
    ImageModColorFilter filter(0.5f, OVRGBColor(127.5f, 127.5f, 127.5f));
    Pixel const filtered = applyToFloatPixel(filter, {100, 100, 100, 100});
    expectPixel(filtered, 100.0f, 100.0f, 100.0f);
    EXPECT_NEAR(filtered[3], 177.5f, 1e-3f);

    // Pure red, its own hue, Saturation 0: f = 0, every channel becomes
    // L = 0.299 x 255 = 76.245.
    ImageModSelectiveColor selective;
    setColour(selective, 0, OVRGBColor(255.0f, 0.0f, 0.0f));
    selective.setFloatVar(2, 0.0f);
    Pixel const grey = applyToFloatPixel(selective, {255, 0, 0, 200});
    expectPixel(grey, 76.245f, 76.245f, 76.245f);
    EXPECT_NEAR(grey[3], 76.245f, 1e-3f);
}

TEST(ColourFilters, RgbSwapWithThreeBlackColoursGivesBlack)
{
    ImageModRGBSwap swap;
    for (int i = 0; i < 3; ++i)
        setColour(swap, i, OVRGBColor(0.0f, 0.0f, 0.0f));
    expectPixel(applyToPixel(swap, {10, 200, 255}), 0.0f, 0.0f, 0.0f);
}

// Red, green and blue each sent half to two channels: every channel sums
// to 256, so the factor is 255 / 256 and each output is the mean of two
// inputs. A float row longer than a block of the filters' loops, each pixel
// different.
TEST(ColourFilters, RgbSwapMixesEveryPixelOfALongRow)
{
    ImageModRGBSwap swap;
    setColour(swap, 0, OVRGBColor(128.0f, 128.0f, 0.0f));
    setColour(swap, 1, OVRGBColor(0.0f, 128.0f, 128.0f));
    setColour(swap, 2, OVRGBColor(128.0f, 0.0f, 128.0f));
    FlexImage<float> row(300, 1, 3);
    for (int x = 0; x < 300; ++x) {
        float* p = row.pixelAt(x, 0);
        p[0] = float(x % 256);
        p[1] = float((x * 7) % 256);
        p[2] = float(255 - x % 256);
    }
    swap.applyMod(&row, nullptr);
    for (int x = 0; x < 300; ++x) {
        float const r = float(x % 256), g = float((x * 7) % 256), b = float(255 - x % 256);
        float const* p = row.pixelAt(x, 0);
        EXPECT_NEAR(p[0], (r + b) / 2.0f, 1e-3f) << "pixel " << x;
        EXPECT_NEAR(p[1], (r + g) / 2.0f, 1e-3f) << "pixel " << x;
        EXPECT_NEAR(p[2], (g + b) / 2.0f, 1e-3f) << "pixel " << x;
    }
}
