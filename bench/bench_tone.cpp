// Each tone filter over a 6000 x 4000 float RGB image on one thread, beside a
// plain copy of the same image (the memory-speed floor).
#include <benchmark/benchmark.h>

#include <memory>

#include "BenchImages.h"
#include "extension/ImageModRegistry.h"

namespace {

BENCHMARK(BM_Copy)->Unit(benchmark::kMillisecond);

void BM_ToneFilter(benchmark::State& state, char const* name, float amount, bool fractional)
{
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    std::unique_ptr<ImageMod> mod(findPrototype(prototypes, name)->createCopy());
    deleteMods(prototypes);
    mod->setFloatVar(0, amount);
    applyOnOneThread(state, mod.get(), fractional ? sharedFractionalImage() : sharedLargeImage());
}

// Each filter on whole levels (a decoded 8-bit photo: its tables) and on
// samples between them (its arithmetic).
#define TONE(label, name, amount)                                                                             \
    BENCHMARK_CAPTURE(BM_ToneFilter, label, name, amount, false)->Unit(benchmark::kMillisecond);             \
    BENCHMARK_CAPTURE(BM_ToneFilter, label##Fractional, name, amount, true)->Unit(benchmark::kMillisecond)

TONE(Brightness, "Brightness", 1.3f);
TONE(Contrast, "Contrast", 1.3f);
TONE(LuminanceContrast, "Luminance Contrast", 1.3f);
TONE(ContrastSaturation, "Contrast Saturation", 1.3f);
TONE(Exposure, "Exposure", 1.3f);
TONE(ExposureDarken, "Exposure", 0.7f);
TONE(Gamma, "Gamma", 1.3f);
TONE(Saturation, "Saturation", 1.3f);
TONE(MultiTool, "Multi Tool", 70.0f);

} // namespace
