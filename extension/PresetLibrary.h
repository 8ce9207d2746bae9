#pragma once

#include "core/GrowArray.h"
#include "core/GrowString.h"
#include "mods/ImageModCompound.h"
#include "mods/ImageModXML.h"

// Lists a folder's entries as full paths, in the order the file system
// returns them (no sorting), without "." and "..". Backslashes in dir are
// taken as "/". A missing or unreadable folder gives an empty list.
GrowArray<GrowString> getFilesInDirectory(GrowString const& dir);

// Whether the path names a preset file: extension "qmf" in any case.
bool isPresetFile(GrowString const& path);

// The name a preset is shown under: the file name without its extension,
// with "_" shown as a space.
GrowString presetDisplayName(GrowString const& path);

// The most a preset file may hold; real presets are a few kilobytes.
XmlLimits presetLimits();

// One preset file as a compound filter named after the file, with its
// "Amount". Returns null, with the reason in *refusal, when the file is not
// a readable regular file within presetLimits(), has no "filter" element,
// or goes beyond a bound of the report. Steps naming no filter are skipped
// and the rest still loads; *report says what the author should hear about.
// The compounds its "submod" elements define belong to this preset alone.
ImageModCompound* loadPresetFile(GrowString const& path, GrowArray<ImageMod*> const& prototypes,
                                 PresetReadReport* report, GrowString* refusal);

// The presets of a set of folders, each listed with its "Default Presets"
// sub-folder, in folder order and listing order.
class PresetLibrary
{
public:
    struct Entry
    {
        ImageModCompound* preset; // owned by the library
        GrowString path;
        GrowString origin; // where the folder came from, e.g. "shipped"
        // What its author should hear about (steps skipped, values not used).
        PresetReadReport report;
    };
    // A preset file that could not be loaded, and why.
    struct Refusal
    {
        GrowString path;
        GrowString reason;
    };

    GrowArray<Entry> entries;
    GrowArray<Refusal> refused;

    PresetLibrary() = default;
    PresetLibrary(PresetLibrary const&) = delete;
    PresetLibrary& operator=(PresetLibrary const&) = delete;
    ~PresetLibrary();

    // Loads every preset of folder and of folder/Default Presets.
    void loadFolder(GrowString const& folder, GrowString const& origin, GrowArray<ImageMod*> const& prototypes);
    // Loads one preset file given by path; null (and an entry in refused)
    // when it cannot be loaded.
    ImageModCompound* loadFile(GrowString const& path, GrowString const& origin,
                               GrowArray<ImageMod*> const& prototypes);
    // The entry shown under name (any case), or null.
    Entry const* find(GrowString const& name) const;
};

// The folders searched on this system: the shipped presets (the source
// tree's resources when run from a build, else the installed data folder),
// then the user's own ($XDG_DATA_HOME/quillmere/Presets, by default
// ~/.local/share/quillmere/Presets). Folders come with their origin.
void standardPresetFolders(GrowArray<GrowString>* folders, GrowArray<GrowString>* origins);
