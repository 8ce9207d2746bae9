// A chain of three tone filters over a 6000 x 4000 float RGB image: applied
// whole on one thread, rendered through the tiled renderer on all threads,
// and re-rendered with only the last filter changed (the prefix cache).
#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <cstring>
#include <memory>

#include "BenchImages.h"
#include "mods/ImageModderMulti.h"
#include "mods/basic/ImageModBrightness.h"
#include "mods/basic/ImageModContrast.h"
#include "mods/basic/ImageModSaturation.h"

namespace {

struct Chain
{
    ImageModBrightness brightness{1.1f};
    ImageModContrast contrast{1.3f, 110.0f};
    ImageModSaturation saturation{1.2f, 2};
    GrowArray<ImageMod*> list()
    {
        GrowArray<ImageMod*> l;
        l.add(&brightness);
        l.add(&contrast);
        l.add(&saturation);
        return l;
    }
};

void reportPixels(benchmark::State& state, FlexImage<float> const& image)
{
    state.SetItemsProcessed(state.iterations() * int64_t(image.width) * image.height);
}

void BM_ChainWholeImageOneThread(benchmark::State& state)
{
    std::unique_ptr<FlexImage<float>> source(makeLargeImage());
    FlexImage<float> image;
    image.copyFromImage(*source, true);
    Chain chain;
    for (auto _ : state) {
        state.PauseTiming();
        std::memcpy(image.pixels, source->pixels, source->sampleCount() * sizeof(float));
        state.ResumeTiming();
        for (ImageMod* mod : chain.list())
            mod->applyMod(&image, nullptr);
    }
    reportPixels(state, image);
}
BENCHMARK(BM_ChainWholeImageOneThread)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ChainRenderedAllThreads(benchmark::State& state)
{
    std::unique_ptr<FlexImage<float>> source(makeLargeImage());
    FlexImage<float> out;
    Chain chain;
    for (auto _ : state) {
        ImageModderMulti renderer;
        renderer.applyMods(chain.list(), source.get(), &out);
    }
    reportPixels(state, *source);
}
BENCHMARK(BM_ChainRenderedAllThreads)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ChainReRenderLastFilterChanged(benchmark::State& state)
{
    std::unique_ptr<FlexImage<float>> source(makeLargeImage());
    FlexImage<float> out;
    Chain chain;
    ImageModderMulti renderer;
    renderer.applyMods(chain.list(), source.get(), &out);
    chain.saturation.setFloatVar(0, 1.25f);
    renderer.applyMods(chain.list(), source.get(), &out); // captures the prefix
    float amount = 1.3f;
    for (auto _ : state) {
        chain.saturation.setFloatVar(0, amount);
        amount = amount > 1.5f ? 1.3f : amount + 0.01f;
        renderer.applyMods(chain.list(), source.get(), &out);
    }
    reportPixels(state, *source);
}
BENCHMARK(BM_ChainReRenderLastFilterChanged)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_InPlaceRenderPeakMemory(benchmark::State& state)
{
    std::unique_ptr<FlexImage<float>> image(makeLargeImage());
    Chain chain;
    for (auto _ : state) {
        ImageModderMulti renderer;
        renderer.applyMods(chain.list(), image.get(), nullptr);
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    double const imageMB = double(image->sampleCount() * sizeof(float)) / 1e6;
    state.counters["image_MB"] = imageMB;
    state.counters["peak_RSS_MB"] = double(usage.ru_maxrss) / 1e3;
    reportPixels(state, *image);
}
BENCHMARK(BM_InPlaceRenderPeakMemory)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

} // namespace
