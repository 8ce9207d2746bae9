#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "extension/ImageModRegistry.h"
#include "mods/ImageModderBands.h"
#include "mods/ImageModderMulti.h"
#include "support/RenderCheck.h"

namespace {

// Renders the whole picture band by band, each from a window that holds
// just its rows and their halo, as a streaming host would.
template <typename T>
void renderInBands(GrowArray<ImageMod*> const& chain, FlexImage<T> const& source, FlexImage<T>* result)
{
    ImageModderBands bands(chain, source.width, source.height);
    int const halo = bands.haloRadius();
    result->reshape(source.width, source.height, source.channels);
    for (int first = 0; first < source.height; first += bands.bandHeight()) {
        int const rows = std::min(bands.bandHeight(), source.height - first);
        int const top = std::max(0, first - halo);
        int const bottom = std::min(source.height, first + rows + halo);
        FlexImage<T> window(source.width, bottom - top, source.channels);
        std::memcpy(window.pixels, source.pixelAt(0, top), window.sampleCount() * sizeof(T));
        FlexImage<T> band(source.width, rows, source.channels);
        bands.renderBand(window, top, first, &band);
        std::memcpy(result->pixelAt(0, first), band.pixels, band.sampleCount() * sizeof(T));
    }
}

template <typename T>
void expectBandsEqualWhole(GrowArray<ImageMod*> const& chain, int width, int height)
{
    auto source = patternImage<T>(width, height, 4, 5);
    FlexImage<T> whole;
    whole.copyFromImage(*source, true);
    ImageModderMulti renderer;
    renderer.applyMods(chain, &whole, nullptr);
    FlexImage<T> banded;
    renderInBands(chain, *source, &banded);
    EXPECT_TRUE(sameColours(banded, whole));
    // Alpha passes through untouched.
    bool alphaKept = true;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            alphaKept = alphaKept && banded.pixelAt(x, y)[3] == source->pixelAt(x, y)[3];
    EXPECT_TRUE(alphaKept);
}

class RendererBands : public ::testing::Test
{
protected:
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    ~RendererBands() override { deleteMods(prototypes); }

    std::unique_ptr<ImageMod> filter(char const* name, float amount)
    {
        std::unique_ptr<ImageMod> mod(findPrototype(prototypes, name)->createCopy());
        mod->setFloatVar(0, amount);
        return mod;
    }
};

} // namespace

// Short bands (small halos) cut the picture into several bands and several
// tiles across; large halos give bands that read most of it. Each
// way the result is the whole-picture render's.
TEST_F(RendererBands, BandsTogetherEqualTheWholePicture)
{
    struct Case
    {
        char const* name;
        float amount;
    };
    for (Case c : {Case{"Sharpen", 40.0f}, Case{"Blur", 20.0f}, Case{"Radial Blur", 0.4f}, Case{"Vignette", 1.0f},
                   Case{"Dynamics", 60.0f}, Case{"Helga", 1.0f}, Case{"1974", 0.8f}}) {
        SCOPED_TRACE(c.name);
        auto mod = filter(c.name, c.amount);
        GrowArray<ImageMod*> chain = chainOf({mod.get()});
        expectBandsEqualWhole<unsigned char>(chain, 600, 700);
        expectBandsEqualWhole<float>(chain, 300, 530);
    }
}

TEST_F(RendererBands, HaloAndBandFollowTheChain)
{
    // Sharpen reads one pixel around at full size; Blur 100 on a 6000-pixel
    // side reaches ceil(0.03 x 6000) = 180. One after the other they need
    // both: 181 rows of context.
    auto sharpen = filter("Sharpen", 40.0f);
    auto blur = filter("Blur", 100.0f);
    ImageModderBands bands(chainOf({sharpen.get(), blur.get()}), 6000, 4000);
    EXPECT_EQ(bands.haloRadius(), 181);
    // Its bands are a tile tall: sixteen rows a pixel of halo would be more.
    EXPECT_EQ(bands.bandHeight(), 256);
    // A small halo: sixteen rows a pixel of it.
    ImageModderBands sharpened(chainOf({sharpen.get()}), 6000, 4000);
    EXPECT_EQ(sharpened.haloRadius(), 1);
    EXPECT_EQ(sharpened.bandHeight(), 32);
    // No chain: no halo, short bands, capped by the picture.
    ImageModderBands none(GrowArray<ImageMod*>(), 50, 40);
    EXPECT_EQ(none.haloRadius(), 0);
    EXPECT_EQ(none.bandHeight(), 16);
    ImageModderBands low(GrowArray<ImageMod*>(), 50, 10);
    EXPECT_EQ(low.bandHeight(), 10);
}

// Two filters that read neighbours, one after the other: the bands equal the
// two applied in turn to the whole picture (no tiles at all). The first one
// must also be right as far into the halo as the second one reads (the blurs
// work only on the part of a tile that is read afterwards).
TEST_F(RendererBands, ChainedNeighbourhoodsNeedTheirHalosAdded)
{
    struct Pair
    {
        char const* first;
        float firstAmount;
        char const* second;
        float secondAmount;
    };
    // Filters of every kind of loop after one that reads neighbours: they
    // work only on the tile's own pixels, and must place them right.
    for (Pair p : {Pair{"Sharpen", 60.0f, "Blur", 30.0f}, Pair{"Blur", 30.0f, "Sharpen", 60.0f},
                   Pair{"Radial Blur", 0.6f, "Blur", 30.0f}, Pair{"Blur", 30.0f, "Radial Blur", 0.6f},
                   Pair{"Blur", 30.0f, "Noise", 40.0f}, Pair{"Blur", 30.0f, "Vignette", 0.8f},
                   Pair{"Blur", 30.0f, "Luminance Contrast", 1.4f}, Pair{"Blur", 30.0f, "Contrast", 1.4f},
                   Pair{"Blur", 30.0f, "Saturation", 1.5f}, Pair{"Blur", 30.0f, "Discolor", 0.8f}}) {
        SCOPED_TRACE(std::string(p.first) + " then " + p.second);
        auto first = filter(p.first, p.firstAmount);
        auto second = filter(p.second, p.secondAmount);
        GrowArray<ImageMod*> chain = chainOf({first.get(), second.get()});
        auto source = patternImage<float>(300, 530, 3, 7);
        FlexImage<float> whole;
        whole.copyFromImage(*source, true);
        ImageModChunkInfo info;
        info.fullWidth = whole.width;
        info.fullHeight = whole.height;
        first->applyMod(&whole, &info);
        second->applyMod(&whole, &info);
        FlexImage<float> banded;
        renderInBands(chain, *source, &banded);
        EXPECT_TRUE(sameColours(banded, whole));
    }
}
