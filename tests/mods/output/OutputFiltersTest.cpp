#include <gtest/gtest.h>

#include <atomic>
#include <memory>

#include "core/XmlNode.h"
#include "extension/ImageModRegistry.h"
#include "mods/ImageModCompound.h"
#include "mods/ImageModXML.h"
#include "mods/ImageModderMulti.h"
#include "mods/output/ImageModCrop.h"
#include "mods/output/ImageModImageOverlay.h"
#include "mods/output/ImageModSize2.h"
#include "support/RenderCheck.h"

namespace {

std::unique_ptr<ImageModConstrainSize> constrained(float width, float height, float side)
{
    auto size = std::make_unique<ImageModConstrainSize>();
    size->setFloatVar(ImageModConstrainSize::Width, width);
    size->setFloatVar(ImageModConstrainSize::Height, height);
    size->setFloatVar(ImageModConstrainSize::MaximumSide, side);
    return size;
}

} // namespace

TEST(OutputSize, FitsThePictureToTheBoxBothWays)
{
    struct Case
    {
        float width, height, side;
        int pictureWidth, pictureHeight, wantedWidth, wantedHeight;
    };
    // r = 4/3 > 1: the width limits, 1200 / 1.333 = 900. 3000 x 4000 under
    // a longest side of 1000: r = 0.75 <= 1, the height limits, 750. A small
    // picture is scaled up to touch the box. No limit at all: its own size.
    for (Case c : {Case{1200, 1200, 0, 4000, 3000, 1200, 900}, Case{0, 0, 1000, 3000, 4000, 750, 1000},
                   Case{1200, 1200, 0, 600, 400, 1200, 800}, Case{0, 0, 0, 640, 480, 640, 480},
                   Case{1000, 0, 0, 3000, 2000, 1000, 667}}) {
        SCOPED_TRACE(testing::Message() << c.pictureWidth << "x" << c.pictureHeight);
        auto size = constrained(c.width, c.height, c.side);
        EXPECT_EQ(size->getOutputWidth(c.pictureWidth, c.pictureHeight), c.wantedWidth);
        EXPECT_EQ(size->getOutputHeight(c.pictureWidth, c.pictureHeight), c.wantedHeight);
    }
    ImageModExactSize exact;
    EXPECT_EQ(exact.getOutputWidth(10, 10), 1200);
    exact.setFloatVar(ImageModExactSize::Width, 0.0f);
    exact.setFloatVar(ImageModExactSize::Height, 480.7f);
    EXPECT_EQ(exact.getOutputWidth(4000, 3000), 1);
    EXPECT_EQ(exact.getOutputHeight(4000, 3000), 480);
    ImageModSize2 plain("Size", "");
    EXPECT_EQ(plain.getOutputWidth(321, 123), 321);
    EXPECT_EQ(plain.getOutputHeight(321, 123), 123);
}

TEST(OutputSize, TheTwoWaysOfConstrainingExcludeEachOther)
{
    ImageModConstrainSize size;
    size.setFloatVar(ImageModConstrainSize::MaximumSide, 500.0f);
    size.notifyVarChanged(ImageModConstrainSize::MaximumSide);
    EXPECT_EQ(size.floatVar(ImageModConstrainSize::Width), 0.0f);
    EXPECT_EQ(size.floatVar(ImageModConstrainSize::Height), 0.0f);
    // Quality is no constraint: the longest side stays.
    size.setFloatVar(ImageModConstrainSize::Quality, 70.0f);
    size.notifyVarChanged(ImageModConstrainSize::Quality);
    EXPECT_EQ(size.floatVar(ImageModConstrainSize::MaximumSide), 500.0f);
    size.setFloatVar(ImageModConstrainSize::Width, 800.0f);
    size.notifyVarChanged(ImageModConstrainSize::Width);
    EXPECT_EQ(size.floatVar(ImageModConstrainSize::MaximumSide), 0.0f);
    // Zero changes nothing; a cleared variable of another kind becomes a 0.
    size.vars[ImageModConstrainSize::Width]->setData(new ImageModVariableDataColor());
    size.setFloatVar(ImageModConstrainSize::MaximumSide, 0.0f);
    size.notifyVarChanged(ImageModConstrainSize::MaximumSide);
    EXPECT_EQ(size.vars[ImageModConstrainSize::Width]->floatData(), nullptr);
    size.setFloatVar(ImageModConstrainSize::MaximumSide, 640.0f);
    size.notifyVarChanged(ImageModConstrainSize::MaximumSide);
    ASSERT_NE(size.vars[ImageModConstrainSize::Width]->floatData(), nullptr);
    EXPECT_EQ(size.floatVar(ImageModConstrainSize::Width), 0.0f);

    EXPECT_TRUE(size.vars[ImageModConstrainSize::MaximumSide]->isShown());
    size.setVersion(2);
    EXPECT_FALSE(size.vars[ImageModConstrainSize::MaximumSide]->isShown());
    EXPECT_EQ(size.getPositionReq(), ImageMod::PositionLast);
    EXPECT_EQ(size.getSingletonID(), ImageMod::SingletonOutputSize);
}

TEST(Crop, RecordsTheRectangleAndTheAngle)
{
    ImageModCrop crop;
    double l, t, r, b;
    EXPECT_FALSE(crop.cropRectangle(&l, &t, &r, &b)) << "a new crop crops nothing";
    EXPECT_EQ(crop.straightenDegrees(), 0.0);
    EXPECT_FALSE(crop.vars[ImageModCrop::Left]->isShown());
    EXPECT_TRUE(crop.vars[ImageModCrop::Straighten]->isShown());
    EXPECT_EQ(crop.vars[ImageModCrop::Straighten]->floatData()->sliderMax, 15.0f);
    crop.setFloatVar(ImageModCrop::Straighten, 40.0f);
    EXPECT_EQ(crop.straightenDegrees(), 40.0) << "beyond the slider, kept";

    float const edges[4] = {0.1f, 0.2f, 0.9f, 1.5f};
    for (int i = 0; i < 4; ++i)
        crop.setFloatVar(ImageModCrop::Left + i, edges[i]);
    ASSERT_TRUE(crop.cropRectangle(&l, &t, &r, &b));
    EXPECT_FLOAT_EQ(float(l), 0.1f);
    EXPECT_FLOAT_EQ(float(t), 0.2f);
    EXPECT_FLOAT_EQ(float(r), 0.9f);
    EXPECT_EQ(b, 1.0) << "an edge beyond the picture is its border";
    crop.setFloatVar(ImageModCrop::Right, 0.05f);
    EXPECT_FALSE(crop.cropRectangle(&l, &t, &r, &b)) << "right before left is no rectangle";

    auto image = patternImage<float>(9, 7, 3);
    FlexImage<float> before;
    before.copyFromImage(*image, true);
    crop.applyMod(image.get(), nullptr);
    EXPECT_TRUE(sameColours(*image, before)) << "the filter itself changes no pixel";
    EXPECT_EQ(crop.getPositionReq(), ImageMod::PositionFirst);
    EXPECT_TRUE(crop.isSingleton());
}

// A chain holds one crop (standing first) and one size (standing last); of
// two, the later stands. A preset is read that way and says so.
TEST(Crop, AChainNeverHoldsTwo)
{
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    char const preset[] = "<filter version=\"1\">"
                          "<mod name=\"Output Size\"><var name=\"Width\" type=\"float\">100</var></mod>"
                          "<mod name=\"Brightness\"><var name=\"Amount\" type=\"float\">1.2</var></mod>"
                          "<mod name=\"Crop/Straighten\"><var name=\"Straighten\" type=\"float\">3</var></mod>"
                          "<mod name=\"Output Size Exact\"></mod>"
                          "<mod name=\"Crop/Straighten\"><var name=\"Straighten\" type=\"float\">7</var></mod>"
                          "<mod name=\"Contrast\"></mod>"
                          "</filter>";
    XmlNode root;
    root.loadSubnodesFromBuffer(preset, long(sizeof preset - 1));
    GrowArray<ImageMod*> compounds;
    PresetReadReport report;
    GrowArray<ImageMod*> chain =
        createModsFromXML(root.findSubnode("filter"), &compounds, prototypes, nullptr, &report);
    ASSERT_EQ(chain.count, 4);
    EXPECT_STREQ(chain[0]->name.c_str(), "Crop/Straighten");
    EXPECT_EQ(chain[0]->floatVar(ImageModCrop::Straighten), 7.0f);
    EXPECT_STREQ(chain[1]->name.c_str(), "Brightness");
    EXPECT_STREQ(chain[2]->name.c_str(), "Contrast");
    EXPECT_STREQ(chain[3]->name.c_str(), "Output Size Exact");
    EXPECT_EQ(report.warnings.count, 2);
    deleteMods(chain);
    deleteMods(compounds);
    deleteMods(prototypes);
}

namespace {

// A stand-in for the host's image files: a box-sized overlay whose pixels
// are (200, 100, 0) at alpha 128, counting how often it is asked.
std::atomic<int> overlaysMade{0};

bool makeTestOverlay(GrowString const& path, int boxWidth, int boxHeight, FlexImage<unsigned char>* overlay)
{
    ++overlaysMade;
    if (path == GrowString("missing.png"))
        return false;
    overlay->reshape(boxWidth, boxHeight, 4);
    for (int y = 0; y < boxHeight; ++y)
        for (int x = 0; x < boxWidth; ++x) {
            unsigned char* p = overlay->pixelAt(x, y);
            p[0] = 200;
            p[1] = 100;
            p[2] = 0;
            p[3] = 128;
        }
    return true;
}

class Watermark : public ::testing::Test
{
protected:
    ImageModImageOverlay overlay;

    void SetUp() override
    {
        ImageModImageOverlay::setOverlayLoader(makeTestOverlay);
        overlaysMade = 0;
        overlay.vars[ImageModImageOverlay::File]->fileData()->path = GrowString("logo.png");
        overlay.setFloatVar(ImageModImageOverlay::Scale, 20.0f);
        overlay.setFloatVar(ImageModImageOverlay::Offset, 10.0f);
    }

    // A grey 100 x 60 picture with the watermark applied.
    std::unique_ptr<FlexImage<unsigned char>> watermarked(ImageMod& mod)
    {
        auto image = std::make_unique<FlexImage<unsigned char>>(100, 60, 3);
        std::fill_n(image->pixels, image->sampleCount(), 100);
        mod.applyMod(image.get(), nullptr);
        return image;
    }
};

} // namespace

// On 100 x 60 at Scale 20 the box is 20 x 12; Offset 10 leaves a margin of
// int(60 x 10 x 0.005) = 3. Halves are whole-number divisions.
TEST_F(Watermark, EachAnchorPlacesTheOverlayByHand)
{
    struct Place
    {
        int anchor, x, y;
    };
    for (Place p : {Place{ImageModImageOverlay::LowerRight, 77, 45}, Place{ImageModImageOverlay::LowerLeft, 3, 45},
                    Place{ImageModImageOverlay::UpperRight, 77, 3}, Place{ImageModImageOverlay::UpperLeft, 3, 3},
                    Place{ImageModImageOverlay::Left, 3, 24}, Place{ImageModImageOverlay::Right, 77, 24},
                    Place{ImageModImageOverlay::Top, 40, 3}, Place{ImageModImageOverlay::Bottom, 40, 45},
                    Place{ImageModImageOverlay::Center, 40, 24}}) {
        SCOPED_TRACE(p.anchor);
        overlay.vars[ImageModImageOverlay::Anchor]->choiceData()->selected = p.anchor;
        int x = -1, y = -1;
        overlay.overlayPosition(100, 60, 20, 12, &x, &y);
        EXPECT_EQ(x, p.x);
        EXPECT_EQ(y, p.y);
        auto image = watermarked(overlay);
        EXPECT_NE(image->pixelAt(p.x, p.y)[0], 100) << "the overlay's corner";
        EXPECT_NE(image->pixelAt(p.x + 19, p.y + 11)[0], 100) << "the overlay's far corner";
        EXPECT_EQ(image->pixelAt(p.x - 1, p.y)[0], 100);
        EXPECT_EQ(image->pixelAt(p.x + 20, p.y + 12)[0], 100);
    }
    // Offset 0: flush against the corner.
    overlay.setFloatVar(ImageModImageOverlay::Offset, 0.0f);
    overlay.vars[ImageModImageOverlay::Anchor]->choiceData()->selected = ImageModImageOverlay::LowerRight;
    int x, y;
    overlay.overlayPosition(100, 60, 20, 12, &x, &y);
    EXPECT_EQ(x, 80);
    EXPECT_EQ(y, 48);
}

// Opacity 0.5 times alpha 128/255 gives a = 0.250980: red 100 (1 - a) +
// 200 a = 125.098, green stays 100, blue 100 (1 - a) = 74.902; a byte keeps
// the whole part, a float all of it.
TEST_F(Watermark, BlendsByOpacityTimesTheOverlaysAlpha)
{
    overlay.setFloatVar(ImageModImageOverlay::Opacity, 0.5f);
    auto image = watermarked(overlay);
    unsigned char const* p = image->pixelAt(80, 50);
    EXPECT_EQ(p[0], 125);
    EXPECT_EQ(p[1], 100);
    EXPECT_EQ(p[2], 74);
    FlexImage<float> floats(100, 60, 4);
    std::fill_n(floats.pixels, floats.sampleCount(), 100.0f);
    overlay.applyMod(&floats, nullptr);
    EXPECT_NEAR(floats.pixelAt(80, 50)[0], 125.098039f, 1e-4);
    EXPECT_NEAR(floats.pixelAt(80, 50)[2], 74.901961f, 1e-4);
    EXPECT_EQ(floats.pixelAt(80, 50)[3], 100.0f) << "the overlay's alpha is not written";
}

TEST_F(Watermark, TheCacheIsReusedUntilTheFileOrTheBoxChanges)
{
    watermarked(overlay);
    EXPECT_EQ(overlaysMade, 1);
    overlay.setFloatVar(ImageModImageOverlay::Opacity, 0.3f);
    watermarked(overlay);
    EXPECT_EQ(overlaysMade, 1) << "opacity needs no new overlay";
    overlay.setFloatVar(ImageModImageOverlay::Scale, 30.0f);
    watermarked(overlay);
    EXPECT_EQ(overlaysMade, 2) << "a new scale makes a new box";
    std::unique_ptr<ImageMod> copy(overlay.createCopy());
    watermarked(*copy);
    EXPECT_EQ(overlaysMade, 3) << "a copy starts without a cache";

    // A file that cannot be read leaves the picture as it was, and is not
    // tried again for every tile.
    overlay.vars[ImageModImageOverlay::File]->fileData()->path = GrowString("missing.png");
    auto image = watermarked(overlay);
    watermarked(overlay);
    EXPECT_EQ(overlaysMade, 4);
    EXPECT_EQ(image->pixelAt(90, 55)[0], 100);
    // Scale 0 is an empty box: nothing is drawn or made.
    overlay.vars[ImageModImageOverlay::File]->fileData()->path = GrowString("logo.png");
    overlay.setFloatVar(ImageModImageOverlay::Scale, 0.0f);
    EXPECT_EQ(watermarked(overlay)->pixelAt(90, 55)[0], 100);
    EXPECT_EQ(overlaysMade, 4);
}

// Tiles of one render reach the watermark from several threads; the
// process-wide lock keeps its cache whole, and the tiles together draw what
// one pass over the whole picture draws.
TEST_F(Watermark, RendererTilesShareTheOverlay)
{
    overlay.setFloatVar(ImageModImageOverlay::Scale, 60.0f);
    overlay.setFloatVar(ImageModImageOverlay::Opacity, 0.8f);
    auto whole = patternImage<float>(200, 150, 3);
    FlexImage<float> tiled;
    tiled.copyFromImage(*whole, true);
    overlay.applyMod(whole.get(), nullptr);
    ImageModderMulti renderer;
    renderer.setTileSize(16);
    renderer.applyMods(chainOf({&overlay}), &tiled, nullptr);
    EXPECT_TRUE(sameColours(tiled, *whole));
}
