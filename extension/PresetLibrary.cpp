#include "extension/PresetLibrary.h"

#include <dirent.h>
#include <dlfcn.h>

#include <QByteArray>
#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QString>

#include "core/XmlNode.h"
#include "mods/ImageModXML.h"

// The diagnostic lines of preset loading go to this category, which is
// quiet unless enabled (QT_LOGGING_RULES="quillmere.presets.info=true").
Q_LOGGING_CATEGORY(presetLog, "quillmere.presets", QtWarningMsg)

#ifndef QUILLMERE_SOURCE_RESOURCES
#define QUILLMERE_SOURCE_RESOURCES ""
#endif
#ifndef QUILLMERE_DATA_DIR
#define QUILLMERE_DATA_DIR "/usr/local/share/quillmere"
#endif

namespace {

GrowString normalisedFolder(GrowString const& dir)
{
    GrowString folder = dir.swapOccurrencesConst("\\", "/");
    if (!folder.endsWith('/'))
        folder = folder + "/";
    return folder;
}

bool sameIgnoringCase(GrowString const& a, char const* b)
{
    return QString::fromUtf8(a.c_str()).compare(QString::fromUtf8(b), Qt::CaseInsensitive) == 0;
}


int rawEntryCount(GrowString const& dir)
{
    DIR* listing = opendir(dir.c_str());
    if (!listing)
        return 0;
    int count = 0;
    while (readdir(listing))
        ++count;
    closedir(listing);
    return count;
}

} // namespace

GrowArray<GrowString> getFilesInDirectory(GrowString const& dir)
{
    GrowArray<GrowString> files;
    GrowString const folder = normalisedFolder(dir);
    DIR* listing = opendir(folder.c_str());
    if (!listing)
        return files;
    while (dirent const* entry = readdir(listing)) {
        GrowString const name(entry->d_name);
        if (name == "." || name == "..")
            continue;
        files.add(folder + name);
    }
    closedir(listing);
    return files;
}

bool isPresetFile(GrowString const& path)
{
    int32_t const dot = path.lastIndexOf('.');
    int32_t const slash = path.swapOccurrencesConst("\\", "/").lastIndexOf('/');
    if (dot < 0 || dot < slash)
        return false;
    return sameIgnoringCase(path.substring(dot + 1, path.length()), "qmf");
}

GrowString presetDisplayName(GrowString const& path)
{
    GrowString const unified = path.swapOccurrencesConst("\\", "/");
    GrowString name = unified.substring(unified.lastIndexOf('/') + 1, unified.length());
    int32_t const dot = name.lastIndexOf('.');
    if (dot >= 0)
        name = name.substring(0, dot);
    return name.swapOccurrencesConst("_", " ");
}

XmlLimits presetLimits()
{
    XmlLimits limits;
    limits.maxBytes = 1L << 20;
    return limits;
}

ImageModCompound* loadPresetFile(GrowString const& path, GrowArray<ImageMod*> const& prototypes,
                                 PresetReadReport* report, GrowString* refusal)
{
    XmlNode root;
    if (!root.readSubnodesFromFile(path, presetLimits(), refusal))
        return nullptr;
    XmlNode* filter = root.findSubnode("filter");
    if (!filter) {
        *refusal = "not a preset (no \"filter\" element)";
        return nullptr;
    }
    GrowArray<ImageMod*> compounds;
    int error = 0;
    GrowArray<ImageMod*> steps = createModsFromXML(filter, &compounds, prototypes, &error, report);
    for (ImageMod* compound : compounds)
        delete compound;
    if (!report->refusal.isEmpty()) {
        *refusal = report->refusal;
        for (ImageMod* step : steps)
            delete step;
        return nullptr;
    }
    auto* preset = new ImageModCompound("File Filter");
    for (ImageMod* mod : steps)
        preset->addSubMod(mod);
    GrowString const name = presetDisplayName(path);
    preset->setName(name, name);
    preset->sourceFile = path;
    return preset;
}

PresetLibrary::~PresetLibrary()
{
    for (Entry& entry : entries)
        delete entry.preset;
}

void PresetLibrary::loadFolder(GrowString const& folder, GrowString const& origin,
                               GrowArray<ImageMod*> const& prototypes)
{
#if defined(__APPLE__)
    qCInfo(presetLog, "\nShared folder not found. App Bundle resources directory: %s", folder.c_str());
#else
    qCInfo(presetLog, "\nPreset folder: %s", folder.c_str());
#endif
    GrowArray<GrowString> paths = getFilesInDirectory(folder);
    for (GrowString const& path : getFilesInDirectory(folder + "/Default Presets"))
        paths.add(path);
    int const rawCount = rawEntryCount(folder);
    for (int i = 0; i < rawCount; ++i)
        qCInfo(presetLog, "\nfound file %i", i);
    for (GrowString const& path : paths)
        if (isPresetFile(path))
            loadFile(path, origin, prototypes);
}

ImageModCompound* PresetLibrary::loadFile(GrowString const& path, GrowString const& origin,
                                          GrowArray<ImageMod*> const& prototypes)
{
    PresetReadReport report;
    GrowString refusal;
    ImageModCompound* preset = loadPresetFile(path, prototypes, &report, &refusal);
    if (!preset) {
        refused.add(Refusal{path, refusal});
        return nullptr;
    }
    entries.add(Entry{preset, path, origin, report});
    qCInfo(presetLog, "\n%i: loaded mod: %s", entries.count - 1, preset->name.c_str());
    return preset;
}

PresetLibrary::Entry const* PresetLibrary::find(GrowString const& name) const
{
    for (Entry const& entry : entries)
        if (sameIgnoringCase(entry.preset->name, name.c_str()))
            return &entry;
    return nullptr;
}

namespace {

// The file holding this code: the tool, or the shared object (the Python
// module) it was linked into.
QString fileOfThisCode()
{
    Dl_info info;
    if (dladdr(reinterpret_cast<void*>(&standardPresetFolders), &info) && info.dli_fname &&
        info.dli_fname[0] == '/')
        return QString::fromLocal8Bit(info.dli_fname);
    // The main program is named as it was started; the system knows its path.
    return QFileInfo("/proc/self/exe").canonicalFilePath();
}

// The presets installed with this code: share/quillmere/Presets under one of
// the folders above it (bin/ for the tools, lib/python3/dist-packages/ for
// the module), so that an installed tree works wherever it is moved.
QString installedPresetFolder()
{
    QString const file = fileOfThisCode();
    if (file.isEmpty())
        return QString();
    QDir folder = QFileInfo(file).absoluteDir();
    for (int up = 0; up < 4; ++up) {
        if (folder.exists("share/quillmere/Presets"))
            return folder.filePath("share/quillmere/Presets");
        if (!folder.cdUp())
            break;
    }
    return QString();
}

} // namespace

void standardPresetFolders(GrowArray<GrowString>* folders, GrowArray<GrowString>* origins)
{
    // Installed beside the program first; then the source tree the program
    // was built from; then the folder it was configured to install into.
    QString const installed = installedPresetFolder();
    GrowString const source(QUILLMERE_SOURCE_RESOURCES);
    bool const fromBuild = !source.isEmpty() && QDir(QString::fromUtf8(source.c_str())).exists("Default Presets");
    if (!installed.isEmpty())
        folders->add(GrowString(installed.toUtf8().constData()));
    else
        folders->add(fromBuild ? source : GrowString(QUILLMERE_DATA_DIR "/Presets"));
    origins->add("shipped");
    QByteArray dataHome = qgetenv("XDG_DATA_HOME");
    if (dataHome.isEmpty())
        dataHome = QDir::homePath().toUtf8() + "/.local/share";
    folders->add(GrowString(dataHome.constData()) + "/quillmere/Presets");
    origins->add("user");
}
