#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>

#include "imaging/OVRGBColor.h"
#include "mods/curves/ImageModExposureCurve.h"
#include "mods/curves/ToneRegionFilters.h"
#include "mods/curves/ImageModLabCurves.h"
#include "mods/curves/ChannelCurveFilters.h"
#include "mods/curves/ToneCurveFilters.h"
#include "support/PixelCheck.h"

namespace {

char const* const inverted = "0 1 1 0";

} // namespace

TEST(CurveFilters, PerChannelCurveBlendsByAmountAndDoesNotClamp)
{
    ImageModRGBCombinedCurve curve(1.0f, inverted);
    expectPixel(applyToPixel(curve, {51, 0, 255}), 204.0f, 255.0f, 0.0f);
    curve.setFloatVar(0, 0.5f);
    expectPixel(applyToPixel(curve, {51, 51, 51}), 127.5f, 127.5f, 127.5f);

    ImageModRGBCombinedCurve doubling(1.0f, "0 0 1 2");
    FlexImage<float> white(1, 1, 3);
    white.pixels[0] = white.pixels[1] = white.pixels[2] = 255.0f;
    doubling.applyMod(&white, nullptr);
    EXPECT_NEAR(white.pixels[0], 510.0f, 1e-2);
}

TEST(CurveFilters, LuminanceMethodMovesChannelsInProportion)
{
    // Y = 82.05 becomes 172.95; each channel moves 90.9 / 172.95 of its headroom.
    ImageModLuminanceCurve curve(1.0f, inverted);
    float const share = 90.9f / 172.95f;
    expectPixel(applyToPixel(curve, {100, 50, 200}), 100 + 155 * share, 50 + 205 * share, 200 + 55 * share, 2e-2f);
    // Black has no proportions: every channel takes the target.
    expectPixel(applyToPixel(curve, {0, 0, 0}), 255.0f, 255.0f, 255.0f);

    ImageModToneCurve tone(1.0f, inverted, 0);
    EXPECT_EQ(tone.method(), ImageModToneCurve::Luminance);
    expectPixel(applyToPixel(tone, {100, 50, 200}), 100 + 155 * share, 50 + 205 * share, 200 + 55 * share, 2e-2f);
}

TEST(CurveFilters, ValueMethodKeepsHueAndSaturation)
{
    // V = 200/255 becomes 55/255: every channel scales by 55/200.
    ImageModToneCurve tone(1.0f, inverted, 1);
    expectPixel(applyToPixel(tone, {200, 100, 40}), 55.0f, 27.5f, 11.0f, 1e-2f);
    // Lightness of a grey follows the curve: 51 -> 204.
    ImageModToneCurve lightness(1.0f, inverted, 2);
    expectPixel(applyToPixel(lightness, {51, 51, 51}), 204.0f, 204.0f, 204.0f, 1e-2f);
}

TEST(CurveFilters, IdentityCurvesAndZeroAmountChangeNothing)
{
    Pixel const odd = {12.37f, 200.5f, 99.01f};
    ImageModToneCurve identity(1.0f, "0 0 1 1", 1);
    EXPECT_EQ(applyToPixel(identity, odd), odd);
    ImageModToneCurve noAmount(0.0f, inverted, 0);
    EXPECT_EQ(applyToPixel(noAmount, odd), odd);
    ImageModExposureCurve flat(1.0f, "0 .5 1 .5");
    EXPECT_EQ(applyToPixel(flat, odd), odd);
    ImageModRGBCurves curves;
    EXPECT_EQ(applyToPixel(curves, odd), odd);
    ImageModLabCurves lab;
    EXPECT_EQ(applyToPixel(lab, odd), odd);
}

TEST(CurveFilters, ExposureCurveBrightensByTheCurvesSetting)
{
    // Curve at 1 everywhere with Amount 0.5: exposure 1.5, so
    // c -> 255 - 255 ((255 - c) / 255)^2.
    ImageModExposureCurve exposure(0.5f, "0 1 1 1");
    EXPECT_STREQ(exposure.name.c_str(), "Gamma Curve");
    float const expected = 255.0f - 255.0f * (155.0f / 255.0f) * (155.0f / 255.0f);
    expectPixel(applyToPixel(exposure, {100, 100, 100}), expected, expected, expected, 1e-2f);
    exposure.setVersion(1);
    EXPECT_STREQ(exposure.name.c_str(), "Exposure Curve");
    EXPECT_STREQ(exposure.description.c_str(), "Adjust exposure using a horizontal curve editor.");
}

TEST(CurveFilters, ChannelCurvesActOnTheirOwnChannels)
{
    ImageModRGBCurves curves;
    setCurve(curves, 0, inverted);
    expectPixel(applyToPixel(curves, {51, 51, 51}), 204.0f, 51.0f, 51.0f, 1e-2f);
    // The shared curve acts after the channel curve: inverted twice.
    setCurve(curves, 3, inverted);
    expectPixel(applyToPixel(curves, {51, 51, 51}), 51.0f, 204.0f, 204.0f, 1e-2f);

    ImageModComponentCurve component(inverted, ImageModComponentCurve::BlueRed);
    expectPixel(applyToPixel(component, {51, 51, 51}), 204.0f, 51.0f, 204.0f, 1e-2f);
}

// Rows longer than the filters' blocks of samples: red inverted, green
// kept, blue flat at the middle (RGB Curve: all three inverted), each pixel
// its own, with three, four and five samples a pixel.
TEST(CurveFilters, ChannelCurvesKeepEveryPixelOfALongRowApart)
{
    ImageModRGBCurves curves;
    setCurve(curves, 0, inverted);
    setCurve(curves, 1, "0 0 1 1");
    setCurve(curves, 2, "0 .5 1 .5");
    ImageModRGBCombinedCurve tone(1.0f, inverted);
    for (ImageMod* mod : std::initializer_list<ImageMod*>{&curves, &tone})
        for (int channels : {3, 4, 5}) {
            SCOPED_TRACE(testing::Message() << channels << " channels");
            FlexImage<float> row(600, 1, channels);
            for (int x = 0; x < 600; ++x)
                for (int c = 0; c < channels; ++c)
                    row.pixelAt(x, 0)[c] = c < 3 ? float((x * 7 + c * 50) % 256) : 77.0f;
            mod->applyMod(&row, nullptr);
            bool const perChannel = mod == &curves;
            for (int x = 0; x < 600; ++x) {
                float const* p = row.pixelAt(x, 0);
                float const red = float((x * 7) % 256), green = float((x * 7 + 50) % 256),
                            blue = float((x * 7 + 100) % 256);
                EXPECT_NEAR(p[0], 255.0f - red, 1e-2f) << "pixel " << x;
                EXPECT_NEAR(p[1], perChannel ? green : 255.0f - green, 1e-2f) << "pixel " << x;
                EXPECT_NEAR(p[2], perChannel ? 127.5f : 255.0f - blue, 1e-2f) << "pixel " << x;
                // RGB Curves leaves what follows red, green and blue alone.
                for (int c = 3; perChannel && c < channels; ++c)
                    EXPECT_EQ(p[c], 77.0f) << "pixel " << x << " sample " << c;
            }
        }
}

TEST(CurveFilters, HighlightsAndShadowsConfineTheirChange)
{
    ImageModHighlights highlights;
    highlights.setFloatVar(0, 2.0f);
    EXPECT_NEAR(applyToPixel(highlights, {40, 40, 40})[0], 40.0f, 1.0f);
    EXPECT_GT(applyToPixel(highlights, {180, 180, 180})[0], 200.0f);
    ImageModShadows shadows;
    shadows.setFloatVar(0, 0.0f);
    EXPECT_LT(applyToPixel(shadows, {60, 60, 60})[0], 45.0f);
    EXPECT_NEAR(applyToPixel(shadows, {230, 230, 230})[0], 230.0f, 1.0f);
    // Legacy: a curve through (0.75, 1) lifts the upper quarter and leaves black.
    highlights.setVersion(1);
    EXPECT_EQ(applyToPixel(highlights, {0, 0, 0})[0], 0.0f);
    EXPECT_GT(applyToPixel(highlights, {191, 191, 191})[0], 230.0f);
}

TEST(CurveFilters, LabRoundTripAndWhitePoint)
{
    float const rgb[3] = {200.0f, 120.0f, 40.0f};
    float lab[3];
    float back[3];
    ImageModLabCurves::rgbToLab(rgb, lab);
    ImageModLabCurves::labToRgb(lab, back);
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(back[c], rgb[c], 0.1f);
    float const white[3] = {255.0f, 255.0f, 255.0f};
    ImageModLabCurves::rgbToLab(white, lab);
    EXPECT_NEAR(lab[0], 100.0f, 0.01f);
    EXPECT_NEAR(lab[1], 0.0f, 0.01f);
    EXPECT_NEAR(lab[2], 0.0f, 0.01f);
}

TEST(CurveFilters, LegacyExposureCurveDrainsColourWhenDarkening)
{
    // Curve at 0 with Amount 0.5: exposure 0.5, every channel squared on the
    // unit scale; version 1 then pulls toward the darkened luminance by
    // 1 - 0.5^0.4.
    float const r = 255.0f * (200.0f / 255.0f) * (200.0f / 255.0f);
    float const g = 255.0f * (100.0f / 255.0f) * (100.0f / 255.0f);
    float const b = 255.0f * (50.0f / 255.0f) * (50.0f / 255.0f);
    ImageModExposureCurve gamma(0.5f, "0 0 1 0");
    expectPixel(applyToPixel(gamma, {200, 100, 50}), r, g, b, 1e-2f);
    ImageModExposureCurve exposure(0.5f, "0 0 1 0");
    exposure.setVersion(1);
    float const kept = std::pow(0.5f, 0.4f);
    float const Y = 0.299f * r + 0.587f * g + 0.114f * b;
    expectPixel(applyToPixel(exposure, {200, 100, 50}), r * kept + Y * (1 - kept), g * kept + Y * (1 - kept),
                b * kept + Y * (1 - kept), 2e-2f);
}

// A rising curve at full strength sets exposure 2 Y / 255: grey 51 darkens
// by the power 1 / 0.4, 127.5 stays, 204 brightens by the power 1 / (2 -
// 1.6), i.e. 255 - 255 (51 / 255)^2.5. A row longer than a block of the
// filters' loops, with a fourth channel that stays as it is.
TEST(CurveFilters, GammaCurveDarkensKeepsAndBrightensAlongARow)
{
    ImageModExposureCurve gamma(1.0f, "0 0 1 1");
    float const greys[3] = {51.0f, 127.5f, 204.0f};
    float const fifth = std::pow(0.2f, 2.5f);
    float const expected[3] = {255.0f * fifth, 127.5f, 255.0f - 255.0f * fifth};
    FlexImage<float> row(300, 1, 4);
    for (int x = 0; x < 300; ++x) {
        std::fill(row.pixelAt(x, 0), row.pixelAt(x, 0) + 3, greys[x % 3]);
        row.pixelAt(x, 0)[3] = 77.0f;
    }
    gamma.applyMod(&row, nullptr);
    for (int x = 0; x < 300; ++x) {
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(row.pixelAt(x, 0)[c], expected[x % 3], 2e-3f) << "pixel " << x;
        EXPECT_EQ(row.pixelAt(x, 0)[3], 77.0f);
    }
}

// Highlights moves each pixel's HSV value and keeps its hue and saturation:
// colours in each sixth of the hue circle (and grey, and black), along a row
// longer than a block of the filters' loops.
TEST(CurveFilters, HighlightsKeepHueAndSaturationInEverySector)
{
    Pixel const colours[8] = {{200, 150, 60}, {150, 200, 60}, {60, 200, 150}, {60, 150, 200},
                              {150, 60, 200}, {200, 60, 150}, {180, 180, 180}, {0, 0, 0}};
    ImageModHighlights highlights;
    highlights.setFloatVar(0, 1.8f);
    FlexImage<float> row(300, 1, 3);
    for (int x = 0; x < 300; ++x)
        std::copy(colours[x % 8].begin(), colours[x % 8].end(), row.pixelAt(x, 0));
    highlights.applyMod(&row, nullptr);
    for (int x = 0; x < 300; ++x) {
        Pixel const& in = colours[x % 8];
        float const* out = row.pixelAt(x, 0);
        HSV const before = OVRGBColor::toHSV(in[0], in[1], in[2]);
        HSV const after = OVRGBColor::toHSV(out[0], out[1], out[2]);
        EXPECT_NEAR(after.h, before.h, 1e-3f) << "pixel " << x;
        EXPECT_NEAR(after.s, before.s, 1e-5f) << "pixel " << x;
        if (x % 8 < 7)
            EXPECT_GT(after.v, before.v) << "pixel " << x;
        else
            EXPECT_EQ(after.v, 0.0f);
    }
}

// The per-channel and luminance curve rules take every channel, a fourth
// included.
TEST(CurveFilters, CurvesMoveTheFourthChannelToo)
{
    // A curve flat at 1, half strength: 100 x 0.5 + 255 x 0.5 = 177.5.
    ImageModRGBCombinedCurve combined(0.5f, "0 1 1 1");
    EXPECT_NEAR(applyToFloatPixel(combined, {100, 100, 100, 100})[3], 177.5f, 1e-2f);
    // Black has luminance 0: every channel is set to the target, 255.
    ImageModLuminanceCurve luminance(1.0f, "0 1 1 1");
    Pixel const lifted = applyToFloatPixel(luminance, {0, 0, 0, 40});
    expectPixel(lifted, 255.0f, 255.0f, 255.0f, 1e-2f);
    EXPECT_NEAR(lifted[3], 255.0f, 1e-2f);
}
