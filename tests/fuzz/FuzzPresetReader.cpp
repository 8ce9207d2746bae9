// A preset file's bytes to a chain of filters, as the preset library builds
// one: every bound of the reader holds, and the chain copies and compares.
#include <memory>

#include "FuzzRegistry.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    ImageModCompound preset("File Filter");
    if (!buildFuzzedPreset(data, size, PresetReadReport().maxFilters, &preset))
        return 0;
    std::unique_ptr<ImageMod> copy(preset.createCopy());
    *copy = preset;
    if (!(*copy == preset))
        __builtin_trap(); // a copy must compare equal to its source
    return 0;
}
