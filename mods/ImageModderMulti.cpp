#include "mods/ImageModderMulti.h"

#include "mods/ImageModCompound.h"

#include <algorithm>
#include <mutex>
#include <type_traits>

#include "core/ParallelDispatch.h"
#include "mods/UsedRegion.h"

namespace {

class StateGuard
{
public:
    explicit StateGuard(OVThreadLock* lock) : lock(lock) { lock->lock(); }
    ~StateGuard() { lock->unlock(); }

private:
    OVThreadLock* lock;
};

int lastBorderIndex(GrowArray<ImageMod*> const& list)
{
    for (int32_t i = list.count - 1; i >= 0; --i)
        if (list[i]->getModCategory() == ImageMod::CategoryBorder)
            return i;
    return -1;
}

DispatchPriority queueFor(float priority)
{
    if (priority < 0.25f)
        return DispatchPriority::Background;
    if (priority < 0.5f)
        return DispatchPriority::Low;
    if (priority < 0.75f)
        return DispatchPriority::Default;
    return DispatchPriority::High;
}

QThread::Priority threadPriorityFor(float priority)
{
    if (priority > 1.0f || priority < 0.0f)
        return QThread::NormalPriority;
    return QThread::Priority(int(priority * 6.0f));
}

// Shapes a separate destination like the source, keeping its channel count.
template <typename T>
void shapeLike(FlexImage<T>* dst, FlexImage<T> const* src)
{
    if (!dst->pixels || dst->width != src->width || dst->height != src->height) {
        dst->reshape(src->width, src->height, dst->channels);
        dst->setOpaqueAlpha();
    }
    dst->copyFrameFrom(*src);
}

} // namespace

ImageModderMulti::ImageModderMulti()
    : stateLock(createNewOVThreadLock()), renderSemaphore(createNewOVThreadSemaphore(1))
{
}

ImageModderMulti::~ImageModderMulti()
{
    waitUntilFinished();
    for (ImageMod* mod : mods)
        delete mod;
    delete cacheImage;
    delete stateLock;
    delete renderSemaphore;
}

void ImageModderMulti::flattenModsInto(GrowArray<ImageMod*> const& in, GrowArray<ImageMod*>* out)
{
    for (ImageMod* mod : in) {
        if (mod->getModCategory() != ImageMod::CategoryCompound) {
            out->add(mod);
            continue;
        }
        ImageModVariable* first = mod->vars.count > 0 ? mod->vars[0] : nullptr;
        ImageModVariableDataFloat* amount = first ? first->floatData() : nullptr;
        if (amount && amount->value == 1.0f) {
            if (mod->enabled)
                flattenModsInto(static_cast<ImageModCompound*>(mod)->subMods, out);
        } else {
            out->add(mod);
        }
    }
}

void ImageModderMulti::applyMods(GrowArray<ImageMod*> const& chain, FlexImage<float>* src, FlexImage<float>* dst)
{
    beginRender(chain, src, dst, false);
}

void ImageModderMulti::applyMods(GrowArray<ImageMod*> const& chain, FlexImage<unsigned char>* src,
                                 FlexImage<unsigned char>* dst)
{
    beginRender(chain, src, dst, false);
}

void ImageModderMulti::applyModsAsync(GrowArray<ImageMod*> const& chain, FlexImage<float>* src,
                                      FlexImage<float>* dst)
{
    beginRender(chain, src, dst, true);
}

void ImageModderMulti::applyModsAsync(GrowArray<ImageMod*> const& chain, FlexImage<unsigned char>* src,
                                      FlexImage<unsigned char>* dst)
{
    beginRender(chain, src, dst, true);
}

template <typename T>
void ImageModderMulti::beginRender(GrowArray<ImageMod*> const& chain, FlexImage<T>* src, FlexImage<T>* dst,
                                   bool async)
{
    renderSemaphore->acquire();
    srcFloat = dstFloat = nullptr;
    srcByte = dstByte = nullptr;
    if constexpr (std::is_same_v<T, float>) {
        srcFloat = src;
        dstFloat = dst;
    } else {
        srcByte = src;
        dstByte = dst;
    }
    prepareRender(chain, src->width, src->height);
    if (!async) {
        applyModsStatic(this);
        return;
    }
    auto* thread = new OVQTThread();
    thread->workWithArg = &ImageModderMulti::applyModsStatic;
    thread->arg = this;
    OVQTThread::startDetached(thread, threadPriorityFor(priority));
}

void ImageModderMulti::prepareRender(GrowArray<ImageMod*> const& chain, int sourceWidth, int sourceHeight)
{
    StateGuard guard(stateLock);
    captureIndex = -1;
    finished = false;
    completed = false;
    // Cleared here rather than on the worker, so that a cancel made as soon
    // as an asynchronous render has been started is not lost.
    cancelRequested = false;
    GrowArray<ImageMod*> flat;
    flattenModsInto(chain, &flat);

    if (keepCache) {
        int equal = 0;
        while (equal < flat.count && equal < mods.count && *flat[equal] == *mods[equal])
            ++equal;
        int const last = equal - 1;
        if (last < 0) {
            cachedIndex = -1;
        } else if (last != cachedIndex) {
            if (last < flat.count - 1)
                captureIndex = last;
            if (last < cachedIndex)
                cachedIndex = -1;
        }
        int const oldBorder = lastBorderIndex(mods);
        int const newBorder = lastBorderIndex(flat);
        if ((oldBorder < 0) != (newBorder < 0) ||
            (oldBorder >= 0 && newBorder >= 0 && !(*mods[oldBorder] == *flat[newBorder])))
            cachedIndex = -1;
        if (!cacheImage) {
            cachedIndex = -1;
        } else if (cacheImage->width != sourceWidth || cacheImage->height != sourceHeight) {
            cachedIndex = -1;
            cacheImage->reshape(sourceWidth, sourceHeight, cacheImage->channels);
        }
    } else {
        cachedIndex = -1;
    }

    for (ImageMod* mod : mods)
        delete mod;
    mods.count = 0;
    for (ImageMod* mod : flat) {
        ImageMod* copy = mod->duplicate();
        mods.add(copy);
    }
}

void ImageModderMulti::applyModsStatic(void* renderer)
{
    auto* self = static_cast<ImageModderMulti*>(renderer);
    if (self->srcFloat)
        self->applyModsInternal(self->srcFloat, self->dstFloat);
    else if (self->srcByte)
        self->applyModsInternal(self->srcByte, self->dstByte);
    // Last: the renderer may be deleted as soon as this is released.
    self->renderSemaphore->release();
}

template <typename T>
void ImageModderMulti::applyModsInternal(FlexImage<T>* src, FlexImage<T>* dst)
{
    bool const separate = dst && dst != src;
    if (separate)
        shapeLike(dst, src);
    if (captureIndex >= 0) {
        {
            StateGuard guard(stateLock);
            cachedIndex = -1; // the cache is being refilled
        }
        if (!cacheImage)
            cacheImage = new FlexImage<float>();
        if (!cacheImage->pixels || cacheImage->width != src->width || cacheImage->height != src->height ||
            cacheImage->channels != src->channels)
            cacheImage->reshape(src->width, src->height, src->channels);
        cacheImage->marginLeft = src->marginLeft;
        cacheImage->marginRight = src->marginRight;
        cacheImage->marginTop = src->marginTop;
        cacheImage->marginBottom = src->marginBottom;
        cacheImage->scale = src->scale;
    }
    renderTiles(src, dst, separate);
    {
        StateGuard guard(stateLock);
        if (!cancelRequested) {
            completed = true;
            if (captureIndex >= 0)
                cachedIndex = captureIndex;
        }
        finished = true;
        cancelRequested = false;
    }
}

template <typename T>
void ImageModderMulti::renderTiles(FlexImage<T>* src, FlexImage<T>* dst, bool separate)
{
    int const fullWidth = src->width;
    int const fullHeight = src->height;
    float const scale = src->scale;
    int const firstMod = cachedIndex + 1;
    int const capture = captureIndex;
    bool const fromCache = cachedIndex >= 0;

    int radius = 0;
    for (int j = firstMod; j < mods.count; ++j)
        radius = std::max(radius, mods[j]->getExtraPixelRadiusRequired(fullWidth, fullHeight, scale));

    sourceGrid.initializeGrid(src, tileSize, radius);
    if (capture >= 0)
        cacheWriteGrid.initializeGrid(cacheImage, tileSize, radius);
    if (fromCache)
        cacheReadGrid.initializeGrid(cacheImage, tileSize, radius);
    if (separate)
        destGrid.initializeGrid(dst, tileSize, radius);
    ImageModderMultiTileGrid& readGrid = fromCache ? cacheReadGrid : sourceGrid;

    std::vector<int> const readsAfter = UsedRegion::readsAfter(mods, fullWidth, fullHeight, scale);

    std::mutex renderMutex;
    auto renderTile = [&](size_t index) {
        int const i = int(index);
        ImageModChunkInfo info;
        FlexImage<float>* tile;
        {
            std::lock_guard<std::mutex> guard(renderMutex);
            tile = readGrid.getReadTile(i, &info);
        }
        for (int j = firstMod; j < mods.count; ++j) {
            if (cancelled())
                break;
            if (mods[j]->enabled) {
                // Each filter works on the tile's own pixels and as much of
                // the halo as the filters after it read.
                UsedRegion::Scope const used(tile->width, tile->height, readGrid.keptRect(i), readsAfter[size_t(j)]);
                mods[j]->applyMod(tile, &info);
            }
            if (j == capture) {
                std::lock_guard<std::mutex> guard(renderMutex);
                cacheWriteGrid.writeTileImmediately(i, tile);
            }
        }
        tilesFinished.fetch_add(1, std::memory_order_relaxed);
        std::lock_guard<std::mutex> guard(renderMutex);
        if (separate || fromCache) {
            // Nothing still needs this tile's source pixels: write at once.
            (separate ? destGrid : sourceGrid).writeTileImmediately(i, tile);
            readGrid.returnToPool(tile);
        } else {
            sourceGrid.giveWriteTile(i, tile);
            sourceGrid.processWrites();
        }
    };
    tilesFinished.store(0, std::memory_order_relaxed);
    tilesTotal.store(sourceGrid.tileCount(), std::memory_order_relaxed);
    dispatchApply(size_t(sourceGrid.tileCount()), queueFor(priority), renderTile);

    sourceGrid.processWrites();
    if (!keepCache) {
        sourceGrid.clearMemory();
        destGrid.clearMemory();
        cacheReadGrid.clearMemory();
        cacheWriteGrid.clearMemory();
    }
}

float ImageModderMulti::progress() const
{
    int const total = tilesTotal.load(std::memory_order_relaxed);
    return total > 0 ? float(tilesFinished.load(std::memory_order_relaxed)) / float(total) : 0.0f;
}

bool ImageModderMulti::cancelled()
{
    StateGuard guard(stateLock);
    return cancelRequested;
}

void ImageModderMulti::cancel()
{
    StateGuard guard(stateLock);
    cancelRequested = true;
}

void ImageModderMulti::waitUntilFinished()
{
    renderSemaphore->acquire();
    renderSemaphore->release();
}

bool ImageModderMulti::isFinished()
{
    StateGuard guard(stateLock);
    return finished;
}

bool ImageModderMulti::isCompleted()
{
    StateGuard guard(stateLock);
    return completed;
}

int ImageModderMulti::getCachedIndex()
{
    StateGuard guard(stateLock);
    return cachedIndex;
}

int ImageModderMulti::getCaptureIndex()
{
    StateGuard guard(stateLock);
    return captureIndex;
}
