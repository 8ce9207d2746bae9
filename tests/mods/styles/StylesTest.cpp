#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>

#include "extension/ImageModRegistry.h"
#include "mods/basic/ImageModBrightness.h"
#include "mods/basic/ImageModContrast.h"
#include "mods/basic/ImageModGammaLegacy.h"
#include "mods/basic/ImageModSaturation.h"
#include "mods/basic/ImageModVignette.h"
#include "mods/colour/ColorOverlayFilters.h"
#include "mods/colour/ColorizeFilters.h"
#include "mods/curves/ToneCurveFilters.h"
#include "mods/styles/ImageMod1958.h"
#include "mods/styles/ImageMod1962.h"
#include "mods/styles/ImageMod1974.h"
#include "mods/styles/ImageMod1983.h"
#include "mods/styles/ImageModAutochrome.h"
#include "mods/styles/ImageModColorcross.h"
#include "mods/styles/ImageModHelga.h"
#include "mods/styles/ImageModInstant.h"
#include "mods/styles/ImageModItaliano.h"
#include "mods/styles/ImageModMono.h"
#include "mods/styles/ImageModSaloon.h"
#include "mods/styles/ImageModSilver.h"
#include "mods/styles/ImageModSkater.h"
#include "mods/styles/ImageModWedding.h"
#include "support/PixelCheck.h"
#include "support/RenderCheck.h"

namespace {

char const* const saloonCurve =
    "0.000000 0.190850 0.205533 0.231665 0.308529 0.481292 0.785465 0.919104 1.000000 1.000000";
char const* const weddingCurve =
    "0.000000 0.000000 0.167392 0.063043 0.404348 0.752174 0.730435 1.000000 1.000000 1.000000";

// A 40 x 30 tile of an 80 x 60 picture at (10, 20): the vignette steps need
// to know where the tile lies.
ImageModChunkInfo tileInfo()
{
    ImageModChunkInfo info;
    info.fullWidth = 80;
    info.fullHeight = 60;
    info.chunkX = 10;
    info.chunkY = 20;
    return info;
}

// The style and the same steps built by hand, over the same tile.
void expectStyleIsItsSteps(ImageMod& style, std::initializer_list<ImageMod*> steps)
{
    ImageModChunkInfo info = tileInfo();
    FlexImage<float> byStyle(40, 30, 3);
    fillTestPattern(byStyle, 21);
    FlexImage<float> bySteps;
    bySteps.copyFromImage(byStyle, true);
    style.applyMod(&byStyle, &info);
    for (ImageMod* step : steps)
        step->applyMod(&bySteps, &info);
    float worst = 0.0f;
    for (size_t i = 0; i < byStyle.sampleCount(); ++i)
        worst = std::max(worst, std::fabs(byStyle.pixels[i] - bySteps.pixels[i]));
    EXPECT_LT(worst, 0.02f);
}

double meanDifference(FlexImage<float> const& a, FlexImage<float> const& b)
{
    double total = 0.0;
    for (size_t i = 0; i < a.sampleCount(); ++i)
        total += std::fabs(double(a.pixels[i]) - double(b.pixels[i]));
    return total / double(a.sampleCount());
}

FlexImage<float>* renderedAt(ImageMod* style, double variation, FlexImage<float>* out)
{
    style->setFloatVar(1, float(variation));
    out->reshape(64, 40, 3);
    fillTestPattern(*out, 9);
    ImageModChunkInfo info;
    info.fullWidth = 64;
    info.fullHeight = 40;
    style->applyMod(out, &info);
    return out;
}

class Styles : public ::testing::Test
{
protected:
    void SetUp() override
    {
        prototypes = createPrototypeRegistry();
        for (ImageMod* mod : prototypes)
            if (mod->getModCategory() == ImageMod::CategoryStyle)
                styles.add(mod);
    }
    void TearDown() override { deleteMods(prototypes); }

    GrowArray<ImageMod*> prototypes;
    GrowArray<ImageMod*> styles;
};

} // namespace

TEST_F(Styles, TheCatalogueIsComplete)
{
    EXPECT_EQ(prototypes.count, 68);
    ASSERT_EQ(styles.count, 20);
    for (ImageMod* style : styles) {
        SCOPED_TRACE(style->name.c_str());
        EXPECT_STREQ(style->displayName.c_str(), (std::string(style->name.c_str()) + " Camera").c_str());
        ASSERT_EQ(style->vars.count, 2);
        EXPECT_STREQ(style->vars[0]->name.c_str(), "Amount");
        EXPECT_STREQ(style->vars[1]->name.c_str(), "Variation");
        EXPECT_STREQ(style->vars[1]->displayName->c_str(), "Remix");
        EXPECT_EQ(style->floatVar(0), 1.0f);
        EXPECT_EQ(style->getRemixVars().count, 1);
    }
    ImageModColorcross colorcross;
    EXPECT_STREQ(colorcross.description.c_str(), "Chemical color-swapping straight from the darkroom. ");
}

TEST_F(Styles, AmountZeroLeavesThePictureUntouched)
{
    for (ImageMod* prototype : styles) {
        SCOPED_TRACE(prototype->name.c_str());
        std::unique_ptr<ImageMod> style(prototype->createCopy());
        *style = *prototype;
        style->setFloatVar(0, 0.0f);
        style->setFloatVar(1, 37.0f);
        auto image = patternImage<float>(33, 21, 3);
        FlexImage<float> before;
        before.copyFromImage(*image, true);
        style->applyMod(image.get(), nullptr);
        EXPECT_TRUE(sameColours(*image, before));
    }
}

// The registry's own tiled test renders every style at its newest recipe;
// this one renders the recipes kept for older presets.
TEST_F(Styles, OlderRecipesRenderSeamlessly)
{
    for (ImageMod* prototype : styles) {
        std::unique_ptr<ImageMod> style(prototype->createCopy());
        *style = *prototype;
        style->setVersion(prototype->version == 1 ? 2 : 1);
        style->setFloatVar(0, 0.8f);
        style->setFloatVar(1, 23.0f);
        expectTiledEqualsWhole<float>(style.get(), 301, 203, 3, true, 32);
    }
}

// Parameters worked out from the recipe's formulas (A 0.7, V 12.5):
// gamma 1 + A((cos(V 0.10549 + 1.579) 0.325 - 0.125) + 0.295) = 0.8982337;
// vignette -0.8 A = -0.56 with sharpness 31.244752; saturation
// 1 + 0.2 A cos(V 0.084195 + 1.34) = 0.8974833.
TEST(StyleRecipes, SaloonIsItsFiveSteps)
{
    ImageModSaloon saloon;
    saloon.setFloatVar(0, 0.7f);
    saloon.setFloatVar(1, 12.5f);
    ImageModGammaLegacy gamma(0.8982337f);
    ImageModVignette vignette(-0.56f, 31.244752f, 0.842f);
    ImageModLuminanceCurve curve(0.7f, saloonCurve);
    ImageModDye dye(0.7f, OVRGBColor(255.0f, 212.925f, 178.5f), 1);
    ImageModSaturation saturation(0.8974833f, 1);
    expectStyleIsItsSteps(saloon, {&gamma, &vignette, &curve, &dye, &saturation});
}

// A 0.6, V 5: t = (5 x 3.3 + 14) x 0.0628318531 = 1.9163715; gamma
// 1.0861659, saturation 1.0113816, curve strength 0.4551895, vignette
// 0.1454974.
TEST(StyleRecipes, WeddingIsItsFourSteps)
{
    ImageModWedding wedding;
    wedding.setFloatVar(0, 0.6f);
    wedding.setFloatVar(1, 5.0f);
    ImageModGammaLegacy gamma(1.0861659f);
    ImageModSaturation saturation(1.0113816f, 1);
    ImageModRGBCombinedCurve curve(0.4551895f, weddingCurve);
    ImageModVignette vignette(0.1454974f, 42.785f, 0.9289f);
    expectStyleIsItsSteps(wedding, {&gamma, &saturation, &curve, &vignette});
}

// Version 2 at A 0.8, V 3 (w = 9): contrast 1.2784, the curve's middle
// output cos(9 x 0.060004) 0.3 + 0.5 = 0.7573065, tint hue 45 with
// saturation 0.5612105 at value 0.5, brightness 1.1361798.
// Version 1 at A 0.5, V 2 (w = 4369.98): gamma 1.1707731, saturation 0.5,
// the colour crossing at 7369.98.
TEST(StyleRecipes, SilverKeepsBothRecipes)
{
    ImageModSilver toned(2);
    toned.setFloatVar(0, 0.8f);
    toned.setFloatVar(1, 3.0f);
    ImageModContrast contrast(1.2784f, 40.0f);
    ImageModMono mono;
    OVRGBColor tint;
    tint.setFromHSV(45.0f, 0.5612105f, 0.5f);
    ImageModColorizeCurve colorize("0 0 .5 .7573065 1 1", tint, 0.8f);
    ImageModBrightness brightness(1.1361798f);
    expectStyleIsItsSteps(toned, {&contrast, &mono, &colorize, &brightness});

    ImageModSilver halfColour(1);
    halfColour.setFloatVar(0, 0.5f);
    halfColour.setFloatVar(1, 2.0f);
    ImageModGammaLegacy gamma(1.1707731f);
    ImageModSaturation drain(0.5f, 1);
    ImageModColorcross cross(0.5f, 7369.98f);
    expectStyleIsItsSteps(halfColour, {&gamma, &drain, &cross});
}

// The blur radius of each style's version, for a 6000 x 4000 picture with
// the variation missing, worked out from the table's formulas with its
// default cos arguments; any other version needs none.
TEST(StyleRecipes, ExtraRadiusFollowsTheTable)
{
    struct Row
    {
        ImageMod* style;
        int version;
        int radius;
    };
    ImageMod1958 s1958;
    ImageMod1974 s1974;
    ImageMod1983 s1983;
    ImageModItaliano italiano;
    ImageModAutochrome autochrome;
    ImageModInstant instant;
    ImageMod1962 s1962;
    ImageModHelga helga;
    for (Row row : {Row{&s1958, 2, 8}, Row{&s1974, 3, 6}, Row{&s1983, 3, 9}, Row{&italiano, 2, 6},
                    Row{&autochrome, 3, 6}, Row{&instant, 2, 12}, Row{&s1962, 4, 5}, Row{&helga, 2, 76}}) {
        SCOPED_TRACE(row.style->name.c_str());
        row.style->vars.count = 1; // the variation is missing
        row.style->setVersion(row.version);
        EXPECT_EQ(row.style->getExtraPixelRadiusRequired(6000, 4000, 1.0f), row.radius);
        row.style->setVersion(row.version == 2 ? 1 : 2);
        EXPECT_EQ(row.style->getExtraPixelRadiusRequired(6000, 4000, 1.0f), 0);
        row.style->vars.count = 2;
    }
    // Skater blurs too: a / 100 x (6 + 2 cos(0)) = 8 at full strength,
    // 6000 x 0.03 x 0.08^2 = 1.152, so 2 pixels.
    ImageModSkater skater;
    EXPECT_EQ(skater.getExtraPixelRadiusRequired(6000, 4000, 1.0f), 2);
}

// Remix wanders: a step of 0.01 barely moves the look, a step of 3 moves it
// clearly, for every style.
TEST_F(Styles, RemixMovesSmoothlyAndVisibly)
{
    for (ImageMod* prototype : styles) {
        SCOPED_TRACE(prototype->name.c_str());
        std::unique_ptr<ImageMod> style(prototype->createCopy());
        *style = *prototype;
        FlexImage<float> at;
        FlexImage<float> near;
        FlexImage<float> far;
        renderedAt(style.get(), 20.0, &at);
        renderedAt(style.get(), 20.01, &near);
        renderedAt(style.get(), 23.0, &far);
        double const small = meanDifference(at, near);
        double const large = meanDifference(at, far);
        EXPECT_GT(large, 0.3) << "Remix changes the look";
        EXPECT_LT(small, large / 20.0) << "and does so smoothly";
    }
}

// Mono is a black and white: grey in every channel, white kept white; its
// lens weights add up to one for any variation.
TEST(StyleRecipes, MonoGivesGreyAndColorcrossKeepsRange)
{
    for (double variation : {0.0, 17.0, -250.0, 1e5}) {
        double weights[3];
        ImageModMono::lensWeights(variation, weights);
        EXPECT_NEAR(weights[0] + weights[1] + weights[2], 1.0, 1e-12);
    }
    ImageModMono mono(1.0f, 40.0f);
    Pixel const grey = applyToPixel(mono, {200, 90, 30});
    EXPECT_EQ(grey[0], grey[1]);
    EXPECT_EQ(grey[1], grey[2]);
    expectPixel(applyToPixel(mono, {255, 255, 255}), 255.0f, 255.0f, 255.0f, 1e-3f);

    ImageModColorcross cross(1.0f, 9.0f);
    auto image = patternImage<float>(32, 16, 3);
    cross.applyMod(image.get(), nullptr);
    for (size_t i = 0; i < image->sampleCount(); ++i) {
        EXPECT_GE(image->pixels[i], 0.0f);
        EXPECT_LE(image->pixels[i], 255.0f);
    }
}
