#include "mods/ImageModderMultiTileGrid.h"

#include <algorithm>
#include <cmath>

#include "mods/TileRows.h"

int ImageModderMultiTileGrid::imageWidth() const
{
    return byteImage ? byteImage->width : (floatImage ? floatImage->width : 0);
}

int ImageModderMultiTileGrid::imageHeight() const
{
    return byteImage ? byteImage->height : (floatImage ? floatImage->height : 0);
}

void ImageModderMultiTileGrid::initializeGrid(FlexImage<float>* image, int tileSize, int haloRadius)
{
    byteImage = nullptr;
    floatImage = image;
    initializeGridInternal(image, tileSize, haloRadius);
}

void ImageModderMultiTileGrid::initializeGrid(FlexImage<unsigned char>* image, int tileSize, int haloRadius)
{
    floatImage = nullptr;
    byteImage = image;
    initializeGridInternal(image, tileSize, haloRadius);
}

template <typename T>
void ImageModderMultiTileGrid::initializeGridInternal(FlexImage<T>* image, int tileSize, int haloRadius)
{
    int const W = image->pixels ? image->width : 0;
    int const H = image->pixels ? image->height : 0;
    // A halo wider than the image lays out exactly as one as wide as the
    // image (a single tile spans it), and keeps the arithmetic below in range.
    radius = std::clamp(haloRadius, 0, std::max(W, H));
    // A tile's inner part is never narrower than four halo widths.
    int const step = int(std::max(float(4 * radius), float(tileSize)));
    tilesAcross = W > 0 ? int(std::ceil(float(W) / float(step))) : 0;
    tilesDown = H > 0 ? int(std::ceil(float(H) / float(step))) : 0;
    if (tilesAcross > 0 && tilesDown > 0) {
        int const innerW = int(std::ceil(float(W) / float(tilesAcross)));
        int const innerH = int(std::ceil(float(H) / float(tilesDown)));
        tileWidth = std::min(innerW + 2 * radius, W);
        tileHeight = std::min(innerH + 2 * radius, H);
        if (tileWidth == W)
            tilesAcross = 1;
        if (tileHeight == H)
            tilesDown = 1;
    } else {
        tilesAcross = tilesDown = tileWidth = tileHeight = 0;
    }
    for (FlexImage<float>* tile : pendingWrites)
        delete tile;
    pendingWrites.count = 0;
    readDone.count = 0;
    for (int i = 0; i < tileCount(); ++i) {
        pendingWrites.add(nullptr);
        readDone.add(false);
    }
}

ImageModderMultiTileGrid::Placement ImageModderMultiTileGrid::placement(int index) const
{
    int const tx = index % tilesAcross;
    int const ty = index / tilesAcross;
    int const x0 = (tileWidth - 2 * radius) * tx;
    int const y0 = (tileHeight - 2 * radius) * ty;
    Placement p;
    p.trimLeft = x0 >= radius ? radius : 0;
    p.trimTop = y0 >= radius ? radius : 0;
    p.readX = x0 - p.trimLeft;
    p.readY = y0 - p.trimTop;
    // The last column and row slide back to end exactly at the image edge.
    p.trimRight = radius;
    if (p.readX + tileWidth >= imageWidth()) {
        p.readX = imageWidth() - tileWidth;
        p.trimRight = 0;
    }
    p.trimBottom = radius;
    if (p.readY + tileHeight >= imageHeight()) {
        p.readY = imageHeight() - tileHeight;
        p.trimBottom = 0;
    }
    return p;
}

FlexImage<float>* ImageModderMultiTileGrid::takeBuffer()
{
    if (tilePool.count == 0)
        return new FlexImage<float>(tileWidth, tileHeight, 3);
    FlexImage<float>* tile = tilePool.last();
    --tilePool.count;
    if (tile->width != tileWidth || tile->height != tileHeight)
        tile->reshape(tileWidth, tileHeight, tile->channels);
    return tile;
}

FlexImage<float>* ImageModderMultiTileGrid::getReadTile(int index, ImageModChunkInfo* info)
{
    FlexImage<float>* tile = takeBuffer();
    Placement const p = placement(index);
    if (byteImage) {
        for (int row = 0; row < tileHeight; ++row)
            widenRow(byteImage->pixelAt(p.readX, p.readY + row), byteImage->channels, tile->pixelAt(0, row),
                     tileWidth);
    } else {
        tile->copyFromImagePortion(*floatImage, -p.readX, -p.readY, nullptr);
    }
    if (info) {
        auto fillFrame = [info](auto const& image) {
            info->scale = image.scale;
            info->marginLeft = image.marginLeft;
            info->marginRight = image.marginRight;
            info->marginTop = image.marginTop;
            info->marginBottom = image.marginBottom;
        };
        if (byteImage)
            fillFrame(*byteImage);
        else
            fillFrame(*floatImage);
        info->fullWidth = imageWidth();
        info->fullHeight = imageHeight();
        info->chunkX = p.readX;
        info->chunkY = p.readY;
    }
    while (readDone.count <= index)
        readDone.add(false);
    readDone[index] = true;
    return tile;
}

void ImageModderMultiTileGrid::giveWriteTile(int index, FlexImage<float>* tile)
{
    while (pendingWrites.count <= index)
        pendingWrites.add(nullptr);
    pendingWrites[index] = tile;
}

bool ImageModderMultiTileGrid::neighbourhoodRead(int tx, int ty) const
{
    for (int ny = std::max(0, ty - 1); ny <= std::min(tilesDown - 1, ty + 1); ++ny)
        for (int nx = std::max(0, tx - 1); nx <= std::min(tilesAcross - 1, tx + 1); ++nx) {
            int const n = ny * tilesAcross + nx;
            if (n >= readDone.count || !readDone[n])
                return false;
        }
    return true;
}

void ImageModderMultiTileGrid::processWrites()
{
    for (int ty = 0; ty < tilesDown; ++ty)
        for (int tx = 0; tx < tilesAcross; ++tx) {
            int const index = ty * tilesAcross + tx;
            if (index >= pendingWrites.count || !pendingWrites[index] || !neighbourhoodRead(tx, ty))
                continue;
            writeTileImmediately(index, pendingWrites[index]);
            returnToPool(pendingWrites[index]);
            pendingWrites[index] = nullptr;
        }
}

void ImageModderMultiTileGrid::writeTileImmediately(int index, FlexImage<float> const* tile)
{
    Placement const p = placement(index);
    if (floatImage && !byteImage) {
        int const margins[4] = {p.trimLeft, p.trimRight, p.trimTop, p.trimBottom};
        floatImage->copyFromImagePortion(*tile, p.readX, p.readY, margins);
        return;
    }
    // Truncation keeps only the low 8 bits, unclamped: filters keep samples
    // within 0..255, and the write loop stays branch-free. Alpha stays.
    for (int row = p.trimTop; row < tileHeight - p.trimBottom; ++row)
        storeRow<unsigned char>(tile->pixelAt(p.trimLeft, row), nullptr, byteImage->channels,
                                byteImage->pixelAt(p.readX + p.trimLeft, p.readY + row),
                                tileWidth - p.trimLeft - p.trimRight);
}

PixelRect ImageModderMultiTileGrid::keptRect(int index) const
{
    Placement const p = placement(index);
    return PixelRect{p.trimLeft, p.trimTop, tileWidth - p.trimRight, tileHeight - p.trimBottom};
}

void ImageModderMultiTileGrid::returnToPool(FlexImage<float>* tile)
{
    tilePool.addOnce(tile);
}

void ImageModderMultiTileGrid::clearMemory()
{
    for (FlexImage<float>* tile : pendingWrites)
        delete tile;
    for (FlexImage<float>* tile : tilePool)
        delete tile;
    pendingWrites.release();
    readDone.release();
    tilePool.release();
}
