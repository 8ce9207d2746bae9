#include "mods/ImageModderBands.h"

#include <algorithm>

#include "core/ParallelDispatch.h"
#include "core/SampleMemory.h"
#include "core/ScratchPool.h"
#include "mods/ImageModderMulti.h"
#include "mods/TileRows.h"
#include "mods/UsedRegion.h"

namespace {

// The chain renderer's nominal tile edge.
constexpr int minimumTileEdge = 256;

// Bands of a chain with little or no halo are kept short: decoding, rendering
// and encoding then overlap in small steps instead of each waiting for a
// tall band of the one before. Sixteen rows a pixel of halo keep the rows
// read twice under an eighth of those made.
constexpr int bandRowsPerHaloPixel = 16;

// A working tile over memory that is kept from tile to tile at the largest
// size any tile needed: tiles of a band differ in size at the picture's
// edges, and a buffer made anew for each size is faulted in anew.
struct WorkingTile
{
    SampleBuffer<float> memory;
    FlexImage<float> image;

    FlexImage<float>& shaped(int width, int height)
    {
        image.viewOf(memory.atLeast(size_t(std::max(width, 0)) * size_t(std::max(height, 0)) * 3), width, height, 3);
        return image;
    }
};

// Never destroyed: bands may still render on worker threads while the
// program ends.
ScratchPool<WorkingTile>& tilePool()
{
    static auto* pool = new ScratchPool<WorkingTile>();
    return *pool;
}

} // namespace

ImageModderBands::ImageModderBands(GrowArray<ImageMod*> const& chain, int width, int height, float scale)
    : width(std::max(width, 0)), height(std::max(height, 0)), scale(scale)
{
    GrowArray<ImageMod*> flat;
    ImageModderMulti::flattenModsInto(chain, &flat);
    for (ImageMod* mod : flat) {
        ImageMod* copy = mod->duplicate();
        mods.add(copy);
        // Each filter uses up its own radius of the context the filters
        // before it left exact, so the chain needs the sum of them (the
        // chain renderer's largest-of rule leaves seams where two filters
        // that read neighbours follow each other).
        long long const needed = copy->getExtraPixelRadiusRequired(this->width, this->height, scale);
        radius = int(std::min<long long>(radius + std::max(needed, 0LL), std::max(this->width, this->height)));
    }
    readsAfter = UsedRegion::readsAfter(mods, this->width, this->height, scale);
}

ImageModderBands::~ImageModderBands()
{
    for (ImageMod* mod : mods)
        delete mod;
}

int ImageModderBands::tileStep() const
{
    return int(std::clamp(4 * static_cast<long long>(radius), static_cast<long long>(minimumTileEdge),
                          static_cast<long long>(std::max(width, minimumTileEdge))));
}

int ImageModderBands::bandHeight() const
{
    long long const fewRows = bandRowsPerHaloPixel * (static_cast<long long>(radius) + 1);
    return int(std::min({fewRows, static_cast<long long>(minimumTileEdge), static_cast<long long>(std::max(height, 1))}));
}

template <typename T>
void ImageModderBands::renderBand(FlexImage<T> const& window, int windowTop, int firstRow, FlexImage<T>* band,
                                  bool onCallingThread) const
{
    int const step = tileStep();
    int const across = std::max(1, (width + step - 1) / step);
    auto const renderColumn = [&](size_t i) {
        int const x0 = int(i) * step;
        renderTile(window, windowTop, firstRow, x0, std::min(width, x0 + step), band);
    };
    if (onCallingThread) {
        for (int i = 0; i < across; ++i)
            renderColumn(size_t(i));
        return;
    }
    // A band of a chain with a wide halo has large tiles, enough to keep
    // every core busy; two such bands at once would only hold two sets of
    // working tiles. They take turns.
    std::unique_lock<std::mutex> turn(wideBandTurn, std::defer_lock);
    if (step > minimumTileEdge)
        turn.lock();
    dispatchApply(size_t(across), DispatchPriority::Default, renderColumn);
}

template <typename T>
void ImageModderBands::renderTile(FlexImage<T> const& window, int windowTop, int firstRow, int x0, int x1,
                                  FlexImage<T>* band) const
{
    int const readX = std::max(0, x0 - radius);
    int const readY = std::max(0, firstRow - radius);
    int const readRight = std::min(width, x1 + radius);
    int const readBottom = std::min(height, firstRow + band->height + radius);
    int const channels = window.channels;

    // Working tiles are reused from band to band.
    auto const lease = tilePool().lease();
    FlexImage<float>& tile = lease->shaped(readRight - readX, readBottom - readY);
    for (int row = 0; row < tile.height; ++row)
        widenRow(window.pixelAt(readX, readY + row - windowTop), channels, tile.pixelAt(0, row), tile.width);

    ImageModChunkInfo info;
    info.fullWidth = width;
    info.fullHeight = height;
    info.chunkX = readX;
    info.chunkY = readY;
    info.scale = scale;
    // The tile's own pixels; each filter works on them and on as much of
    // the halo as the filters after it read.
    PixelRect const kept{x0 - readX, firstRow - readY, x1 - readX, firstRow + band->height - readY};
    for (int i = 0; i < mods.count; ++i)
        if (mods[i]->enabled) {
            UsedRegion::Scope const used(tile.width, tile.height, kept, readsAfter[size_t(i)]);
            mods[i]->applyMod(&tile, &info);
        }

    for (int y = firstRow; y < firstRow + band->height; ++y)
        storeRow(tile.pixelAt(x0 - readX, y - readY), window.pixelAt(x0, y - windowTop), channels,
                 band->pixelAt(x0, y - firstRow), x1 - x0);
}

template void ImageModderBands::renderBand(FlexImage<unsigned char> const&, int, int, FlexImage<unsigned char>*,
                                           bool) const;
template void ImageModderBands::renderBand(FlexImage<float> const&, int, int, FlexImage<float>*, bool) const;
