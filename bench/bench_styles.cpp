// Every camera style over the 24-megapixel image through the tiled renderer
// on all threads, beside a plain copy of the image (the memory floor). A
// style builds its steps once per render; the tiles share them.
#include <benchmark/benchmark.h>

#include <string>

#include "BenchImages.h"
#include "extension/ImageModRegistry.h"
#include "mods/ImageModderMulti.h"

namespace {

void BM_Style(benchmark::State& state, std::string const& name)
{
    static GrowArray<ImageMod*> const prototypes = createPrototypeRegistry();
    renderOverLargeImage(state, findPrototype(prototypes, name.c_str()));
}

int const registered = [] {
    for (char const* name : {"Saloon", "Plastic", "Hipster", "Wedding", "Skater", "Silver", "Poolside", "Mono",
                             "Matte", "Magazine", "Lolo", "Italiano", "Instant", "Helga", "Colorcross",
                             "Autochrome", "1983", "1974", "1962", "1958"})
        benchmark::RegisterBenchmark(("BM_Style/" + std::string(name)).c_str(), BM_Style, std::string(name))
            ->Unit(benchmark::kMillisecond)
            ->Iterations(2)
            ->UseRealTime();
    return 0;
}();

} // namespace

BENCHMARK(BM_Copy)->Unit(benchmark::kMillisecond);
