// Every curve, colour and monochrome filter over a 6000 x 4000 float RGB
// image on one thread, beside a plain copy of the same image. Every float,
// curve and colour variable is moved off its default first (the move the
// tests use), so that each filter does real work; choices stay as they are.
#include <benchmark/benchmark.h>

#include <memory>
#include <set>
#include <string>

#include "../tests/support/TestImages.h"
#include "BenchImages.h"
#include "extension/ImageModRegistry.h"

namespace {

void BM_Filter(benchmark::State& state, ImageMod* prototype)
{
    std::unique_ptr<ImageMod> mod(prototype->createCopy());
    for (int i = 0; i < mod->vars.count; ++i)
        if (!mod->vars[i]->choiceData())
            moveVariable(mod.get(), i);
    applyOnOneThread(state, mod.get());
}

// The filters of the tone and spatial benchmarks are measured there.
bool measuredElsewhere(std::string const& name)
{
    static std::set<std::string> const others = {
        "Brightness", "Contrast", "Luminance Contrast", "Contrast Saturation", "Exposure", "Gamma", "Saturation",
        "Multi Tool", "Blur", "Radial Blur", "Sharpen", "Noise", "Vignette", "Dynamics"};
    return others.count(name) > 0;
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::RegisterBenchmark("Copy", BM_Copy)->Unit(benchmark::kMillisecond);
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    for (ImageMod* prototype : prototypes)
        if (!measuredElsewhere(prototype->name.c_str()))
            benchmark::RegisterBenchmark(prototype->name.c_str(), BM_Filter, prototype)
                ->Unit(benchmark::kMillisecond)
                ->Iterations(2);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    deleteMods(prototypes);
    return 0;
}
