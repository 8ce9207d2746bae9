#include <gtest/gtest.h>

#include "mods/mono/ChannelMixerFilters.h"
#include "mods/mono/DiscolorFilters.h"
#include "mods/mono/ImageModFilteredBW.h"
#include "support/PixelCheck.h"

TEST(MonoFilters, ColourMixerRecombinesChannels)
{
    ImageModChannelMixer mixer;
    Pixel const odd = {12.37f, 200.5f, 99.01f};
    EXPECT_EQ(applyToPixel(mixer, odd), odd);

    mixer.setWeight(0, 1, 100.0f); // GreenR: red = R + G
    expectPixel(applyToPixel(mixer, {100, 120, 7}), 220.0f, 120.0f, 7.0f);
    expectPixel(applyToPixel(mixer, {200, 120, 7}), 255.0f, 120.0f, 7.0f);
    mixer.setWeight(0, 0, -100.0f);
    mixer.setWeight(0, 1, 0.0f);
    EXPECT_EQ(applyToPixel(mixer, {200, 120, 7})[0], 0.0f);
}

TEST(MonoFilters, MixerSlidersFollowTheOutputChannel)
{
    ImageModChannelMixer mixer;
    setChoice(mixer, ImageModChannelMixer::OutputChannel, 1);
    mixer.notifyVarChanged(ImageModChannelMixer::OutputChannel);
    EXPECT_EQ(mixer.floatVar(0), 0.0f);   // RedG
    EXPECT_EQ(mixer.floatVar(1), 100.0f); // GreenG
    mixer.setFloatVar(0, 50.0f);
    EXPECT_EQ(mixer.weight(1, 0), 50.0f);
    EXPECT_EQ(mixer.weight(0, 0), 100.0f);
}

TEST(MonoFilters, GreyscaleMixerAndFilteredBlackAndWhite)
{
    ImageModChannelMixerGreyscale redOnly(100.0f, 0.0f, 0.0f);
    expectPixel(applyToPixel(redOnly, {180, 20, 90}), 180.0f, 180.0f, 180.0f);
    ImageModChannelMixerGreyscale sum(100.0f, 100.0f, 100.0f);
    expectPixel(applyToPixel(sum, {255, 255, 255}), 255.0f, 255.0f, 255.0f);

    ImageModFilteredBW plain(0.0f, 0.0f);
    float const L = 0.299f * 180 + 0.587f * 20 + 0.114f * 90;
    expectPixel(applyToPixel(plain, {180, 20, 90}), L, L, L, 1e-2f);
    // A red filter renders red lighter and green darker than plain grey.
    ImageModFilteredBW red(100.0f, 0.0f);
    EXPECT_GT(applyToPixel(red, {200, 0, 0})[0], 0.299f * 200);
    EXPECT_LT(applyToPixel(red, {0, 200, 0})[0], 0.587f * 200);
    float weights[3];
    ImageModFilteredBW::filterWeights(120.0f, 1.0f, weights);
    EXPECT_NEAR(weights[0] + weights[1] + weights[2], 1.0f, 1e-6f);
}

// Whole-number weights that add up to 100 keep white at 255 in 8 bits.
TEST(MonoFilters, WhiteStaysWhiteWhenWeightsAddUpToOneHundred)
{
    ImageModChannelMixer mixer;
    for (int out = 0; out < 3; ++out) {
        mixer.setWeight(out, 0, 30.0f);
        mixer.setWeight(out, 1, 59.0f);
        mixer.setWeight(out, 2, 11.0f);
    }
    FlexImage<unsigned char> white(1, 1, 3);
    std::fill(white.pixels, white.pixels + 3, 255);
    mixer.applyMod(&white, nullptr);
    EXPECT_EQ(white.pixels[0], 255);
    EXPECT_EQ(white.pixels[1], 255);
    EXPECT_EQ(white.pixels[2], 255);

    ImageModChannelMixerGreyscale greyscale(30.0f, 59.0f, 11.0f);
    std::fill(white.pixels, white.pixels + 3, 255);
    greyscale.applyMod(&white, nullptr);
    EXPECT_EQ(white.pixels[0], 255);
}

// Discolor screens each pixel toward its colour by a strength that varies
// over the picture: screening with black changes nothing, and screening
// with white moves every channel of a pixel the same fraction w of its way
// to 255, w in [0, 1]. Three-sample pixels go through a loop of their own,
// so a fourth sample is added to the same picture and the colours must
// agree bit for bit, with white and with a colour of three unlike channels.
TEST(MonoFilters, DiscolorScreensEachPixelByOneStrength)
{
    int const width = 70;
    int const height = 3;
    auto paint = [&](FlexImage<float>& image) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (int c = 0; c < image.channels; ++c)
                    image.pixelAt(x, y)[c] = float((37 * x + 11 * y + 53 * c) % 240);
    };
    FlexImage<float> original(width, height, 3);
    paint(original);

    ImageModDiscolor black(1.0f, 0.0f, OVRGBColor(0.0f, 0.0f, 0.0f), 0.05f, 0.0f);
    FlexImage<float> unchanged(width, height, 3);
    paint(unchanged);
    black.applyMod(&unchanged, nullptr);
    for (size_t i = 0; i < original.sampleCount(); ++i)
        ASSERT_NEAR(unchanged.pixels[i], original.pixels[i], 1e-3f) << "sample " << i;

    ImageModDiscolor white(1.0f, 0.0f, OVRGBColor(255.0f, 255.0f, 255.0f), 0.05f, 0.0f);
    FlexImage<float> screened(width, height, 3);
    FlexImage<float> withFourth(width, height, 4);
    paint(screened);
    paint(withFourth);
    white.applyMod(&screened, nullptr);
    white.applyMod(&withFourth, nullptr);
    bool moved = false;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            float const* in = original.pixelAt(x, y);
            float const* out = screened.pixelAt(x, y);
            float const w = (out[0] - in[0]) / (255.0f - in[0]);
            EXPECT_GE(w, 0.0f);
            EXPECT_LE(w, 1.0f);
            for (int c = 1; c < 3; ++c)
                EXPECT_NEAR((out[c] - in[c]) / (255.0f - in[c]), w, 1e-4f) << x << "," << y;
            moved = moved || w > 0.01f;
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(withFourth.pixelAt(x, y)[c], out[c]) << x << "," << y;
        }
    }
    EXPECT_TRUE(moved);

    ImageModDiscolor orange(0.8f, 0.0f, OVRGBColor(255.0f, 128.0f, 0.0f), 0.05f, 0.0f);
    paint(screened);
    paint(withFourth);
    orange.applyMod(&screened, nullptr);
    orange.applyMod(&withFourth, nullptr);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(withFourth.pixelAt(x, y)[c], screened.pixelAt(x, y)[c]) << x << "," << y;
}
