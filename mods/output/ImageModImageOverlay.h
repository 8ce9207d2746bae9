#pragma once

#include "core/OVThreading.h"
#include "mods/ImageModTemplate.h"

// Reads the image file at path into overlay, scaled to fit within a box of
// boxWidth x boxHeight with its aspect kept, as 8-bit RGB or RGBA; false
// when it cannot. Reading image files is the host's business, so the host
// installs this; without it there is no overlay.
using OverlayLoader = bool (*)(GrowString const& path, int boxWidth, int boxHeight,
                               FlexImage<unsigned char>* overlay);

// The watermark: a picture from a file (a logo, a signature) laid over the
// photo at a corner, a side or the centre. The scaled picture is cached
// between renders and made anew when the file or the box changes.
class ImageModImageOverlay : public ImageModTemplate<ImageModImageOverlay>
{
public:
    enum Variable { File = 0, Anchor = 1, Offset = 2, Scale = 3, Opacity = 4 };
    enum Anchors { LowerRight, LowerLeft, UpperRight, UpperLeft, Left, Right, Top, Bottom, Center };

    // One overlay filter works at a time in the whole process: they share
    // the loading and change their caches.
    static OVThreadLock* lock;

    ImageModImageOverlay();
    ~ImageModImageOverlay() override;

    // Copies the variables, not the cache.
    ImageMod& operator=(ImageMod const& other) override;

    static void setOverlayLoader(OverlayLoader loader);

    // Where the overlay's top-left corner falls in a picture of width x
    // height, for an overlay of overlayWidth x overlayHeight.
    void overlayPosition(int width, int height, int overlayWidth, int overlayHeight, int* x, int* y) const;

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

private:
    FlexImage<unsigned char>* cachedOverlay = nullptr;
    GrowString cachedPath;
    // The box the cache was made for, and whether making it failed (not
    // tried again for the same file and box).
    int cachedBoxWidth = 0;
    int cachedBoxHeight = 0;
    bool cachedFailure = false;

    GrowString overlayPath() const;
    // The overlay for the file and box, made when the cache does not hold
    // it; null when there is none.
    FlexImage<unsigned char> const* overlayFor(GrowString const& path, int boxWidth, int boxHeight);
    void dropCache();
};
