#pragma once

#include <vector>

#include "core/GrowArray.h"

class ImageMod;
struct ImageModChunkInfo;
template <typename T>
class FlexImage;

// A rectangle of pixels, [left, right) x [top, bottom).
struct PixelRect
{
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    int width() const { return right - left; }
    int height() const { return bottom - top; }
};

// rect grown by reach on every side, within a width x height image.
PixelRect grownWithin(PixelRect rect, int reach, int width, int height);

// The part of an image whose filtered pixels are still read once a filter is
// done with it. The renderers hand every filter a tile with a halo of
// context around it; the filters after it read only so far into that halo,
// and the rest of it is thrown away. A filter whose cost grows with the area
// it works on (the blurs) works on the used part only and may leave the rest
// as it was, or use it as scratch. Without a renderer the whole image is
// used.
//
// The region belongs to the thread applying a filter: a renderer narrows it
// around each filter it applies, and a filter that applies others to the
// same image in turn narrows it for each of them.
class UsedRegion
{
public:
    // The used part of a width x height image being filtered on this
    // thread: the whole image unless a scope for an image of that size
    // narrowed it.
    static PixelRect of(int width, int height);

    // Narrows the region for the filters applied on this thread while it
    // lives: kept (the pixels whose results are kept) grown by reach (what
    // the filters still to come read around them), within the image.
    class Scope
    {
    public:
        Scope(int width, int height, PixelRect kept, int reach);
        ~Scope();
        Scope(Scope const&) = delete;
        Scope& operator=(Scope const&) = delete;

    private:
        struct State
        {
            bool narrowed = false;
            int width = 0;
            int height = 0;
            PixelRect rect;
        };
        State previous;
        friend class UsedRegion;
        static State& current();
    };

    // For each filter of a chain applied in turn (at a picture of width x
    // height and scale), how far around its used pixels the enabled filters
    // after it read: the sum of their radii.
    static std::vector<int> readsAfter(GrowArray<ImageMod*> const& chain, int width, int height, float scale);

    // Applies the enabled filters of a chain in turn to one image (a filter
    // made of others does this), each on this thread's used region grown by
    // what the filters after it read.
    template <typename T>
    static void applyInTurn(GrowArray<ImageMod*> const& chain, FlexImage<T>* image, ImageModChunkInfo* info);
};
