#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <type_traits>

#include "mods/ImageModderMulti.h"
#include "mods/UsedRegion.h"
#include "mods/basic/BlurKernels.h"
#include "mods/basic/ImageModBlur.h"
#include "mods/basic/ImageModDynamics.h"
#include "mods/basic/ImageModNoise.h"
#include "mods/basic/ImageModRadialBlur.h"
#include "mods/basic/ImageModSharpen.h"
#include "mods/basic/ImageModVignette.h"
#include "support/PixelCheck.h"
#include "support/TestImages.h"

namespace {

template <typename T>
void fillWith(FlexImage<T>& image, float value)
{
    for (size_t i = 0; i < image.sampleCount(); ++i)
        image.pixels[i] = T(value);
}

template <typename T>
bool identical(FlexImage<T> const& a, FlexImage<T> const& b)
{
    return a.sampleCount() == b.sampleCount() &&
           std::memcmp(a.pixels, b.pixels, a.sampleCount() * sizeof(T)) == 0;
}

// A one-row image, 0 everywhere but one bright sample in the middle.
std::unique_ptr<FlexImage<float>> spikeRow(int width, float value)
{
    auto image = std::make_unique<FlexImage<float>>(width, 1, 3);
    fillWith(*image, 0.0f);
    for (int c = 0; c < 3; ++c)
        image->pixelAt(width / 2, 0)[c] = value;
    return image;
}

} // namespace

TEST(SpatialFilters, ExtraRadiusFollowsAmountAndPictureSize)
{
    ImageModBlur blur(100.0f, 100.0f);
    EXPECT_EQ(blur.getExtraPixelRadiusRequired(3000, 2000, 1.0f), 90);
    setChoice(blur, 2, BlurBox);
    EXPECT_EQ(blur.getExtraPixelRadiusRequired(2000, 3000, 1.0f), 60);

    // k = 0.5 x 30 x 1.5 = 22.5; 6000 x 0.000833.. x 22.5 + 1 = 113.5.
    ImageModRadialBlur radial(0.5f, 50.0f, 1.0f, BlurGaussian);
    EXPECT_EQ(radial.getExtraPixelRadiusRequired(6000, 4000, 1.0f), 113);

    ImageModSharpen sharpen(50.0f);
    EXPECT_EQ(sharpen.getExtraPixelRadiusRequired(100, 100, 1.0f), 1);
    EXPECT_EQ(sharpen.getExtraPixelRadiusRequired(100, 100, 0.25f), 2);

    ImageModDynamics dynamics(50.0f, 100.0f);
    EXPECT_EQ(dynamics.getExtraPixelRadiusRequired(3000, 2000, 1.0f), 90);
    EXPECT_EQ(ImageModNoise(50.0f).getExtraPixelRadiusRequired(3000, 2000, 1.0f), 0);
}

TEST(SpatialFilters, KernelsMatchTheirWeightRules)
{
    GrowArray<float> k;
    ImageModSharpen::makeHighPassKernel(1, &k);
    ASSERT_EQ(k.count, 9);
    EXPECT_EQ(k[4], 8.0f);
    EXPECT_EQ(k[0], -1.0f);
    ImageModSharpen::makeHighPassKernel(2, &k);
    ASSERT_EQ(k.count, 25);
    EXPECT_EQ(k[12], 24.0f);
    EXPECT_EQ(k[24], -1.0f);

    makeGaussKernelForRadius(1.0f, &k); // outer ease(0.5) = 0.5, total 2
    ASSERT_EQ(k.count, 3);
    EXPECT_FLOAT_EQ(k[0], 0.25f);
    EXPECT_FLOAT_EQ(k[1], 0.5f);
    makeBoxKernelForRadius(1.5f, &k); // ends 0.5 of 4, inner 1 of 4
    ASSERT_EQ(k.count, 5);
    EXPECT_FLOAT_EQ(k[0], 0.125f);
    EXPECT_FLOAT_EQ(k[2], 0.25f);
    EXPECT_FLOAT_EQ(k[4], 0.125f);
    makeBoxKernelForRadius(0.0f, &k);
    ASSERT_EQ(k.count, 1);
    EXPECT_FLOAT_EQ(k[0], 1.0f);
}

TEST(SpatialFilters, BlurSpreadsASpikeByTheKernel)
{
    // 100 wide at Amount 50: Box extent 0.25 x 100 x 0.02 = 0.5, r = 1,
    // weights (0.5, 1, 0.5) / 2.
    ImageModBlur blur(50.0f, 100.0f);
    setChoice(blur, 2, BlurBox);
    auto box = spikeRow(100, 200.0f);
    blur.applyMod(box.get(), nullptr);
    EXPECT_FLOAT_EQ(box->pixelAt(49, 0)[0], 50.0f);
    EXPECT_FLOAT_EQ(box->pixelAt(50, 0)[1], 100.0f);
    EXPECT_FLOAT_EQ(box->pixelAt(51, 0)[2], 50.0f);
    EXPECT_FLOAT_EQ(box->pixelAt(52, 0)[0], 0.0f);

    // Gaussian extent 0.75: outer weight ease(1 - 1/1.75) = 2 x (3/7)^2.
    setChoice(blur, 2, BlurGaussian);
    auto gauss = spikeRow(100, 200.0f);
    blur.applyMod(gauss.get(), nullptr);
    float const outer = 2.0f * (3.0f / 7.0f) * (3.0f / 7.0f);
    EXPECT_NEAR(gauss->pixelAt(49, 0)[0], 200.0f * outer / (1.0f + 2.0f * outer), 1e-3);
    EXPECT_NEAR(gauss->pixelAt(50, 0)[0], 200.0f / (1.0f + 2.0f * outer), 1e-3);

    // Mix 50 blends half of the original back.
    ImageModBlur half(50.0f, 50.0f);
    setChoice(half, 2, BlurBox);
    auto mixed = spikeRow(100, 200.0f);
    half.applyMod(mixed.get(), nullptr);
    EXPECT_FLOAT_EQ(mixed->pixelAt(50, 0)[0], 150.0f);
    EXPECT_FLOAT_EQ(mixed->pixelAt(49, 0)[0], 25.0f);

    // So it does where only part of the row is used (a tile's middle): the
    // original kept for the mix is that part's own.
    auto part = spikeRow(100, 200.0f);
    {
        UsedRegion::Scope const used(100, 1, PixelRect{45, 0, 60, 1}, 0);
        half.applyMod(part.get(), nullptr);
    }
    EXPECT_FLOAT_EQ(part->pixelAt(50, 0)[0], 150.0f);
    EXPECT_FLOAT_EQ(part->pixelAt(49, 0)[0], 25.0f);
    EXPECT_FLOAT_EQ(part->pixelAt(45, 0)[0], 0.0f);
}

TEST(SpatialFilters, BlurOfAFlatImageStaysFlatAndNeutralSettingsChangeNothing)
{
    for (int method : {BlurGaussian, BlurBox, BlurCircle}) {
        ImageModBlur blur(60.0f, 100.0f);
        setChoice(blur, 2, method);
        FlexImage<float> flat(90, 70, 3);
        fillWith(flat, 123.0f);
        blur.applyMod(&flat, nullptr);
        for (size_t i = 0; i < flat.sampleCount(); ++i)
            ASSERT_NEAR(flat.pixels[i], 123.0f, 1e-3) << "method " << method;
    }
    FlexImage<float> pattern(64, 48, 3);
    fillTestPattern(pattern, 5);
    FlexImage<float> untouched;
    untouched.copyFromImage(pattern, true);
    ImageModBlur noAmount(0.0f, 100.0f);
    noAmount.applyMod(&pattern, nullptr);
    ImageModBlur noMix(80.0f, 0.0f);
    noMix.applyMod(&pattern, nullptr);
    ImageModBlur invalidMethod(80.0f, 100.0f);
    setChoice(invalidMethod, 2, 3);
    invalidMethod.applyMod(&pattern, nullptr);
    EXPECT_TRUE(identical(pattern, untouched));
}

TEST(SpatialFilters, SharpenAddsTheHighPass)
{
    // A 100 pixel in a field of 50 at Amount 50: the centre's high-pass is
    // 8 x 100 - 8 x 50 = 400 (clamped to 255 after adding half); a neighbour's
    // is 8 x 50 - 7 x 50 - 100 = -50, so it drops by 25.
    FlexImage<float> image(5, 5, 3);
    fillWith(image, 50.0f);
    for (int c = 0; c < 3; ++c)
        image.pixelAt(2, 2)[c] = 100.0f;
    ImageModSharpen sharpen(50.0f);
    sharpen.applyMod(&image, nullptr);
    EXPECT_FLOAT_EQ(image.pixelAt(2, 2)[0], 255.0f);
    EXPECT_FLOAT_EQ(image.pixelAt(1, 2)[1], 25.0f);
    EXPECT_FLOAT_EQ(image.pixelAt(0, 0)[2], 50.0f);
}

// Sharpen by its rule, sample by sample: v + a x (the high-pass kernel over
// the pixel's neighbourhood, edges repeated), limited to 0..255.
template <typename T>
void expectSharpenedByTheKernel(int channels, float scale)
{
    FlexImage<T> image(37, 23, channels);
    fillTestPattern(image, 5);
    FlexImage<T> original(37, 23, channels);
    fillTestPattern(original, 5);
    // Amount 25: a quarter of the high-pass, exact in binary, so that 8-bit
    // results truncate alike.
    double const a = 0.25;
    ImageModSharpen sharpen(25.0f);
    ImageModChunkInfo info;
    info.fullWidth = image.width;
    info.fullHeight = image.height;
    info.scale = scale;
    sharpen.applyMod(&image, &info);
    int const r = ImageModSharpen::radiusForScale(scale);
    GrowArray<float> kernel;
    ImageModSharpen::makeHighPassKernel(r, &kernel);
    int const side = 2 * r + 1;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            for (int c = 0; c < channels; ++c) {
                double high = 0.0;
                for (int ky = 0; ky < side; ++ky)
                    for (int kx = 0; kx < side; ++kx) {
                        int const sy = std::clamp(y + ky - r, 0, image.height - 1);
                        int const sx = std::clamp(x + kx - r, 0, image.width - 1);
                        high += kernel[ky * side + kx] * double(original.pixelAt(sx, sy)[c]);
                    }
                double const v = std::clamp(double(original.pixelAt(x, y)[c]) + high * a, 0.0, 255.0);
                double const expected = std::is_same_v<T, float> ? v : std::floor(v);
                ASSERT_NEAR(double(image.pixelAt(x, y)[c]), expected, 1e-3)
                    << x << "," << y << " channel " << c << " scale " << scale;
            }
}

TEST(SpatialFilters, SharpenFollowsItsKernelEverywhere)
{
    for (float scale : {1.0f, 0.25f, 0.1f}) {
        expectSharpenedByTheKernel<float>(3, scale);
        expectSharpenedByTheKernel<float>(4, scale);
        expectSharpenedByTheKernel<unsigned char>(3, scale);
    }
}

TEST(SpatialFilters, VignetteFollowsTheRampFromThePictureCentre)
{
    // 100 x 50, Radius 1, Falloff 0 (exponent 1): reach = 2 x sqrt(50^2 + 25^2),
    // the corner lies at half the reach, ramp(0.525) = 1 - 0.5 x 0.95 = 0.525,
    // so Amount 0.5 moves it by 0.525 x 0.5 x 255.
    float const shift = 0.525f * 0.5f * 255.0f;
    for (float amount : {0.5f, -0.5f}) {
        FlexImage<float> image(100, 50, 3);
        fillWith(image, 128.0f);
        ImageModVignette vignette(amount, 0.0f, 1.0f);
        vignette.applyMod(&image, nullptr);
        EXPECT_FLOAT_EQ(image.pixelAt(50, 25)[0], 128.0f);
        EXPECT_NEAR(image.pixelAt(0, 0)[1], amount > 0 ? 128.0f - shift : 128.0f + shift, 1e-3);
    }
    // A left margin of 20 moves the centre to x = 20 + 80 / 2.
    FlexImage<float> framed(100, 50, 3);
    fillWith(framed, 128.0f);
    ImageModChunkInfo info;
    info.fullWidth = 100;
    info.fullHeight = 50;
    info.marginLeft = 20;
    ImageModVignette vignette(1.0f, 0.0f, 1.0f);
    vignette.applyMod(&framed, &info);
    EXPECT_FLOAT_EQ(framed.pixelAt(60, 25)[0], 128.0f);
    EXPECT_LT(framed.pixelAt(50, 25)[0], 128.0f);
}

TEST(SpatialFilters, DynamicsOverlayPullsTowardTheSurroundings)
{
    EXPECT_FLOAT_EQ(ImageModDynamics::overlay(200.0f, 127.5f, 0.5f), 200.0f);
    // m = 50: 255 - floor(2 x 55 x 177.5 / 255) = 255 - 76.
    EXPECT_FLOAT_EQ(ImageModDynamics::overlay(200.0f, 227.5f, 0.5f), 179.0f);
    // m = -50: floor(2 x 60 x 177.5 / 255) = 83.
    EXPECT_FLOAT_EQ(ImageModDynamics::overlay(60.0f, 27.5f, 0.5f), 83.0f);
    // Whole steps down also below 0 and past 2^23: m = 0 leaves 2 c 127.5 /
    // 255 = c, stepped down; above 127.5, 255 - floor(255 - c).
    EXPECT_EQ(ImageModDynamics::overlay(-0.5f, 127.5f, 0.5f), -1.0f);
    EXPECT_EQ(ImageModDynamics::overlay(-3.0f, 127.5f, 0.5f), -3.0f);
    EXPECT_EQ(ImageModDynamics::overlay(300.25f, 127.5f, 0.5f), 301.0f);
    EXPECT_EQ(ImageModDynamics::overlay(-1.0e30f, 127.5f, 0.5f), -1.0e30f);
    EXPECT_TRUE(std::isnan(ImageModDynamics::overlay(std::nanf(""), 127.5f, 0.5f)));

    // Its blur follows Radius, also in copies.
    ImageModDynamics dynamics(40.0f, 30.0f);
    dynamics.setFloatVar(1, 80.0f);
    std::unique_ptr<ImageMod> copy(dynamics.createCopy());
    // Gaussian blur of Amount 80: 0.8^2 x 1000 x 0.03 = 19.2, so 20 pixels.
    EXPECT_EQ(copy->getExtraPixelRadiusRequired(1000, 500, 1.0f), 20);
}

TEST(SpatialFilters, CircularBlurLeavesTheCentreAndSoftensTheRim)
{
    FlexImage<float> image(120, 80, 3);
    fillTestPattern(image, 9);
    FlexImage<float> original;
    original.copyFromImage(image, true);
    ImageModRadialBlur radial(1.0f, 50.0f, 0.5f, BlurBox);
    radial.applyMod(&image, nullptr);
    EXPECT_EQ(std::memcmp(image.pixelAt(60, 40), original.pixelAt(60, 40), 3 * sizeof(float)), 0);
    int changed = 0;
    for (int x = 0; x < 10; ++x)
        changed += image.pixelAt(x, 0)[0] != original.pixelAt(x, 0)[0];
    EXPECT_GT(changed, 5);
}

// Three-channel pixels take the additive grain a row at a time; pixels
// with a fourth channel take it a pixel at a time. Both give the same red,
// green and blue in every additive mode.
TEST(SpatialFilters, AdditiveGrainAlongRowsEqualsItPixelByPixel)
{
    for (int mode : {2, 3, 4}) {
        ImageModNoise grain(60.0f, 30.0f, 10.0f);
        grain.setVersion(mode);
        FlexImage<float> three(150, 90, 3);
        fillTestPattern(three, 5);
        FlexImage<float> four(150, 90, 4);
        for (int y = 0; y < 90; ++y)
            for (int x = 0; x < 150; ++x)
                std::copy(three.pixelAt(x, y), three.pixelAt(x, y) + 3, four.pixelAt(x, y));
        grain.applyMod(&three, nullptr);
        grain.applyMod(&four, nullptr);
        int differing = 0;
        for (int y = 0; y < 90; ++y)
            for (int x = 0; x < 150; ++x)
                differing += std::memcmp(three.pixelAt(x, y), four.pixelAt(x, y), 3 * sizeof(float)) != 0;
        EXPECT_EQ(differing, 0) << "mode " << mode;
    }
}

TEST(SpatialFilters, GrainIsTheSameOnEveryRunAndEveryTiling)
{
    for (int mode : {1, 4}) {
        ImageModNoise grain(60.0f, 30.0f, 10.0f);
        grain.setVersion(mode);
        FlexImage<float> whole(150, 90, 3);
        fillTestPattern(whole, 3);
        FlexImage<float> again;
        again.copyFromImage(whole, true);
        FlexImage<float> tiled;
        tiled.copyFromImage(whole, true);
        grain.applyMod(&whole, nullptr);
        grain.applyMod(&again, nullptr);
        EXPECT_TRUE(identical(whole, again)) << "mode " << mode;

        ImageModderMulti renderer;
        renderer.setTileSize(8);
        GrowArray<ImageMod*> chain;
        chain.add(&grain);
        renderer.applyMods(chain, &tiled, nullptr);
        EXPECT_TRUE(identical(whole, tiled)) << "mode " << mode;
    }
    // Luminance grain is a power curve, so black and white stay put.
    FlexImage<float> extremes(2, 1, 3);
    fillWith(extremes, 0.0f);
    for (int c = 0; c < 3; ++c)
        extremes.pixelAt(1, 0)[c] = 255.0f;
    ImageModNoise grain(100.0f, 0.0f, 0.0f);
    grain.setVersion(1);
    grain.applyMod(&extremes, nullptr);
    EXPECT_EQ(extremes.pixelAt(0, 0)[0], 0.0f);
    EXPECT_EQ(extremes.pixelAt(1, 0)[0], 255.0f);
}

TEST(SpatialFilters, BlurWithAHaloWiderThanTheTileRendersLikeTheWholeImage)
{
    // Amount 100 on 700 pixels reaches 21 pixels, beyond 16-pixel tiles.
    for (int method : {BlurGaussian, BlurCircle}) {
        ImageModBlur blur(100.0f, 100.0f);
        setChoice(blur, 2, method);
        FlexImage<float> whole(700, 90, 3);
        fillTestPattern(whole, 4);
        FlexImage<float> tiled;
        tiled.copyFromImage(whole, true);
        blur.applyMod(&whole, nullptr);
        ImageModderMulti renderer;
        renderer.setTileSize(16);
        GrowArray<ImageMod*> chain;
        chain.add(&blur);
        renderer.applyMods(chain, &tiled, nullptr);
        EXPECT_TRUE(identical(whole, tiled)) << "method " << method;
    }
}

TEST(SpatialFilters, VignetteOfRadiusZeroCoversTheWholePicture)
{
    // Every pixel but the exact centre lies beyond the ramp: full strength.
    FlexImage<float> image(100, 50, 3);
    fillWith(image, 128.0f);
    ImageModVignette vignette(0.2f, 50.0f, 0.0f);
    vignette.applyMod(&image, nullptr);
    EXPECT_NEAR(image.pixelAt(0, 0)[0], 128.0f - 0.2f * 255.0f, 1e-3);
    EXPECT_NEAR(image.pixelAt(51, 25)[2], 128.0f - 0.2f * 255.0f, 1e-3);
    EXPECT_EQ(image.pixelAt(50, 25)[0], 128.0f);
}

TEST(SpatialFilters, DynamicsLeavesAFlatImageFlat)
{
    // On a flat image the surroundings equal the pixel: the Luminance method
    // pivots on the pixel itself and changes nothing; Overlay at mid-grey has
    // m = 0 and gives 255 - floor(2 x 127.5 x 127.5 / 255) = 128.
    for (int method : {ImageModDynamics::Luminance, ImageModDynamics::Overlay}) {
        FlexImage<float> image(40, 30, 3);
        fillWith(image, method == ImageModDynamics::Overlay ? 127.5f : 90.0f);
        ImageModDynamics dynamics(80.0f, 30.0f, method);
        dynamics.applyMod(&image, nullptr);
        float const expected = method == ImageModDynamics::Overlay ? 128.0f : 90.0f;
        EXPECT_NEAR(image.pixelAt(20, 15)[1], expected, 0.01f) << "method " << method;
    }
}

// Vignette and luminance grain move every channel, a fourth included.
TEST(SpatialFilters, VignetteAndGrainMoveTheFourthChannel)
{
    // Radius 0: every pixel off the centre is past the ramp, so each
    // channel loses 0.2 x 255 = 51.
    ImageModVignette vignette(0.2f, 50.0f, 0.0f);
    ImageModChunkInfo info;
    info.fullWidth = 9;
    info.fullHeight = 9;
    Pixel const darker = applyToFloatPixel(vignette, {200, 150, 100, 220}, &info);
    expectPixel(darker, 149.0f, 99.0f, 49.0f);
    EXPECT_NEAR(darker[3], 169.0f, 1e-3f);

    // A grey pixel whose alpha equals its colour: the grain's power curve
    // is the same for every channel, so alpha ends where red does.
    ImageModNoise grain(80.0f, 50.0f, 0.0f);
    grain.setVersion(1);
    FlexImage<float> image(16, 1, 4);
    std::fill(image.pixels, image.pixels + image.sampleCount(), 100.0f);
    grain.applyMod(&image, nullptr);
    bool moved = false;
    for (int x = 0; x < 16; ++x) {
        EXPECT_EQ(image.pixelAt(x, 0)[3], image.pixelAt(x, 0)[0]);
        moved = moved || image.pixelAt(x, 0)[3] != 100.0f;
    }
    EXPECT_TRUE(moved);
}
