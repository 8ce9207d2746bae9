#include <gtest/gtest.h>

#include "mods/mono/ChannelMixerFilters.h"
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
