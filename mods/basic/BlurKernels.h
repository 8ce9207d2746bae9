#pragma once

#include "core/GrowArray.h"
#include "imaging/FlexImage.h"

// The blur methods offered by the blur filters, in their choice order.
enum BlurMethod { BlurGaussian = 0, BlurBox = 1, BlurCircle = 2 };

// 2n + 1 weights, n = ceil(radius), for a blur of fractional radius.
void makeGaussKernelForRadius(float radius, GrowArray<float>* out);
void makeBoxKernelForRadius(float radius, GrowArray<float>* out);

// The 1-D kernel of the Blur filter: 2r + 1 weights for extent x, shaped by
// the method (Gaussian or Box), normalised.
void makeBlurKernel(BlurMethod method, float x, int r, GrowArray<float>* out);

// A (2r + 1) x (2r + 1) disc of radius x with a one-pixel soft edge,
// normalised.
void makeCircleKernel(float x, int r, GrowArray<float>* out);

// The two passes of a separable blur with the same symmetric kernel of 2r + 1
// weights: rows, then columns, edges repeating. Every pass result is clamped
// to 0..255. Only the part of the image whose results are read is blurred
// (see UsedRegion). With mix below 1, each result is then mixed with the
// sample it replaces as blendWithOriginal mixes them.
template <typename T>
void separableBlur(FlexImage<T>* image, float const* kernel, int r, float mix = 1.0f);

// The 2-D convolution of the image with a square kernel of side 2r + 1,
// results clamped to 0..255 and stored in place.
template <typename T>
void convolveClamped(FlexImage<T>* image, float const* kernel, int r);

// out = clamp(orig * (1 - mix) + out * mix) over the used part of out (see
// UsedRegion), whose samples orig holds (its own pixel 0, 0 at the part's
// top left).
template <typename T>
void blendWithOriginal(FlexImage<T>* out, FlexImage<T> const& orig, float mix);
