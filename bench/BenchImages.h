#pragma once

#include "imaging/FlexImage.h"

// A 24-megapixel float RGB image with a smooth, photo-like spread of values.
inline FlexImage<float>* makeLargeImage(int width = 6000, int height = 4000)
{
    auto* image = new FlexImage<float>(width, height, 3);
    for (int y = 0; y < height; ++y) {
        float* row = image->pixelAt(0, y);
        for (int x = 0; x < width; ++x) {
            row[3 * x + 0] = float((x * 255) / width);
            row[3 * x + 1] = float((y * 255) / height);
            row[3 * x + 2] = float(((x + y) * 97) % 256);
        }
    }
    return image;
}
