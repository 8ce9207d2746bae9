// Each tone filter over a 6000 x 4000 float RGB image on one thread, beside a
// plain copy of the same image (the memory-speed floor).
#include <benchmark/benchmark.h>

#include <memory>

#include "BenchImages.h"
#include "extension/ImageModRegistry.h"

namespace {

BENCHMARK(BM_Copy)->Unit(benchmark::kMillisecond);

void BM_ToneFilter(benchmark::State& state, char const* name, float amount)
{
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    std::unique_ptr<ImageMod> mod(findPrototype(prototypes, name)->createCopy());
    deleteMods(prototypes);
    mod->setFloatVar(0, amount);
    applyOnOneThread(state, mod.get());
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
