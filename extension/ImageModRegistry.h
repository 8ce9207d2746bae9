#pragma once

#include "core/GrowArray.h"
#include "mods/ImageMod.h"

// One instance of every filter class with its default arguments. Presets,
// the tools and the tests get their filters by copying these. The caller
// owns the returned filters.
GrowArray<ImageMod*> createPrototypeRegistry();

// The prototype whose internal name is name, or null.
ImageMod* findPrototype(GrowArray<ImageMod*> const& prototypes, GrowString const& name);

void deleteMods(GrowArray<ImageMod*>& mods);
