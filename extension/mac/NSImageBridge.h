#pragma once

// Moves pixels between the platform's images and the engine's float images
// (samples on the 0-255 scale). The only place where the engine meets the
// platform's pixel formats. Apple only.

#import <AppKit/AppKit.h>

#include "imaging/FlexImage.h"

// Fills out from image: 8-bit samples as they are, 16-bit ones scaled by
// 1/257; other sample formats copy nothing. out keeps its channel count
// (3 or 4). True when pixels were copied.
template <typename T>
bool flexImageFromNSImage(NSImage* image, FlexImage<T>* out);

// A new platform image of in's size; samples are truncated and wrap, not
// clamped (callers hand in 0-255).
template <typename T>
NSImage* NSImageFromFlexImage(FlexImage<T>* in);
