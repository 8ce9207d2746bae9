#pragma once

#include "core/GrowArray.h"
#include "core/XmlNode.h"
#include "mods/ImageMod.h"

// What reading a preset found that its author should hear about, and the
// bounds on what one preset may build. The reader still builds all it can
// and reports nothing itself; the tools print these lines.
struct PresetReadReport
{
    // At most this many filters once compounds are expanded, and compounds
    // nested at most this deep: twenty compounds that each use the previous
    // one twice would otherwise build a million filters.
    int maxFilters = 1000;
    int maxCompoundDepth = 16;
    // A curve with more points is not read: real curves have a handful, and
    // each point costs two thousand smoothed points.
    int maxCurvePoints = 256;

    // The names of steps that name no filter; each step was skipped.
    GrowArray<GrowString> unknownFilters;
    // Other mistakes, one line each: a value of another kind than the
    // variable holds (the value is taken and replaces the variable's kind,
    // so the filter no longer reads it), a variable or option the filter
    // does not have, a value too short or too long to use.
    GrowArray<GrowString> mistakes;
    // Numbers outside their variable's range, or not numbers: the filter
    // takes the nearest end of its range, or its default.
    GrowArray<GrowString> warnings;
    // Why building stopped early, when a bound was reached; empty otherwise.
    GrowString refusal;

    int filtersBuilt = 0;

    bool isClean() const { return unknownFilters.count == 0 && mistakes.count == 0 && refusal.isEmpty(); }
};

// Builds one filter from a "mod" element: a copy of the compound or
// prototype of that name (compounds first, the last match winning), with
// its enabled flag, version, string attributes and variables read from the
// element. Without a version attribute the version is 1, or the version the
// name stands for when a filter's name follows its version ("Gamma Curve"
// is version 2 of the exposure curve). Returns null, with *error set to 2,
// when no filter has that name, and with *error set to 3 when the copy would
// go beyond a bound of the report.
ImageMod* createModFromXML(XmlNode* node, GrowArray<ImageMod*> const& compounds,
                           GrowArray<ImageMod*> const& prototypes, int* error,
                           PresetReadReport* report = nullptr);

// Builds every "mod" child of node in document order. A "submod" child
// becomes a named compound appended to *compounds (owned by the caller),
// for later "mod" elements to use by name. Unknown filters are skipped;
// once a bound is reached nothing more is built.
GrowArray<ImageMod*> createModsFromXML(XmlNode* node, GrowArray<ImageMod*>* compounds,
                                       GrowArray<ImageMod*> const& prototypes, int* error,
                                       PresetReadReport* report = nullptr);
