#pragma once

#include <cstddef>
#include <cstdint>

#include "core/XmlNode.h"
#include "extension/ImageModRegistry.h"
#include "extension/PresetLibrary.h"
#include "mods/ImageModCompound.h"
#include "mods/ImageModXML.h"

// One registry for all the runs of a fuzz target, freed at exit so that the
// leak checker sees only what a run itself leaks.
struct Registry
{
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    ~Registry() { deleteMods(prototypes); }
};

// Fuzzed bytes as a preset, built into preset as the preset library builds
// one (within the library's limits, at most maxFilters filters); false when
// the bytes are no preset at all.
inline bool buildFuzzedPreset(uint8_t const* data, size_t size, int maxFilters, ImageModCompound* preset)
{
    static Registry const registry;
    XmlNode root;
    GrowString problem;
    if (!root.readSubnodesFromBuffer(reinterpret_cast<char const*>(data), long(size), presetLimits(), &problem))
        return false;
    XmlNode* filter = root.findSubnode("filter");
    if (!filter)
        return false;
    GrowArray<ImageMod*> compounds;
    PresetReadReport report;
    report.maxFilters = maxFilters;
    int error = 0;
    for (ImageMod* mod : createModsFromXML(filter, &compounds, registry.prototypes, &error, &report))
        preset->addSubMod(mod);
    deleteMods(compounds);
    return true;
}
