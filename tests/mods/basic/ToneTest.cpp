#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "extension/ImageModRegistry.h"
#include "mods/basic/ImageModBrightness.h"
#include "mods/basic/ImageModContrast.h"
#include "mods/basic/ImageModContrastAndSaturation.h"
#include "mods/basic/ImageModExposure.h"
#include "mods/basic/ImageModGammaLegacy.h"
#include "mods/basic/ImageModLuminanceContrast.h"
#include "mods/basic/ImageModMultiTool.h"
#include "mods/basic/ImageModSaturation.h"
#include "support/PixelCheck.h"
#include "support/TestImages.h"


TEST(ToneFilters, BrightnessIsAStraightLine)
{
    ImageModBrightness lift(1.5f);
    // Black point lifted to 0.5: c -> 127.5 + c / 2.
    expectPixel(applyToPixel(lift, {0, 100, 255}), 127.5f, 177.5f, 255.0f);
    ImageModBrightness drop(0.5f);
    expectPixel(applyToPixel(drop, {0, 200, 255}), 0.0f, 100.0f, 127.5f);
    ImageModBrightness white(2.0f);
    expectPixel(applyToPixel(white, {0, 17, 200}), 255.0f, 255.0f, 255.0f);
    ImageModBrightness black(0.0f);
    expectPixel(applyToPixel(black, {3, 128, 255}), 0.0f, 0.0f, 0.0f);
    // Fractional samples follow the same lines closely, and samples beyond
    // 0..255 (or not numbers) take the nearest end of the curve.
    for (float amount : {0.37f, 1.61f}) {
        ImageModBrightness mod(amount);
        double const low = amount >= 1.0f ? 255.0 * (amount - 1.0) : 0.0;
        double const high = amount >= 1.0f ? 255.0 : 255.0 * amount;
        for (float c = 0.0f; c < 255.0f; c += 0.731f) {
            float const expected = float(low + (high - low) * c / 255.0);
            EXPECT_NEAR(applyToFloatPixel(mod, {c})[0], expected, 1e-4f * std::max(expected, 1.0f)) << amount << " " << c;
        }
        Pixel const ends = applyToFloatPixel(mod, {-40.0f, 300.0f, std::nanf("")});
        EXPECT_NEAR(ends[0], low, 1e-3);
        EXPECT_NEAR(ends[1], high, 1e-3);
        EXPECT_NEAR(ends[2], low, 1e-3);
    }
}

TEST(ToneFilters, ContrastIsAPowerCurveAboutTheCentre)
{
    // Amount 1.5 gives exponent 2 about 127.5.
    ImageModContrast steeper(1.5f, 127.5f);
    expectPixel(applyToPixel(steeper, {63.75f, 127.5f, 191.25f}), 31.875f, 127.5f, 223.125f);
    expectPixel(applyToPixel(steeper, {0, 255, 127}), 0.0f, 255.0f, 127.5f * std::pow(127.0f / 127.5f, 2.0f));
    // Amount 0.5 is exponent 0.5.
    ImageModContrast flatter(0.5f, 127.5f);
    expectPixel(applyToPixel(flatter, {63.75f, 0, 255}), 127.5f * std::sqrt(0.5f), 0.0f, 255.0f);
    // Centre 255: everything takes the lower branch; centre 0: the upper one.
    ImageModContrast topCentre(1.5f, 255.0f);
    expectPixel(applyToPixel(topCentre, {127.5f, 255, 0}), 63.75f, 255.0f, 0.0f);
    ImageModContrast bottomCentre(1.5f, 0.0f);
    expectPixel(applyToPixel(bottomCentre, {0, 127.5f, 255}), 0.0f, 191.25f, 255.0f);
}

TEST(ToneFilters, LuminanceContrastScalesChannelsTogether)
{
    ImageModLuminanceContrast mod(1.5f, 127.5f);
    // L = 0.299*200 + 0.587*100 + 0.114*50 = 124.2, moved to 127.5*(124.2/127.5)^2.
    double const L = 124.2;
    double const target = 127.5 * std::pow(L / 127.5, 2.0);
    double const ratio = target / L;
    expectPixel(applyToPixel(mod, {200, 100, 50}), float(200 * ratio), float(100 * ratio), float(50 * ratio));
    // A dark pixel brightened (amount below 1) moves toward white in proportion to headroom.
    ImageModLuminanceContrast flatter(0.5f, 127.5f);
    double const L2 = 0.299 * 40 + 0.587 * 20 + 0.114 * 10;
    double const T2 = 127.5 * std::sqrt(L2 / 127.5);
    double const lift = (T2 - L2) / (255 - L2);
    expectPixel(applyToPixel(flatter, {40, 20, 10}), float(40 + 215 * lift), float(20 + 235 * lift), float(10 + 245 * lift));
    expectPixel(applyToPixel(mod, {0, 0, 0}), 0, 0, 0);
    expectPixel(applyToPixel(mod, {255, 255, 255}), 255, 255, 255);
}

TEST(ToneFilters, SaturationVersionsUseTheirOwnGrey)
{
    ImageModSaturation current(0.0f, 2);
    float const perceived = float(std::sqrt(0.299 * 200 * 200 + 0.587 * 100 * 100 + 0.114 * 50 * 50));
    expectPixel(applyToPixel(current, {200, 100, 50}), perceived, perceived, perceived);

    ImageModSaturation legacy(0.0f, 1);
    expectPixel(applyToPixel(legacy, {200, 100, 50}), 124.2f, 124.2f, 124.2f);

    // 1.5 maps to a factor of 1/(2 - 1.5) = 2: 2c - Y, clamped.
    ImageModSaturation boosted(1.5f, 1);
    expectPixel(applyToPixel(boosted, {200, 100, 50}), 255.0f, 75.8f, 0.0f);

    // 2 is capped to 1.99999, a factor of 100000: any deviation saturates.
    ImageModSaturation extreme(2.0f, 2);
    Pixel const out = applyToPixel(extreme, {130, 128, 126});
    EXPECT_EQ(out[0], 255.0f);
    EXPECT_EQ(out[2], 0.0f);
}

TEST(ToneFilters, ExposureBrightensHeadroomAndDarkensWithLessColour)
{
    ImageModExposure brighter(1.5f);
    // 255 - 255 * ((255 - c)/255)^2
    expectPixel(applyToPixel(brighter, {0, 127.5f, 255}), 0.0f, 191.25f, 255.0f);

    ImageModExposure darker(0.5f);
    // Each channel 255 * (c/255)^2, then pulled toward its luminance with
    // weight w = 0.5^0.4.
    float const d[3] = {255 * std::pow(200 / 255.0f, 2.0f), 255 * std::pow(100 / 255.0f, 2.0f),
                        255 * std::pow(50 / 255.0f, 2.0f)};
    float const y = float(0.299 * d[0] + 0.587 * d[1] + 0.114 * d[2]);
    float const w = std::pow(0.5f, 0.4f);
    expectPixel(applyToPixel(darker, {200, 100, 50}), d[0] * w + y * (1 - w), d[1] * w + y * (1 - w),
                d[2] * w + y * (1 - w));
    // White is held at 254.95 so that it darkens.
    Pixel const white = applyToPixel(darker, {255, 255, 255});
    EXPECT_NEAR(white[0], 255 * std::pow(254.95f / 255, 2.0f), 1e-2f);

    // Each pixel is pulled toward its own luminance, over rows longer than
    // the blocks the pixels are worked in: one of whole levels (darkened
    // through a table), one between levels.
    FlexImage<float> rows(300, 2, 3);
    for (size_t i = 0; i < rows.sampleCount(); ++i)
        rows.pixels[i] = float((i * 83 + 20) % 256) + (i < 900 ? 0.0f : 0.37f);
    FlexImage<float> before(300, 2, 3);
    std::memcpy(before.pixels, rows.pixels, rows.sampleCount() * sizeof(float));
    darker.applyMod(&rows, nullptr);
    for (int y = 0; y < rows.height; ++y)
        for (int x = 0; x < rows.width; ++x) {
            double dark[3];
            for (int c = 0; c < 3; ++c)
                dark[c] = 255.0 * std::pow(std::min(double(before.pixelAt(x, y)[c]), 254.95) / 255.0, 2.0);
            double const grey = 0.299 * dark[0] + 0.587 * dark[1] + 0.114 * dark[2];
            for (int c = 0; c < 3; ++c)
                ASSERT_NEAR(rows.pixelAt(x, y)[c], dark[c] * w + grey * (1 - w), 1e-3) << "pixel " << x << ", " << y;
        }
}

TEST(ToneFilters, GammaVersions)
{
    ImageModGammaLegacy legacy(1.5f);
    legacy.setVersion(1);
    expectPixel(applyToPixel(legacy, {63.75f, 0, 255}), 127.5f, 0.0f, 255.0f);
    legacy.setFloatVar(0, 0.5f);
    expectPixel(applyToPixel(legacy, {63.75f, 0, 255}), 15.9375f, 0.0f, 255.0f);

    ImageModGammaLegacy current(1.5f);
    ASSERT_EQ(current.version, 2);
    // Black is lifted to 0.05 first, so it comes out slightly above 0.
    float const lifted = 255.0f - 255.0f * std::pow(254.95f / 255.0f, 2.0f);
    expectPixel(applyToPixel(current, {0, 127.5f, 255}), lifted, 191.25f, 255.0f);
    EXPECT_GT(applyToPixel(current, {0, 0, 0})[0], 0.0f);
}

// Contrast Saturation works a row at a time, the contrast then the
// saturation: over whole images, in 8 bits (where the contrast's result is
// stored before the saturation reads it) and in float, with and without a
// fourth channel, it equals the two filters run one after the other.
template <typename T>
void expectContrastThenSaturation(int channels)
{
    FlexImage<T> image(67, 5, channels);
    for (size_t i = 0; i < image.sampleCount(); ++i)
        image.pixels[i] = T(float((i * 97 + 11) % 256) + (std::is_same_v<T, float> && i % 3 ? 0.41f : 0.0f));
    FlexImage<T> steps;
    steps.copyFromImage(image, true);
    ImageModContrastAndSaturation composed;
    composed.setFloatVar(0, 0.6f);
    composed.setFloatVar(1, 140.0f);
    composed.applyMod(&image, nullptr);
    ImageModContrast contrast(0.6f, 140.0f);
    ImageModSaturation saturation(1.176f, 1); // 1 + (1 - 0.6) 0.44
    contrast.applyMod(&steps, nullptr);
    saturation.applyMod(&steps, nullptr);
    for (size_t i = 0; i < image.sampleCount(); ++i)
        ASSERT_EQ(image.pixels[i], steps.pixels[i]) << "sample " << i << " of " << channels << " channels";
}

TEST(ToneFilters, ContrastSaturationIsContrastThenSaturation)
{
    for (int channels : {3, 4}) {
        expectContrastThenSaturation<float>(channels);
        expectContrastThenSaturation<unsigned char>(channels);
    }
}

TEST(ToneFilters, CompositionsRunTheirSteps)
{
    // Contrast 1.5 about 90 takes grey 45 to 90 * 0.25; a grey keeps its
    // value under the saturation step that follows.
    ImageModContrastAndSaturation contrastSaturation;
    contrastSaturation.setFloatVar(0, 1.5f);
    expectPixel(applyToPixel(contrastSaturation, {45, 45, 45}), 22.5f, 22.5f, 22.5f, 1e-3f);
    // The saturation step is 1 + (1 - 1.5) * 0.44 = 0.78 of the legacy rule.
    Pixel const coloured = applyToPixel(contrastSaturation, {200, 100, 50});
    // The contrast curve about 90 with exponent 1 / (2 - 1.5) = 2:
    // 255 - 165 (55/165)^2, 255 - 165 (155/165)^2 and 90 (50/90)^2.
    float const c[3] = {236.66667f, 109.39394f, 27.777778f};
    float const y = float(0.299 * c[0] + 0.587 * c[1] + 0.114 * c[2]);
    expectPixel(coloured, c[0] * 0.78f + y * 0.22f, c[1] * 0.78f + y * 0.22f, c[2] * 0.78f + y * 0.22f, 1e-2f);

    ImageModMultiTool multi;
    multi.setFloatVar(0, 75.0f); // exposure 1.5
    expectPixel(applyToPixel(multi, {0, 127.5f, 255}), 0.0f, 191.25f, 255.0f);
    multi.setFloatVar(0, 50.0f);
    multi.setFloatVar(2, 0.0f); // saturation 0: legacy grey by luma
    expectPixel(applyToPixel(multi, {200, 100, 50}), 124.2f, 124.2f, 124.2f);
}
