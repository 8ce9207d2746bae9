#include <gtest/gtest.h>

#include <cmath>

#include "imaging/FlexImage.h"

namespace {

// Fills sample (x, y, c) with 10x + 100y + c, small enough for 8 bits in tests.
template <typename T>
void fillRamp(FlexImage<T>& image)
{
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            for (int c = 0; c < image.channels; ++c)
                image.pixelAt(x, y)[c] = T(10 * x + 100 * y + c);
}

} // namespace

TEST(FlexImage, FourChannelFloatImagesStartOpaque)
{
    FlexImage<float> image(3, 2, 4);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(image.pixels[i * 4 + 3], 255.0f);
    FlexImage<float> zeroChannels(2, 2, 0);
    EXPECT_EQ(zeroChannels.channels, 3);
}

TEST(FlexImage, CopyFromImageKeepsOrTakesChannels)
{
    FlexImage<float> rgb(4, 3, 3);
    fillRamp(rgb);
    rgb.marginLeft = 7;
    rgb.scale = 0.5f;

    FlexImage<float> rgba(1, 1, 4);
    rgba.copyFromImage(rgb, false);
    ASSERT_EQ(rgba.channels, 4);
    ASSERT_EQ(rgba.width, 4);
    EXPECT_EQ(rgba.pixelAt(2, 1)[0], 120.0f);
    EXPECT_EQ(rgba.pixelAt(2, 1)[2], 122.0f);
    EXPECT_EQ(rgba.pixelAt(2, 1)[3], 255.0f);
    EXPECT_EQ(rgba.marginLeft, 7);
    EXPECT_EQ(rgba.scale, 0.5f);

    FlexImage<float> taken(1, 1, 4);
    taken.copyFromImage(rgb, true);
    EXPECT_EQ(taken.channels, 3);
    EXPECT_EQ(taken.pixelAt(3, 2)[1], 231.0f);
}

TEST(FlexImage, CopyPortionPlacesAndCropsBySignedOffset)
{
    FlexImage<unsigned char> source(20, 20, 3);
    fillRamp(source);

    FlexImage<unsigned char> window(5, 5, 3);
    window.copyFromImagePortion(source, -10, -10, nullptr);
    EXPECT_EQ(window.pixelAt(0, 0)[0], source.pixelAt(10, 10)[0]);
    EXPECT_EQ(window.pixelAt(4, 3)[1], source.pixelAt(14, 13)[1]);

    FlexImage<unsigned char> small(3, 2, 3);
    fillRamp(small);
    FlexImage<unsigned char> canvas(6, 6, 3);
    std::fill(canvas.pixels, canvas.pixels + canvas.sampleCount(), 0);
    int const margins[4] = {1, 0, 0, 1};
    canvas.copyFromImagePortion(small, 2, 3, margins);
    EXPECT_EQ(canvas.pixelAt(2, 3)[0], 0) << "left margin column is not copied";
    EXPECT_EQ(canvas.pixelAt(3, 3)[0], 10);
    EXPECT_EQ(canvas.pixelAt(4, 3)[0], 20);
    EXPECT_EQ(canvas.pixelAt(3, 4)[0], 0) << "bottom margin row is not copied";
}

TEST(FlexImage, ConvolutionAgainstHandComputedValues)
{
    FlexImage<float> image(3, 3, 3);
    fillRamp(image);

    float const identity[1] = {1.0f};
    FlexImage<float> same;
    image.convolveWithKernel(identity, 1, 1, same);
    for (size_t i = 0; i < image.sampleCount(); ++i)
        EXPECT_EQ(same.pixels[i], image.pixels[i]);

    float box[9];
    std::fill(box, box + 9, 1.0f / 9.0f);
    FlexImage<float> blurred;
    image.convolveWithKernel(box, 3, 3, blurred);
    // At the corner the clamped window holds (0,0) four times, (1,0) and
    // (0,1) twice each and (1,1) once: (0*4 + 10*2 + 100*2 + 110) / 9.
    EXPECT_NEAR(blurred.pixelAt(0, 0)[0], 330.0f / 9.0f, 1e-4f);
    EXPECT_NEAR(blurred.pixelAt(1, 1)[0], 110.0f, 1e-4f) << "the centre of a linear ramp is kept";

    float const shiftRight[3] = {1.0f, 0.0f, 0.0f};
    FlexImage<float> shifted;
    image.convolveWithKernel(shiftRight, 3, 1, shifted);
    EXPECT_EQ(shifted.pixelAt(1, 0)[0], 0.0f);
    EXPECT_EQ(shifted.pixelAt(0, 0)[0], 0.0f) << "edge pixels repeat";
    EXPECT_EQ(shifted.pixelAt(2, 2)[0], 210.0f);
}

TEST(FlexImage, LuminanceContrastMovesLuminanceKeepingHue)
{
    // Contrast 1: identity up to truncation.
    unsigned char pixel[3] = {200, 100, 50};
    FlexImage<unsigned char>::luminanceContrast(pixel, 3, 1.0f, 128.0f);
    EXPECT_NEAR(pixel[0], 200, 1);
    EXPECT_NEAR(pixel[1], 100, 1);
    EXPECT_NEAR(pixel[2], 50, 1);

    unsigned char black[3] = {0, 0, 0};
    FlexImage<unsigned char>::luminanceContrast(black, 3, 1.5f, 128.0f);
    EXPECT_EQ(black[0], 0);

    // Below 1 pulls toward the pivot. Grey 64 has L = 64; exponent 0.5 gives
    // T = 128 * sqrt(0.5) = 90.51; each channel 64 + 191 * 26.51 / 191 = 90.
    unsigned char grey[3] = {64, 64, 64};
    FlexImage<unsigned char>::luminanceContrast(grey, 3, 0.5f, 128.0f);
    EXPECT_EQ(grey[0], 90);
    EXPECT_EQ(grey[2], 90);

    // Toward 2 steepens: exponent 1/(2 - 1.9) = 10 sends L = 64 to
    // 128 * 0.5^10 = 0.125, so the pixel goes almost black.
    unsigned char dark[3] = {80, 64, 40};
    FlexImage<unsigned char>::luminanceContrast(dark, 3, 1.9f, 128.0f);
    EXPECT_LE(dark[0], 1);
    EXPECT_LE(dark[1], 1);

    // Above the pivot the headroom scales: L = 191.25 with exponent 2 goes to
    // 255 - (63.75/127)^2 * 127 = 223.0; channel 255 stays, 153 -> 153 + 102*31.75/63.75.
    unsigned char bright[3] = {255, 153, 255};
    float const L = float(0.299 * 255 + 0.587 * 153 + 0.114 * 255);
    float const T = 255.0f - std::pow((255.0f - L) / 127.0f, 2.0f) * 127.0f;
    FlexImage<unsigned char>::luminanceContrast(bright, 3, 1.5f, 128.0f);
    EXPECT_EQ(bright[0], 255);
    EXPECT_EQ(bright[1], int(153.0f + 102.0f * (T - L) / (255.0f - L)));
}

TEST(FlexImage, ConvolutionIntoANewFourChannelImageStartsOpaque)
{
    FlexImage<unsigned char> source(3, 2, 3);
    std::fill(source.pixels, source.pixels + source.sampleCount(), 40);
    FlexImage<unsigned char> destination;
    destination.channels = 4;
    float const identity[] = {1.0f};
    source.convolveWithKernel(identity, 1, 1, destination);
    ASSERT_EQ(destination.width, 3);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(destination.pixels[i * 4], 40);
        EXPECT_EQ(destination.pixels[i * 4 + 3], 255);
    }
}
