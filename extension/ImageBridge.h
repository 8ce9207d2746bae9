#pragma once

#include <QImage>

#include "imaging/FlexImage.h"

// Moving pixels between Qt's images and the engine's float images (samples on
// the 0..255 scale). No colour management is done: samples are taken in the
// image's red, green, blue, alpha order.

// Fills out from image. 8-bit sources copy their samples unchanged, 16-bit
// sources are divided by 257; out keeps its channel count (3 or 4) and is
// reshaped only when its size differs. Returns whether pixels were copied.
template <typename T>
bool flexImageFromQImage(QImage const& image, FlexImage<T>* out);

// A new 8-bit RGB image of in's size (alpha is not carried over). Samples
// are truncated toward zero and only their low 8 bits kept, without
// clamping: callers hand in samples already within 0..255.
template <typename T>
QImage QImageFromFlexImage(FlexImage<T> const* in);
