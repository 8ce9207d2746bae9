#pragma once

#include <atomic>

#include "core/GrowArray.h"
#include "core/OVThreading.h"
#include "imaging/FlexImage.h"
#include "mods/ImageMod.h"
#include "mods/ImageModderMultiTileGrid.h"

// Renders a chain of filters over an image, tile by tile on all cores. It
// flattens compounds where that is exact, renders from its own deep copies of
// the chain (so the caller may keep editing), and keeps the result after the
// unchanged prefix of the chain, so that a re-render after a change to a late
// filter starts from that result instead of from the source.
//
// The cache assumes the same source image from one render to the next.
class ImageModderMulti
{
public:
    bool keepCache = true;
    bool runAsync = false;
    int tileSize = 256;
    FlexImage<float>* cacheImage = nullptr;
    GrowArray<ImageMod*> mods;
    int cachedIndex = -1;
    int captureIndex = -1;
    int spareIndex = -1;
    ImageModChunkInfo* callerChunkInfo = nullptr;
    bool finished = true;
    bool completed = false;
    bool cancelRequested = false;
    float priority = 0.5f;
    FlexImage<float>* srcFloat = nullptr;
    FlexImage<float>* dstFloat = nullptr;
    FlexImage<unsigned char>* srcByte = nullptr;
    FlexImage<unsigned char>* dstByte = nullptr;
    OVThreadLock* stateLock;
    OVThreadSemaphore* renderSemaphore;
    ImageModderMultiTileGrid sourceGrid;
    ImageModderMultiTileGrid destGrid;
    ImageModderMultiTileGrid cacheWriteGrid;
    ImageModderMultiTileGrid cacheReadGrid;
    // Tiles of the current render, for progress reports.
    std::atomic<int> tilesFinished{0};
    std::atomic<int> tilesTotal{0};

    // The arguments are accepted and ignored: the tuning is fixed.
    explicit ImageModderMulti(bool = true, bool = false, int = 256, float = 0.5f);
    ~ImageModderMulti();
    ImageModderMulti(ImageModderMulti const&) = delete;
    ImageModderMulti& operator=(ImageModderMulti const&) = delete;

    // Renders src into dst, or in place when dst is null or src. With runAsync
    // the call returns once the worker has started.
    void applyMods(GrowArray<ImageMod*> const& chain, FlexImage<float>* src, FlexImage<float>* dst, int = 0,
                   ImageModChunkInfo* = nullptr);
    void applyMods(GrowArray<ImageMod*> const& chain, FlexImage<unsigned char>* src, FlexImage<unsigned char>* dst,
                   int = 0, ImageModChunkInfo* = nullptr);

    // Compounds at exactly full amount are replaced by their sub-filters
    // (nothing when disabled); any other compound stays whole.
    static void flattenModsInto(GrowArray<ImageMod*> const& in, GrowArray<ImageMod*>* out);

    // Asks a running render to stop applying filters; tiles already read are
    // still written, so the destination stays a valid image.
    void cancel();
    // Waits for a render (synchronous or not) to end.
    void waitUntilFinished();
    bool isFinished();
    bool isCompleted();
    int getCachedIndex();
    // The finished share of the current render, 0 to 1.
    float progress() const;

private:
    template <typename T>
    void beginRender(GrowArray<ImageMod*> const& chain, FlexImage<T>* src, FlexImage<T>* dst);
    void prepareRender(GrowArray<ImageMod*> const& chain, int sourceWidth, int sourceHeight);
    void startRender();
    static void applyModsStatic(void* renderer);
    template <typename T>
    void applyModsInternal(FlexImage<T>* src, FlexImage<T>* dst);
    template <typename T>
    void renderTiles(FlexImage<T>* src, FlexImage<T>* dst, bool separate);
    bool cancelled();
};
