#include <gtest/gtest.h>

#include <memory>

#include "extension/ImageModRegistry.h"
#include "mods/UsedRegion.h"
#include "support/RenderCheck.h"

namespace {

bool sameRect(PixelRect a, PixelRect b)
{
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

} // namespace

TEST(UsedRegion, ScopesGrowTheKeptPixelsWithinTheImageAndNest)
{
    EXPECT_TRUE(sameRect(UsedRegion::of(100, 50), PixelRect{0, 0, 100, 50}));
    {
        UsedRegion::Scope const outer(100, 50, PixelRect{10, 20, 30, 40}, 5);
        EXPECT_TRUE(sameRect(UsedRegion::of(100, 50), PixelRect{5, 15, 35, 45}));
        // Another image on the same thread (a filter's own scratch plane of
        // another size) is used whole.
        EXPECT_TRUE(sameRect(UsedRegion::of(99, 50), PixelRect{0, 0, 99, 50}));
        {
            // Grown past the image: held to its edges.
            UsedRegion::Scope const inner(100, 50, PixelRect{10, 20, 30, 40}, 1000000000);
            EXPECT_TRUE(sameRect(UsedRegion::of(100, 50), PixelRect{0, 0, 100, 50}));
        }
        EXPECT_TRUE(sameRect(UsedRegion::of(100, 50), PixelRect{5, 15, 35, 45}));
    }
    EXPECT_TRUE(sameRect(UsedRegion::of(100, 50), PixelRect{0, 0, 100, 50}));
}

// A filter made of others applies them in turn: a blur followed by a sharpen
// must be right as far around the kept pixels as the sharpen reads, and may
// skip what lies beyond.
TEST(UsedRegion, FiltersInTurnWorkWhereTheLaterOnesRead)
{
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    std::unique_ptr<ImageMod> blur(findPrototype(prototypes, "Blur")->createCopy());
    std::unique_ptr<ImageMod> sharpen(findPrototype(prototypes, "Sharpen")->createCopy());
    deleteMods(prototypes);
    blur->setFloatVar(0, 100.0f); // radius 5: the running sums, not the direct kernel
    sharpen->setFloatVar(0, 60.0f);
    GrowArray<ImageMod*> chain = chainOf({blur.get(), sharpen.get()});

    auto source = patternImage<float>(160, 120, 3, 3);
    FlexImage<float> whole;
    whole.copyFromImage(*source, true);
    UsedRegion::applyInTurn(chain, &whole, nullptr);

    FlexImage<float> part;
    part.copyFromImage(*source, true);
    PixelRect const kept{50, 40, 110, 80};
    {
        UsedRegion::Scope const used(part.width, part.height, kept, 0);
        UsedRegion::applyInTurn(chain, &part, nullptr);
    }
    bool keptAlike = true;
    for (int y = kept.top; y < kept.bottom; ++y)
        for (int x = kept.left; x < kept.right; ++x)
            for (int c = 0; c < 3; ++c)
                keptAlike = keptAlike && part.pixelAt(x, y)[c] == whole.pixelAt(x, y)[c];
    EXPECT_TRUE(keptAlike);
    // Far from the kept pixels the blur did no work: the corner is only
    // sharpened, so it differs from the whole picture's blurred one.
    bool cornerAlike = true;
    for (int c = 0; c < 3; ++c)
        cornerAlike = cornerAlike && part.pixelAt(0, 0)[c] == whole.pixelAt(0, 0)[c];
    EXPECT_FALSE(cornerAlike);
}
