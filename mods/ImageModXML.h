#pragma once

#include "core/GrowArray.h"
#include "core/XmlNode.h"
#include "mods/ImageMod.h"

// Builds one filter from a "mod" element: a copy of the compound or
// prototype of that name (compounds first, the last match winning), with
// its enabled flag, version, string attributes and variables read from the
// element. Without a version attribute the version is 1, or the version the
// name stands for when a filter's name follows its version ("Gamma Curve"
// is version 2 of the exposure curve). Sets *error to 2, adds the name to
// skippedNames (when given) and returns null when no filter has that name.
ImageMod* createModFromXML(XmlNode* node, GrowArray<ImageMod*> const& compounds,
                           GrowArray<ImageMod*> const& prototypes, int* error,
                           GrowArray<GrowString>* skippedNames = nullptr);

// Builds every "mod" child of node in document order. A "submod" child
// becomes a named compound appended to *compounds (owned by the caller),
// for later "mod" elements to use by name. Unknown filters are skipped.
GrowArray<ImageMod*> createModsFromXML(XmlNode* node, GrowArray<ImageMod*>* compounds,
                                       GrowArray<ImageMod*> const& prototypes, int* error,
                                       GrowArray<GrowString>* skippedNames = nullptr);
