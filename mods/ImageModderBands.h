#pragma once

#include <mutex>
#include <vector>

#include "core/GrowArray.h"
#include "imaging/FlexImage.h"
#include "mods/ImageMod.h"

// Renders a chain over a picture one band of rows at a time, for hosts that
// stream a photo through (decode, render, encode) and never hold it whole.
// A band is rendered from a window of source rows reaching haloRadius() past
// it on both sides (or to the picture's edge), in tiles across on all cores,
// or on the calling thread alone for a host that renders several bands side
// by side itself. Every filter renders a tile with that much context as it
// renders the whole picture, so the bands together equal a whole-picture
// render of the same chain bit for bit.
//
// The chain is copied (flattened like the chain renderer's) when the object
// is made; bands may then be rendered from several threads at once (those of
// a chain with a wide halo one after another, each on all cores).
class ImageModderBands
{
public:
    // For a picture of width x height rendered at scale.
    ImageModderBands(GrowArray<ImageMod*> const& chain, int width, int height, float scale = 1.0f);
    ~ImageModderBands();
    ImageModderBands(ImageModderBands const&) = delete;
    ImageModderBands& operator=(ImageModderBands const&) = delete;

    // The rows of context a band needs above and below it.
    int haloRadius() const { return radius; }
    // The rows of a band worth rendering at once: sixteen a row of halo, so
    // that few rows are read twice, but no more than a nominal tile (256).
    // Every buffer along the way (the window of context, the working tiles,
    // the saver's cache of bands) holds a band or its window: taller bands
    // of a wide halo would read fewer rows twice, but hold half as much
    // memory again as the whole rest of a render.
    int bandHeight() const;

    // Renders picture rows [firstRow, firstRow + band->height) into band
    // (width wide, the window's channels). window holds picture rows
    // [windowTop, windowTop + window.height), which must cover the band and
    // its halo (clipped to the picture). A fourth channel (alpha) is copied
    // through; the filters see red, green and blue. onCallingThread: the
    // band's tiles are not dispatched to the other cores (the caller keeps
    // them busy with other bands).
    template <typename T>
    void renderBand(FlexImage<T> const& window, int windowTop, int firstRow, FlexImage<T>* band,
                    bool onCallingThread = false) const;

private:
    GrowArray<ImageMod*> mods;
    std::vector<int> readsAfter; // per filter, how far the filters after it read
    int width;
    int height;
    float scale;
    int radius = 0;
    mutable std::mutex wideBandTurn;

    int tileStep() const;
    template <typename T>
    void renderTile(FlexImage<T> const& window, int windowTop, int firstRow, int x0, int x1,
                    FlexImage<T>* band) const;
};
