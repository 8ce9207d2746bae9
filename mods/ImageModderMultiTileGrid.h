#pragma once

#include "core/GrowArray.h"
#include "imaging/FlexImage.h"
#include "mods/ImageMod.h"
#include "mods/UsedRegion.h"

// Cuts one image (float or 8-bit) into overlapping tiles for the renderer.
// Each tile is handed out as a float working copy enlarged by a halo of
// context pixels and written back without its halo. For in-place rendering a
// finished tile is held back until every neighbour that may still need its
// unprocessed pixels has been read. Tile buffers are recycled.
//
// The grid has no lock: the renderer calls it under its render mutex.
class ImageModderMultiTileGrid
{
public:
    FlexImage<float>* floatImage = nullptr;
    FlexImage<unsigned char>* byteImage = nullptr;
    int radius = 0;
    int tileWidth = 0;
    int tileHeight = 0;
    int tilesAcross = 0;
    int tilesDown = 0;
    GrowArray<FlexImage<float>*> pendingWrites;
    GrowArray<bool> readDone;
    GrowArray<FlexImage<float>*> tilePool;

    ImageModderMultiTileGrid() = default;
    ImageModderMultiTileGrid(ImageModderMultiTileGrid const&) = delete;
    ImageModderMultiTileGrid& operator=(ImageModderMultiTileGrid const&) = delete;
    ~ImageModderMultiTileGrid() { clearMemory(); }

    void initializeGrid(FlexImage<float>* image, int tileSize, int haloRadius);
    void initializeGrid(FlexImage<unsigned char>* image, int tileSize, int haloRadius);

    int tileCount() const { return tilesAcross * tilesDown; }
    // The caller owns the buffer until it gives it back.
    FlexImage<float>* getReadTile(int index, ImageModChunkInfo* info);
    // The grid takes ownership and writes the tile once its neighbours are read.
    void giveWriteTile(int index, FlexImage<float>* tile);
    void processWrites();
    void writeTileImmediately(int index, FlexImage<float> const* tile);
    // The pixels of a tile that are written back (the rest is halo), in the
    // tile's coordinates.
    PixelRect keptRect(int index) const;
    void returnToPool(FlexImage<float>* tile);
    void clearMemory();

private:
    struct Placement
    {
        int readX, readY;
        int trimLeft, trimRight, trimTop, trimBottom;
    };

    template <typename T>
    void initializeGridInternal(FlexImage<T>* image, int tileSize, int haloRadius);
    Placement placement(int index) const;
    int imageWidth() const;
    int imageHeight() const;
    FlexImage<float>* takeBuffer();
    bool neighbourhoodRead(int tx, int ty) const;
};
