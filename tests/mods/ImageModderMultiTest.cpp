#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <memory>
#include <thread>
#include <type_traits>
#include <vector>

#include "core/ParallelDispatch.h"
#include "mods/ImageModCompound.h"
#include "extension/ImageModRegistry.h"
#include "mods/ImageModderMulti.h"
#include "mods/basic/ImageModBrightness.h"
#include "mods/basic/ImageModContrast.h"
#include "mods/basic/ImageModSaturation.h"
#include "support/RenderCheck.h"
#include "support/TestImages.h"

namespace {

// Sleeps on every tile so that a render lasts long enough to be cancelled.
class SlowFilter : public ImageModTemplate<SlowFilter, ImageModBrightness>
{
public:
    SlowFilter() : ImageModTemplate(1.2f) {}
    void applyMod(FlexImage<float>* image, ImageModChunkInfo* info) override
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        ImageModBrightness::applyMod(image, info);
    }
};

} // namespace

TEST(TileGrid, LayoutFollowsTheHaloRule)
{
    FlexImage<float> image(1000, 10, 3);
    ImageModderMultiTileGrid grid;
    grid.initializeGrid(&image, 256, 0);
    EXPECT_EQ(grid.tilesAcross, 4);
    EXPECT_EQ(grid.tileWidth, 250);
    ImageModChunkInfo info;
    std::vector<int> starts;
    for (int i = 0; i < 4; ++i) {
        FlexImage<float>* tile = grid.getReadTile(i, &info);
        starts.push_back(info.chunkX);
        grid.returnToPool(tile);
    }
    EXPECT_EQ(starts, (std::vector<int>{0, 250, 500, 750}));

    grid.initializeGrid(&image, 256, 100);
    EXPECT_EQ(grid.tilesAcross, 3);
    EXPECT_EQ(grid.tileWidth, 534);
    EXPECT_EQ(grid.tilesDown, 1) << "a tile spanning the height makes one row";
    starts.clear();
    for (int i = 0; i < 3; ++i) {
        FlexImage<float>* tile = grid.getReadTile(i, &info);
        starts.push_back(info.chunkX);
        EXPECT_EQ(info.fullWidth, 1000);
        grid.returnToPool(tile);
    }
    EXPECT_EQ(starts, (std::vector<int>{0, 234, 466}));

    FlexImage<float> small(40, 30, 3);
    grid.initializeGrid(&small, 256, 10);
    EXPECT_EQ(grid.tileCount(), 1);
    FlexImage<float>* tile = grid.getReadTile(0, &info);
    EXPECT_EQ(tile->width, 40);
    EXPECT_EQ(info.chunkX, 0);
    EXPECT_EQ(info.chunkY, 0);
    grid.returnToPool(tile);
}

TEST(TileGrid, HeldBackTileWaitsForAllNeighbours)
{
    FlexImage<float> image(600, 600, 3);
    std::fill(image.pixels, image.pixels + image.sampleCount(), 1.0f);
    ImageModderMultiTileGrid grid;
    grid.initializeGrid(&image, 200, 10);
    ASSERT_EQ(grid.tilesAcross, 3);
    ASSERT_EQ(grid.tilesDown, 3);
    FlexImage<float>* centre = grid.getReadTile(4, nullptr);
    std::fill(centre->pixels, centre->pixels + centre->sampleCount(), 9.0f);
    grid.giveWriteTile(4, centre);
    for (int i : {0, 1, 2, 3, 5, 6, 7}) {
        grid.returnToPool(grid.getReadTile(i, nullptr));
        grid.processWrites();
        EXPECT_EQ(image.pixelAt(300, 300)[0], 1.0f) << "written before neighbour 8 was read";
    }
    grid.returnToPool(grid.getReadTile(8, nullptr));
    grid.processWrites();
    EXPECT_EQ(image.pixelAt(300, 300)[0], 9.0f);
}

TEST(TileGrid, ByteWritesWrapInsteadOfClamping)
{
    FlexImage<unsigned char> image(8, 8, 3);
    ImageModderMultiTileGrid grid;
    grid.initializeGrid(&image, 256, 0);
    FlexImage<float>* tile = grid.getReadTile(0, nullptr);
    std::fill(tile->pixels, tile->pixels + tile->sampleCount(), -1.0f);
    tile->pixels[0] = 256.0f;
    tile->pixels[1] = 255.9f;
    grid.writeTileImmediately(0, tile);
    EXPECT_EQ(image.pixels[0], 0);
    EXPECT_EQ(image.pixels[1], 255);
    EXPECT_EQ(image.pixels[2], 255);
    grid.returnToPool(tile);
}

TEST(Renderer, TiledRenderEqualsWholeImageForEveryFilter)
{
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    for (ImageMod* prototype : prototypes) {
        std::unique_ptr<ImageMod> mod(prototype->createCopy());
        *mod = *prototype;
        moveMainVariable(mod.get());
        for (auto [w, h] : {std::pair{1, 1}, std::pair{255, 257}, std::pair{700, 300}})
            for (int channels : {3, 4})
                for (bool inPlace : {true, false})
                    expectTiledEqualsWhole<float>(mod.get(), w, h, channels, inPlace, 256);
        expectTiledEqualsWhole<float>(mod.get(), 301, 203, 3, true, 32);
        expectTiledEqualsWhole<unsigned char>(mod.get(), 255, 257, 3, true, 64);
        expectTiledEqualsWhole<unsigned char>(mod.get(), 255, 257, 4, false, 64);
    }
    deleteMods(prototypes);
}

TEST(Renderer, EmptyOrDisabledChainCopiesExactly)
{
    auto source = patternImage<float>(300, 200, 3);
    for (size_t i = 0; i < source->sampleCount(); i += 3)
        source->pixels[i] += 0.25f;
    ImageModderMulti renderer;
    FlexImage<float> out;
    renderer.applyMods(GrowArray<ImageMod*>(), source.get(), &out);
    EXPECT_TRUE(sameColours(out, *source));

    ImageModBrightness off(1.6f);
    off.enabled = 0;
    FlexImage<float> out2;
    renderer.applyMods(chainOf({&off}), source.get(), &out2);
    EXPECT_TRUE(sameColours(out2, *source));
    EXPECT_TRUE(renderer.isCompleted());
    EXPECT_TRUE(renderer.isFinished());
}

TEST(Renderer, PrefixCacheSkipsTheUnchangedFilters)
{
    ImageModBrightness first(1.2f);
    ImageModContrast second(1.3f, 100.0f);
    ImageModSaturation third(0.6f, 2);
    GrowArray<ImageMod*> chain = chainOf({&first, &second, &third});
    auto source = patternImage<float>(400, 300, 3);
    auto render = [&](ImageModderMulti& r, FlexImage<float>& out) {
        r.applyMods(chain, source.get(), &out);
        FlexImage<float> whole;
        whole.copyFromImage(*source, true);
        for (ImageMod* m : chain)
            m->applyMod(&whole, nullptr);
        EXPECT_TRUE(sameColours(out, whole));
    };

    ImageModderMulti renderer;
    FlexImage<float> out;
    render(renderer, out);
    EXPECT_EQ(renderer.getCachedIndex(), -1) << "the first render has nothing to compare with";
    EXPECT_EQ(renderer.getCaptureIndex(), -1);

    third.setFloatVar(0, 0.8f);
    render(renderer, out);
    EXPECT_EQ(renderer.getCaptureIndex(), 1) << "captures after the last unchanged filter";
    EXPECT_EQ(renderer.getCachedIndex(), 1);

    third.setFloatVar(0, 1.4f);
    render(renderer, out);
    EXPECT_EQ(renderer.getCaptureIndex(), -1);
    EXPECT_EQ(renderer.getCachedIndex(), 1) << "starts from the cache and applies only the last filter";

    render(renderer, out);
    EXPECT_EQ(renderer.getCaptureIndex(), -1) << "an unchanged chain requests no capture";
    EXPECT_EQ(renderer.getCachedIndex(), 1);

    first.setFloatVar(0, 0.9f);
    render(renderer, out);
    EXPECT_EQ(renderer.getCachedIndex(), -1) << "a change before the cache invalidates it";
}

TEST(Renderer, CompoundsAtFullAmountAreFlattened)
{
    auto* full = new ImageModCompound("Full");
    full->addSubMod(new ImageModBrightness(1.2f));
    full->addSubMod(new ImageModContrast(1.3f, 100.0f));
    GrowArray<ImageMod*> in = chainOf({full});
    GrowArray<ImageMod*> flat;
    ImageModderMulti::flattenModsInto(in, &flat);
    EXPECT_EQ(flat.count, 2);

    full->enabled = 0;
    flat.count = 0;
    ImageModderMulti::flattenModsInto(in, &flat);
    EXPECT_EQ(flat.count, 0) << "a disabled compound contributes nothing";

    full->enabled = 1;
    full->setFloatVar(0, 0.5f);
    flat.count = 0;
    ImageModderMulti::flattenModsInto(in, &flat);
    ASSERT_EQ(flat.count, 1);
    EXPECT_EQ(flat[0], full);

    auto source = patternImage<float>(300, 300, 3);
    FlexImage<float> whole;
    whole.copyFromImage(*source, true);
    full->applyMod(&whole, nullptr);
    ImageModderMulti renderer;
    FlexImage<float> out;
    renderer.applyMods(in, source.get(), &out);
    EXPECT_TRUE(sameColours(out, whole));
    delete full;
}

TEST(Renderer, ManyRenderersAtOnceFromSeveralThreads)
{
    auto source = patternImage<float>(520, 390, 3);
    ImageModContrast contrast(1.4f, 120.0f);
    FlexImage<float> expected;
    expected.copyFromImage(*source, true);
    contrast.applyMod(&expected, nullptr);

    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int round = 0; round < 3; ++round) {
                ImageModderMulti renderer;
                renderer.setTileSize(64);
                FlexImage<float> out;
                renderer.applyMods(chainOf({&contrast}), source.get(), &out);
                if (!sameColours(out, expected))
                    ++mismatches;
            }
        });
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(mismatches.load(), 0);
}

TEST(Renderer, AsynchronousRenderAndCancel)
{
    auto source = patternImage<float>(640, 480, 3);
    SlowFilter slow;
    FlexImage<float> expected;
    expected.copyFromImage(*source, true);
    slow.applyMod(&expected, nullptr);

    ImageModderMulti renderer;
    renderer.setTileSize(32);
    FlexImage<float> out;
    renderer.applyModsAsync(chainOf({&slow}), source.get(), &out);
    renderer.waitUntilFinished();
    EXPECT_TRUE(renderer.isCompleted());
    EXPECT_TRUE(sameColours(out, expected));

    FlexImage<float> cancelled;
    slow.setFloatVar(0, 1.3f);
    renderer.setKeepCache(false);
    renderer.applyModsAsync(chainOf({&slow}), source.get(), &cancelled);
    renderer.cancel();
    renderer.waitUntilFinished();
    EXPECT_TRUE(renderer.isFinished());
    EXPECT_EQ(cancelled.width, 640) << "the destination stays a whole image";
    EXPECT_EQ(cancelled.height, 480);
    EXPECT_FALSE(renderer.isCompleted()) << "a cancel made right after the start is not lost";

    slow.setFloatVar(0, 1.2f);
    FlexImage<float> again;
    renderer.applyMods(chainOf({&slow}), source.get(), &again);
    EXPECT_TRUE(renderer.isCompleted());
    EXPECT_TRUE(sameColours(again, expected)) << "the next render is complete";
}

TEST(ParallelDispatch, EveryIndexRunsOnceEvenWhenNested)
{
    std::vector<std::atomic<int>> hits(500);
    std::atomic<int> nestedTotal{0};
    dispatchApply(hits.size(), DispatchPriority::Default, [&](size_t i) {
        hits[i]++;
        if (i % 50 == 0)
            dispatchApply(40, DispatchPriority::High, [&](size_t) { nestedTotal++; });
    });
    for (auto& h : hits)
        EXPECT_EQ(h.load(), 1);
    EXPECT_EQ(nestedTotal.load(), 10 * 40);

    std::atomic<bool> ran{false};
    std::atomic<int> innerDone{0};
    dispatchAsync(DispatchPriority::Background, [&] {
        dispatchApply(100, DispatchPriority::Default, [&](size_t) { innerDone++; });
        ran = true;
    });
    for (int i = 0; i < 2000 && !ran; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(ran.load());
    EXPECT_EQ(innerDone.load(), 100);
}

TEST(Threading, WrappersBehaveAsSingleHolderPrimitives)
{
    std::unique_ptr<OVThreadSemaphore> semaphore(createNewOVThreadSemaphore(5));
    std::unique_ptr<OVThreadLock> lock(createNewOVThreadLock());
    semaphore->acquire();
    std::atomic<bool> second{false};
    std::thread other([&] {
        semaphore->acquire();
        second = true;
        semaphore->release();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(second.load()) << "one holder at a time, whatever the count asked for";
    semaphore->release();
    other.join();
    EXPECT_TRUE(second.load());

    EXPECT_TRUE(lock->tryLock());
    std::thread blocked([&] { EXPECT_FALSE(lock->tryLock()); });
    blocked.join();
    lock->unlock();

    auto* idle = new OVQTThread();
    OVQTThread::startDetached(idle, QThread::NormalPriority);
    idle->wait();
    EXPECT_TRUE(idle->isFinished()) << "a thread with nothing to run finishes";
}
