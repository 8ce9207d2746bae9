// The spatial filters over a 6000 x 4000 float RGB image through the tiled
// renderer on all threads, beside a plain copy of the same image.
#include <benchmark/benchmark.h>

#include <memory>

#include "BenchImages.h"
#include "extension/ImageModRegistry.h"
#include "mods/ImageModderMulti.h"

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

} // namespace
