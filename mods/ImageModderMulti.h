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
// The cache assumes the same source image from one render to the next. One
// render runs at a time per renderer; a second call waits for the first.
class ImageModderMulti
{
public:
    ImageModderMulti();
    ~ImageModderMulti();
    ImageModderMulti(ImageModderMulti const&) = delete;
    ImageModderMulti& operator=(ImageModderMulti const&) = delete;

    // Whether to reuse the result of an unchanged chain prefix and keep tile
    // buffers between renders (on by default).
    void setKeepCache(bool keep) { keepCache = keep; }
    // The nominal inner tile edge in pixels (256 by default).
    void setTileSize(int pixels) { tileSize = pixels > 0 ? pixels : 256; }
    // 0 to 1: the work queue and worker priority (0.5, normal, by default).
    void setPriority(float value) { priority = value; }

    // Renders src into dst, or in place when dst is null or src, and returns
    // when the render is done.
    void applyMods(GrowArray<ImageMod*> const& chain, FlexImage<float>* src, FlexImage<float>* dst);
    void applyMods(GrowArray<ImageMod*> const& chain, FlexImage<unsigned char>* src, FlexImage<unsigned char>* dst);
    // The same on a worker thread of its own; returns once it has started.
    // The images must outlive the render (see waitUntilFinished).
    void applyModsAsync(GrowArray<ImageMod*> const& chain, FlexImage<float>* src, FlexImage<float>* dst);
    void applyModsAsync(GrowArray<ImageMod*> const& chain, FlexImage<unsigned char>* src,
                        FlexImage<unsigned char>* dst);

    // Asks a running render to stop applying filters; tiles already read are
    // still written, so the destination stays a whole image.
    void cancel();
    // Waits for a render (synchronous or not) to end.
    void waitUntilFinished();
    bool isFinished();
    // Whether the last render ran to its end without being cancelled.
    bool isCompleted();
    // The finished share of the current render, 0 to 1.
    float progress() const;
    // The cache plan: the filter after which the cached result stands (-1:
    // none), and the filter after which the last render stored its result.
    int getCachedIndex();
    int getCaptureIndex();

    // Compounds at exactly full amount are replaced by their sub-filters
    // (nothing when disabled); any other compound stays whole.
    static void flattenModsInto(GrowArray<ImageMod*> const& in, GrowArray<ImageMod*>* out);

private:
    bool keepCache = true;
    int tileSize = 256;
    float priority = 0.5f;
    FlexImage<float>* cacheImage = nullptr;
    // Deep copies of the flattened chain of the current (or last) render.
    GrowArray<ImageMod*> mods;
    int cachedIndex = -1;
    int captureIndex = -1;
    bool finished = true;
    bool completed = false;
    bool cancelRequested = false;
    FlexImage<float>* srcFloat = nullptr;
    FlexImage<float>* dstFloat = nullptr;
    FlexImage<unsigned char>* srcByte = nullptr;
    FlexImage<unsigned char>* dstByte = nullptr;
    // Guards the flags, the cache indices and mods while it is replaced.
    OVThreadLock* stateLock;
    // Admits one render at a time.
    OVThreadSemaphore* renderSemaphore;
    ImageModderMultiTileGrid sourceGrid;
    ImageModderMultiTileGrid destGrid;
    ImageModderMultiTileGrid cacheWriteGrid;
    ImageModderMultiTileGrid cacheReadGrid;
    std::atomic<int> tilesFinished{0};
    std::atomic<int> tilesTotal{0};

    template <typename T>
    void beginRender(GrowArray<ImageMod*> const& chain, FlexImage<T>* src, FlexImage<T>* dst, bool async);
    void prepareRender(GrowArray<ImageMod*> const& chain, int sourceWidth, int sourceHeight);
    static void applyModsStatic(void* renderer);
    template <typename T>
    void applyModsInternal(FlexImage<T>* src, FlexImage<T>* dst);
    template <typename T>
    void renderTiles(FlexImage<T>* src, FlexImage<T>* dst, bool separate);
    bool cancelled();
};
