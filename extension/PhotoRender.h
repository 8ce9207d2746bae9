#pragma once

#include <functional>

#include <QString>

#include "extension/ImageFiles.h"
#include "mods/ImageMod.h"

// Called now and then while a photo renders, with the finished share (0 to
// 1), on the thread that asked for the render; returning false cancels it,
// and nothing is saved.
using RenderProgress = std::function<bool(float)>;

// Why a render into a file failed, and which file is at fault.
struct RenderFailure
{
    QString reason;
    bool photoAtFault = false; // the photo could not be read (else the output could not be written)
};

// Renders mod (none: the photo as it is) over the photo at photoPath at full
// size and writes the result as writePhoto does, keeping the photo's
// metadata unless told not to.
//
// What the chain says of the picture's shape is done here, around the
// render: the crop's straightening (a clockwise turn about the centre,
// keeping the largest rectangle of the picture's proportions with no empty
// corner) and then its rectangle come first, so the filters see the cropped
// picture; the output size's resampling (Lanczos-3) comes last, and its
// "Quality" is saved with unless the caller chose one.
//
// The photo streams through in bands, decoded, rendered and encoded at
// once, so it is never held whole (unless it must be turned, by its
// orientation or by straightening). The size limit is checked from the
// header before anything is decoded, and the result's size against it
// before anything is rendered.
bool renderPhotoFile(QString const& photoPath, ImageMod* mod, QString const& outputPath,
                     PhotoWriteOptions const& options, double maxMegapixels, RenderFailure* failure,
                     RenderProgress const& progress = nullptr);
