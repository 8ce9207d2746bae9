// A fuzzed preset rendered over a tiny picture, float and 8-bit, through the
// tiled renderer with small tiles: no filter may crash, read out of bounds
// or leave a float sample that is not a number.
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "FuzzRegistry.h"
#include "mods/ImageModderMulti.h"

namespace {

template <typename T>
void fill(FlexImage<T>& image)
{
    for (size_t i = 0; i < image.sampleCount(); ++i)
        image.pixels[i] = T((i * 37 + i / 7) % 256);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    ImageModCompound preset("File Filter");
    // Each filter runs on every tile: a short chain keeps a run short.
    if (!buildFuzzedPreset(data, size, 64, &preset))
        return 0;
    GrowArray<ImageMod*> chain;
    chain.add(&preset);
    ImageModderMulti renderer;
    renderer.setTileSize(8);
    FlexImage<float> floats(21, 13, 3);
    fill(floats);
    renderer.applyMods(chain, &floats, nullptr);
    for (size_t i = 0; i < floats.sampleCount(); ++i)
        if (!std::isfinite(floats.pixels[i]))
            __builtin_trap();
    FlexImage<unsigned char> bytes(17, 11, 4);
    fill(bytes);
    renderer.applyMods(chain, &bytes, nullptr);
    return 0;
}
