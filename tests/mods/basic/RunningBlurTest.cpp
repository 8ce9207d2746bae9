// The running-sum blurs against the direct rule, kernel tap by kernel tap,
// on random pictures and many radii: within 1e-3 of a level.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "mods/basic/BlurKernels.h"
#include "mods/basic/ImageModBlur.h"
#include "mods/basic/ImageModRadialBlur.h"
#include "mods/basic/RunningBlur.h"
#include "mods/UsedRegion.h"
#include "support/PixelCheck.h"
#include "support/RenderCheck.h"

namespace {

void fillRandomly(FlexImage<float>& image, int width, int height, unsigned seed, int channels = 3)
{
    image.reshape(width, height, channels);
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> level(0.0f, 255.0f);
    for (size_t i = 0; i < image.sampleCount(); ++i)
        image.pixels[i] = level(random);
}

// A random picture, and a copy of it to blur another way.
void fillRandomPair(FlexImage<float>& image, FlexImage<float>& copy, int width, int height, unsigned seed,
                    int channels = 3)
{
    fillRandomly(image, width, height, seed, channels);
    copy.copyFromImage(image, true);
}

char const* methodName(BlurMethod method)
{
    return method == BlurBox ? "box" : "gaussian";
}

float largestDifference(FlexImage<float> const& a, FlexImage<float> const& b)
{
    float worst = 0.0f;
    for (size_t i = 0; i < a.sampleCount(); ++i)
        worst = std::max(worst, std::fabs(a.pixels[i] - b.pixels[i]));
    return worst;
}

// The circular blur's direct rule: each pixel's own 1-D kernel, rows then
// columns, edges repeating, each pass clamped.
void directVariableBlur(FlexImage<float>* image, std::vector<float> const& radii, BlurMethod method)
{
    int const w = image->width;
    int const h = image->height;
    int const channels = image->channels;
    for (bool alongRows : {true, false}) {
        FlexImage<float> source;
        source.copyFromImage(*image, true);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                GrowArray<float> kernel;
                float const radius = radii[size_t(y) * w + x];
                if (method == BlurBox)
                    makeBoxKernelForRadius(radius, &kernel);
                else
                    makeGaussKernelForRadius(radius, &kernel);
                int const n = kernel.count / 2;
                for (int c = 0; c < channels; ++c) {
                    float sum = 0.0f;
                    for (int i = -n; i <= n; ++i) {
                        float const* p = alongRows ? source.pixelAt(std::clamp(x + i, 0, w - 1), y)
                                                   : source.pixelAt(x, std::clamp(y + i, 0, h - 1));
                        sum += kernel[i + n] * p[c];
                    }
                    image->pixelAt(x, y)[c] = std::clamp(sum, 0.0f, 255.0f);
                }
            }
    }
}

} // namespace

TEST(RunningBlur, SeparableBlurMatchesTheDirectRuleAtEveryRadius)
{
    for (BlurMethod method : {BlurGaussian, BlurBox})
        for (float x : {0.6f, 1.0f, 2.5f, 4.0f, 7.3f, 12.0f, 19.5f, 33.3f, 60.0f}) {
            SCOPED_TRACE(testing::Message() << methodName(method) << " extent " << x);
            int const r = int(std::ceil(x));
            FlexImage<float> direct;
            FlexImage<float> running;
            fillRandomPair(direct, running, 41, 23, unsigned(x * 10));
            GrowArray<float> kernel;
            makeBlurKernel(method, x, r, &kernel);
            separableBlur(&direct, kernel.data, r);
            runningSeparableBlur(&running, PiecewiseKernel::forBlur(method, x, r));
            EXPECT_LT(largestDifference(direct, running), 1e-3f);
        }
}

// Pictures larger than the blur's strips (a few hundred samples across, some
// eighty rows down) in one, three and four channels, whole and with only a
// middle part used: the strips meet without a seam, and inside the used part
// the samples are those of the whole picture blurred by the direct rule.
TEST(RunningBlur, StripsOfALargePictureMeetWithoutASeam)
{
    int const w = 233;
    int const h = 191;
    for (int channels : {1, 3, 4})
        for (bool narrowed : {false, true}) {
            SCOPED_TRACE(testing::Message() << channels << " channels" << (narrowed ? ", middle used" : ""));
            FlexImage<float> direct(w, h, channels);
            std::mt19937 random{unsigned(channels)};
            std::uniform_real_distribution<float> level(0.0f, 255.0f);
            for (size_t i = 0; i < direct.sampleCount(); ++i)
                direct.pixels[i] = level(random);
            FlexImage<float> running;
            running.copyFromImage(direct, true);
            float const x = 21.5f;
            int const r = 22;
            GrowArray<float> kernel;
            makeBlurKernel(BlurGaussian, x, r, &kernel);
            separableBlur(&direct, kernel.data, r);
            PixelRect const middle{40, 30, 200, 170};
            {
                UsedRegion::Scope const used(w, h, narrowed ? middle : PixelRect{0, 0, w, h}, 0);
                runningSeparableBlur(&running, PiecewiseKernel::forBlur(BlurGaussian, x, r));
            }
            PixelRect const checked = narrowed ? middle : PixelRect{0, 0, w, h};
            float worst = 0.0f;
            for (int y = checked.top; y < checked.bottom; ++y)
                for (int c = 0; c < (checked.right - checked.left) * channels; ++c)
                    worst = std::max(worst, std::fabs(direct.pixelAt(checked.left, y)[c] -
                                                      running.pixelAt(checked.left, y)[c]));
            EXPECT_LT(worst, 1e-3f);
        }
}

TEST(RunningBlur, PerPixelRadiiMatchTheDirectRule)
{
    int const w = 37;
    int const h = 71; // more than two strips of lines, as w is more than one
    std::mt19937 random(5);
    std::uniform_real_distribution<float> anyRadius(0.0f, 40.0f);
    for (BlurMethod method : {BlurGaussian, BlurBox})
        for (int pattern = 0; pattern < 4; ++pattern)
            for (int channels : {3, 1, 4}) {
                std::vector<float> radii(size_t(w) * h);
                for (int y = 0; y < h; ++y)
                    for (int x = 0; x < w; ++x) {
                        float const distance = std::hypot(float(x - w / 2), float(y - h / 2));
                        float const smooth = 0.3f * distance;
                        // From 0 in the middle to 39 in the corners: lines
                        // whose kernels are summed tap by tap in the middle
                        // and from prefix sums further out.
                        float const wide = distance;
                        radii[size_t(y) * w + x] =
                            pattern == 0 ? smooth : pattern == 1 ? anyRadius(random) : pattern == 3 ? wide : 0.0f;
                    }
                if (pattern == 2) // a blurred ring around an untouched middle
                    for (size_t i = 0; i < radii.size(); i += 3)
                        radii[i] = 6.5f;
                SCOPED_TRACE(testing::Message() << methodName(method) << " pattern " << pattern
                                                << ", " << channels << " channels");
                FlexImage<float> direct;
                FlexImage<float> running;
                fillRandomPair(direct, running, w, h, unsigned(pattern + 1), channels);
                directVariableBlur(&direct, radii, method);
                runningVariableBlur(&running, radii.data(), method, *std::max_element(radii.begin(), radii.end()));
                EXPECT_LT(largestDifference(direct, running), 1e-3f);
            }
}

// A tile holding only small radii rounds its samples as the whole picture
// does, whose largest radius (here 700 pixels, at its left edge) calls for a
// coarser fixed point: the tile's pixels come out bit for bit the same.
TEST(RunningBlur, ATileRoundsAsTheWholePicture)
{
    int const w = 1500;
    int const h = 5;
    FlexImage<float> whole;
    fillRandomly(whole, w, h, 9);
    std::vector<float> radii(size_t(w) * h, 2.5f);
    for (int y = 0; y < h; ++y)
        radii[size_t(y) * w] = 700.0f;
    // The tile: columns 800 onwards, whose radii are all 2.5.
    int const left = 800;
    FlexImage<float> tile(w - left, h, 3);
    std::vector<float> tileRadii(size_t(w - left) * h, 2.5f);
    for (int y = 0; y < h; ++y)
        for (int x = left; x < w; ++x)
            for (int c = 0; c < 3; ++c)
                tile.pixelAt(x - left, y)[c] = whole.pixelAt(x, y)[c];
    runningVariableBlur(&whole, radii.data(), BlurGaussian, 700.0f);
    runningVariableBlur(&tile, tileRadii.data(), BlurGaussian, 700.0f);
    // Away from the tile's left edge (its halo) the two agree exactly.
    bool same = true;
    for (int y = 0; y < h; ++y)
        for (int x = left + 3; x < w; ++x)
            for (int c = 0; c < 3; ++c)
                same = same && tile.pixelAt(x - left, y)[c] == whole.pixelAt(x, y)[c];
    EXPECT_TRUE(same);
}

// Narrow kernels are summed tap by tap: straight from a row's samples, or
// down a strip of columns as they lie, where the row or the strip has no
// wider kernel; else through a plane of whole numbers along its lines.
// Every way must give the same pixels: which one a pixel takes depends on
// its neighbours, and so on how the picture was cut into tiles.
TEST(RunningBlur, NarrowKernelsComeOutAlikeEveryWay)
{
    int const w = 90;
    int const h = 60;
    int const wideColumn = 40;
    for (BlurMethod method : {BlurGaussian, BlurBox}) {
        SCOPED_TRACE(methodName(method));
        FlexImage<float> allNarrow;
        FlexImage<float> oneWide;
        fillRandomPair(allNarrow, oneWide, w, h, 13);
        std::vector<float> radii(size_t(w) * h);
        for (size_t i = 0; i < radii.size(); ++i)
            radii[i] = 1.0f + float(i % 23); // up to 23: narrow
        std::vector<float> withWide = radii;
        withWide[size_t(30) * w + wideColumn] = 40.0f; // one wide kernel
        runningVariableBlur(&allNarrow, radii.data(), method, 40.0f);
        runningVariableBlur(&oneWide, withWide.data(), method, 40.0f);
        // Only the wide kernel's column differs; its neighbours in its row
        // and in its strip of columns were summed another way.
        bool same = true;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                for (int c = 0; c < 3 && x != wideColumn; ++c)
                    same = same && allNarrow.pixelAt(x, y)[c] == oneWide.pixelAt(x, y)[c];
        EXPECT_TRUE(same);
    }
}

// In a tile, the blur reads the radii of the used columns only, in the used
// rows and as many rows around them as their widest kernel reaches: radii
// outside that (huge, or not numbers) change nothing. Here the used part is
// columns 30..70 of rows 40..60, whose widest kernel (radius 4.5, in row 40)
// reaches 5 rows.
TEST(RunningBlur, ReadsOnlyTheRadiiAroundTheUsedPart)
{
    int const w = 100;
    int const h = 100;
    std::vector<float> radii(size_t(w) * h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            radii[size_t(y) * w + x] = 1.5f + 0.1f * float(std::abs(y - 50)) + 0.25f * float(x % 9);
    for (BlurMethod method : {BlurGaussian, BlurBox}) {
        SCOPED_TRACE(methodName(method));
        FlexImage<float> everyRadius;
        FlexImage<float> someRadii;
        fillRandomPair(everyRadius, someRadii, w, h, 21);
        UsedRegion::Scope const used(w, h, PixelRect{30, 40, 70, 60}, 0);
        PixelRect const rows = varyingBlurRadiiRows(radii.data(), w, h);
        EXPECT_EQ(rows.top, 35);
        EXPECT_EQ(rows.bottom, 65);
        EXPECT_EQ(rows.left, 30);
        EXPECT_EQ(rows.right, 70);
        std::vector<float> unread = radii;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                if (y < rows.top || y >= rows.bottom || x < rows.left || x >= rows.right)
                    unread[size_t(y) * w + x] = (x + y) % 2 ? 1.0e9f : std::nanf("");
        FlexImage<float> direct;
        direct.copyFromImage(everyRadius, true);
        directVariableBlur(&direct, radii, method);
        runningVariableBlur(&everyRadius, radii.data(), method, 20.0f);
        runningVariableBlur(&someRadii, unread.data(), method, 20.0f);
        bool same = true;
        float worst = 0.0f;
        for (int y = 40; y < 60; ++y)
            for (int x = 30; x < 70; ++x)
                for (int c = 0; c < 3; ++c) {
                    same = same && everyRadius.pixelAt(x, y)[c] == someRadii.pixelAt(x, y)[c];
                    worst = std::max(worst, std::fabs(someRadii.pixelAt(x, y)[c] - direct.pixelAt(x, y)[c]));
                }
        EXPECT_TRUE(same);
        EXPECT_LT(worst, 1e-3f);
    }
}

TEST(RunningBlur, DiscFromRowSpansMatchesTheDirectRule)
{
    for (float x : {1.2f, 3.3f, 5.0f, 7.9f, 12.6f}) {
        SCOPED_TRACE(testing::Message() << "extent " << x);
        int const r = int(std::ceil(x));
        FlexImage<float> direct;
        FlexImage<float> spans;
        fillRandomPair(direct, spans, 29, 31, unsigned(x * 7));
        GrowArray<float> kernel;
        makeCircleKernel(x, r, &kernel);
        convolveClamped(&direct, kernel.data, r);
        circleBlurBySpans(&spans, x, r);
        EXPECT_LT(largestDifference(direct, spans), 1e-3f);
    }
}

// The blur filters through the tiled renderer, on the fast paths with
// several tile sizes: every tiling gives the same bits.
TEST(RunningBlur, TiledRendersAreBitIdentical)
{
    for (int method : {BlurGaussian, BlurBox, BlurCircle}) {
        ImageModBlur blur(100.0f, 80.0f);
        setChoice(blur, 2, method);
        for (int tileSize : {16, 48, 256})
            expectTiledEqualsWhole<float>(&blur, 301, 203, 3, tileSize != 48, tileSize);
        expectTiledEqualsWhole<unsigned char>(&blur, 301, 203, 4, true, 32);
    }
    for (int method : {BlurGaussian, BlurBox, BlurCircle}) {
        ImageModRadialBlur radial(1.0f, 30.0f, 0.6f, method);
        for (int tileSize : {16, 64})
            expectTiledEqualsWhole<float>(&radial, 257, 171, 3, true, tileSize);
    }
}
