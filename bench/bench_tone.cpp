// Each tone filter over a 6000 x 4000 float RGB image on one thread, beside a
// plain copy of the same image (the memory-speed floor).
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>

#include "BenchImages.h"
#include "mods/ImageModRegistry.h"

namespace {

FlexImage<float>& sharedImage()
{
    static std::unique_ptr<FlexImage<float>> image(makeLargeImage());
    return *image;
}

void reportPixels(benchmark::State& state, FlexImage<float> const& image)
{
    state.SetItemsProcessed(state.iterations() * int64_t(image.width) * image.height);
}

void BM_Copy(benchmark::State& state)
{
    FlexImage<float>& image = sharedImage();
    FlexImage<float> copy(image.width, image.height, 3);
    std::memset(copy.pixels, 0, copy.sampleCount() * sizeof(float)); // fault the pages in before timing
    for (auto _ : state) {
        std::memcpy(copy.pixels, image.pixels, image.sampleCount() * sizeof(float));
        benchmark::ClobberMemory();
    }
    reportPixels(state, image);
}
BENCHMARK(BM_Copy)->Unit(benchmark::kMillisecond);

void BM_ToneFilter(benchmark::State& state, char const* name, float amount)
{
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    std::unique_ptr<ImageMod> mod(findPrototype(prototypes, name)->createCopy());
    deleteMods(prototypes);
    mod->setFloatVar(0, amount);
    FlexImage<float>& source = sharedImage();
    FlexImage<float> image;
    image.copyFromImage(source, true);
    for (auto _ : state) {
        state.PauseTiming();
        std::memcpy(image.pixels, source.pixels, source.sampleCount() * sizeof(float));
        state.ResumeTiming();
        mod->applyMod(&image, nullptr);
        benchmark::ClobberMemory();
    }
    reportPixels(state, image);
}

BENCHMARK_CAPTURE(BM_ToneFilter, Brightness, "Brightness", 1.3f)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ToneFilter, Contrast, "Contrast", 1.3f)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ToneFilter, LuminanceContrast, "Luminance Contrast", 1.3f)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ToneFilter, ContrastSaturation, "Contrast Saturation", 1.3f)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ToneFilter, Exposure, "Exposure", 1.3f)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ToneFilter, ExposureDarken, "Exposure", 0.7f)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ToneFilter, Gamma, "Gamma", 1.3f)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ToneFilter, Saturation, "Saturation", 1.3f)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ToneFilter, MultiTool, "Multi Tool", 70.0f)->Unit(benchmark::kMillisecond);

} // namespace
