#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "imaging/FlexImage.h"
#include "mods/ImageMod.h"
#include "mods/ImageModderMulti.h"

// A 24-megapixel float RGB image with a smooth, photo-like spread of values:
// whole levels, as a decoded 8-bit photo gives, or (fractional) between
// them, as a 16-bit photo or an earlier filter gives. Filters take whole
// levels through 256-entry tables, so each kind times a different path.
inline FlexImage<float>* makeLargeImage(int width = 6000, int height = 4000, bool fractional = false)
{
    auto* image = new FlexImage<float>(width, height, 3);
    for (int y = 0; y < height; ++y) {
        float* row = image->pixelAt(0, y);
        for (int x = 0; x < width; ++x) {
            row[3 * x + 0] = float((x * 255) / width);
            row[3 * x + 1] = float((y * 255) / height);
            row[3 * x + 2] = float(((x + y) * 97) % 256);
            if (fractional)
                for (int c = 0; c < 3; ++c)
                    row[3 * x + c] = std::min(255.0f, row[3 * x + c] + 0.1f + 0.2f * float((x + 2 * y + c) % 4));
        }
    }
    return image;
}

// One large image of each kind per benchmark program, made on first use.
inline FlexImage<float>& sharedLargeImage()
{
    static std::unique_ptr<FlexImage<float>> image(makeLargeImage());
    return *image;
}

inline FlexImage<float>& sharedFractionalImage()
{
    static std::unique_ptr<FlexImage<float>> image(makeLargeImage(6000, 4000, true));
    return *image;
}

// The memory-speed floor: a plain copy of the shared image into a buffer
// whose pages are already touched.
inline void BM_Copy(benchmark::State& state)
{
    FlexImage<float>& image = sharedLargeImage();
    FlexImage<float> copy(image.width, image.height, 3);
    std::memset(copy.pixels, 0, copy.sampleCount() * sizeof(float));
    for (auto _ : state) {
        std::memcpy(copy.pixels, image.pixels, image.sampleCount() * sizeof(float));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * int64_t(image.width) * image.height);
}

// Renders mod from the shared image into a separate output through the
// tiled renderer on all threads, once per iteration.
inline void renderOverLargeImage(benchmark::State& state, ImageMod* mod)
{
    GrowArray<ImageMod*> chain;
    chain.add(mod);
    FlexImage<float> out;
    ImageModderMulti renderer;
    renderer.setKeepCache(false);
    for (auto _ : state) {
        renderer.applyMods(chain, &sharedLargeImage(), &out);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * int64_t(out.width) * out.height);
}

// One filter over a fresh copy of the shared image on this thread; the
// copying is not timed.
inline void applyOnOneThread(benchmark::State& state, ImageMod* mod, FlexImage<float>& source = sharedLargeImage())
{
    FlexImage<float> image;
    image.copyFromImage(source, true);
    for (auto _ : state) {
        state.PauseTiming();
        std::memcpy(image.pixels, source.pixels, source.sampleCount() * sizeof(float));
        state.ResumeTiming();
        mod->applyMod(&image, nullptr);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * int64_t(image.width) * image.height);
}
