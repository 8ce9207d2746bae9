// The spatial filters over a 6000 x 4000 float RGB image through the tiled
// renderer on all threads, beside a plain copy of the same image.
#include <benchmark/benchmark.h>

#include <memory>

#include "BenchImages.h"
#include "extension/ImageModRegistry.h"
#include "mods/ImageModderMulti.h"
#include "mods/UsedRegion.h"
#include "mods/basic/ImageModRadialBlur.h"

namespace {

BENCHMARK(BM_Copy)->Unit(benchmark::kMillisecond);

// Renders one filter from the shared image into a separate output.
void BM_Spatial(benchmark::State& state, char const* name, float amount, int method)
{
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    std::unique_ptr<ImageMod> mod(findPrototype(prototypes, name)->createCopy());
    deleteMods(prototypes);
    mod->setFloatVar(0, amount);
    int const methodIndex = mod->indexOfVar(mod->name == GrowString("Dynamics") ? "Method" : "Blur Method");
    if (methodIndex >= 0)
        mod->vars[methodIndex]->choiceData()->selected = method;
    renderOverLargeImage(state, mod.get());
}

#define SPATIAL(label, name, amount, method)                                                            \
    BENCHMARK_CAPTURE(BM_Spatial, label, name, amount, method)->Unit(benchmark::kMillisecond)->Iterations(1)

SPATIAL(BlurGaussian10, "Blur", 10.0f, 0);
SPATIAL(BlurGaussian15, "Blur", 15.0f, 0);
SPATIAL(BlurGaussian25, "Blur", 25.0f, 0);
SPATIAL(BlurGaussian50, "Blur", 50.0f, 0);
SPATIAL(BlurGaussian100, "Blur", 100.0f, 0);
SPATIAL(BlurBox25, "Blur", 25.0f, 1);
SPATIAL(BlurBox50, "Blur", 50.0f, 1);
SPATIAL(BlurBox100, "Blur", 100.0f, 1);
SPATIAL(BlurCircle25, "Blur", 25.0f, 2);
SPATIAL(BlurCircle50, "Blur", 50.0f, 2);
SPATIAL(Sharpen, "Sharpen", 50.0f, 0);
SPATIAL(Grain, "Noise", 40.0f, 0);
SPATIAL(Vignette, "Vignette", 0.5f, 0);
SPATIAL(CircularBlur, "Radial Blur", 0.5f, 0);
SPATIAL(CircularBlurFull, "Radial Blur", 1.0f, 0);
SPATIAL(Dynamics, "Dynamics", 50.0f, 0);

// The blur as Dreamy follows its circular blur with it: a small kernel,
// mixed with the picture before the blur.
void BM_BlurMixed(benchmark::State& state)
{
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    std::unique_ptr<ImageMod> mod(findPrototype(prototypes, "Blur")->createCopy());
    deleteMods(prototypes);
    mod->setFloatVar(0, 15.0f);
    mod->setFloatVar(1, 30.0f);
    renderOverLargeImage(state, mod.get());
}

BENCHMARK(BM_BlurMixed)->Unit(benchmark::kMillisecond)->Iterations(1);

// The circular blur as the tool's presets set it, on one thread, over tiles
// cut as the band renderer cuts a 6000 x 4000 photo with this blur's halo:
// 256-row bands, tiles four halos wide, a halo around each. Every other
// tile of every third band is timed (a fifth of the photo); the filling of
// the tiles is not.
void BM_CircularBlurTiles(benchmark::State& state, float amount, float radius)
{
    ImageModRadialBlur mod(amount, 40.0f, radius, 0);
    int const width = 6000;
    int const height = 4000;
    int const halo = mod.getExtraPixelRadiusRequired(width, height, 1.0f);
    int const step = 4 * halo;
    int const band = 256;
    FlexImage<float>& photo = sharedLargeImage();
    FlexImage<float> tile;
    int64_t pixels = 0;
    for (auto _ : state)
        for (int top = 0; top < height; top += 3 * band)
            for (int left = 0; left < width; left += 2 * step) {
                state.PauseTiming();
                int const readX = std::max(0, left - halo);
                int const readY = std::max(0, top - halo);
                tile.reshape(std::min(width, left + step + halo) - readX, std::min(height, top + band + halo) - readY,
                             3);
                for (int y = 0; y < tile.height; ++y)
                    std::copy_n(photo.pixelAt(readX, readY + y), size_t(tile.width) * 3, tile.pixelAt(0, y));
                ImageModChunkInfo info;
                info.fullWidth = width;
                info.fullHeight = height;
                info.chunkX = readX;
                info.chunkY = readY;
                PixelRect const kept{left - readX, top - readY, std::min(width, left + step) - readX,
                                     std::min(height, top + band) - readY};
                pixels += int64_t(kept.width()) * kept.height();
                state.ResumeTiming();
                UsedRegion::Scope const used(tile.width, tile.height, kept, 0);
                mod.applyMod(&tile, &info);
            }
    state.SetItemsProcessed(pixels);
}

BENCHMARK_CAPTURE(BM_CircularBlurTiles, Dreamy, 0.35f, 0.8f)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_CircularBlurTiles, Helga, 0.334f, 1.0f)->Unit(benchmark::kMillisecond);

} // namespace
