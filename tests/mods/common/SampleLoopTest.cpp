#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>

#include "imaging/FlexImage.h"
#include "mods/basic/ImageModContrast.h"
#include "mods/basic/ImageModExposure.h"
#include "mods/basic/ImageModGammaLegacy.h"
#include "mods/basic/ImageModNoise.h"

namespace {

// A picture whose pixels are grey in some stretches and coloured in others,
// the stretches not lined up with any block or row, and every third row all
// grey; three channels, or the same with an opaque fourth.
void fillGreyAndColour(FlexImage<float>& image)
{
    int const width = image.width, height = image.height, channels = image.channels;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            float* p = image.pixelAt(x, y);
            float const v = float((x * 7 + y * 13) % 256);
            bool const grey = y % 3 == 0 || (x + 3 * y) % 700 < 450;
            p[0] = v;
            p[1] = grey ? v : float((x * 3 + 40) % 256);
            p[2] = grey ? v : float((y * 5 + 90) % 256);
            if (channels == 4)
                p[3] = 255.0f;
        }
}

} // namespace

TEST(GreyPictures, ToneRulesGiveEverySampleItsOwnResult)
{
    // Contrast 1.5 about 127.5: exponent 2 on each side of the centre.
    FlexImage<float> image(900, 3, 3);
    fillGreyAndColour(image);
    FlexImage<float> before(900, 3, 3);
    fillGreyAndColour(before);
    ImageModContrast contrast(1.5f, 127.5f);
    contrast.applyMod(&image, nullptr);
    for (size_t i = 0; i < image.sampleCount(); ++i) {
        double const v = before.pixels[i];
        double const expected =
            v > 127.5 ? 255.0 - 127.5 * std::pow((255.0 - v) / 127.5, 2.0) : 127.5 * std::pow(v / 127.5, 2.0);
        ASSERT_NEAR(image.pixels[i], expected, 1e-3) << "sample " << i;
    }
}

TEST(GreyPictures, GrainMatchesTheSampleBySampleWay)
{
    // A fourth channel takes the grain sample by sample; the colours of the
    // three-channel picture must come out the same, grey pixels included.
    FlexImage<float> three(900, 40, 3);
    fillGreyAndColour(three);
    FlexImage<float> four(900, 40, 4);
    fillGreyAndColour(four);
    FlexImage<float> before(900, 40, 3);
    fillGreyAndColour(before);
    ImageModNoise grain(60.0f, 20.0f);
    grain.setVersion(1);
    grain.applyMod(&three, nullptr);
    grain.applyMod(&four, nullptr);
    int changed = 0;
    for (int y = 0; y < three.height; ++y)
        for (int x = 0; x < three.width; ++x)
            for (int c = 0; c < 3; ++c) {
                ASSERT_EQ(three.pixelAt(x, y)[c], four.pixelAt(x, y)[c]) << x << "," << y << " channel " << c;
                changed += three.pixelAt(x, y)[c] != before.pixelAt(x, y)[c];
            }
    EXPECT_GT(changed, three.width * three.height) << "the grain moved most samples";
}

TEST(LevelTables, WholeLevelsGiveTheRulesOwnResults)
{
    // The same picture twice, once with a single fractional sample, which
    // sends it down the sample-by-sample way: every other sample must come
    // out bit for bit the same.
    ImageModContrast contrast(1.3f, 80.0f);
    ImageModGammaLegacy gamma(0.7f);
    ImageModExposure darkening(0.6f);
    for (ImageMod* mod : std::initializer_list<ImageMod*>{&contrast, &gamma, &darkening}) {
        FlexImage<float> levels(300, 2, 3);
        FlexImage<float> mixed(300, 2, 3);
        for (size_t i = 0; i < levels.sampleCount(); ++i)
            levels.pixels[i] = mixed.pixels[i] = float((i * 37) % 256);
        size_t const fractional = 451;
        mixed.pixels[fractional] += 0.5f;
        mod->applyMod(&levels, nullptr);
        mod->applyMod(&mixed, nullptr);
        for (size_t i = 0; i < levels.sampleCount(); ++i) {
            if (i / 3 != fractional / 3) {
                ASSERT_EQ(levels.pixels[i], mixed.pixels[i]) << mod->name.c_str() << " sample " << i;
            }
        }
    }
}
