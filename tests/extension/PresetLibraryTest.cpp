#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <string>

#include "core/XmlNode.h"
#include "extension/PresetLibrary.h"
#include "extension/ImageModRegistry.h"
#include "mods/ImageModXML.h"
#include "support/TestImages.h"

namespace {

void writeFile(QString const& path, char const* text)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
}

GrowString pathOf(QString const& path)
{
    return GrowString(path.toUtf8().constData());
}

char const* const brighter = "<filter version=\"1\">\n<mod name=\"Brightness\">\n"
                             "<var name=\"Amount\" type=\"float\">1.2</var>\n</mod>\n</filter>\n";

GrowString shippedFolder()
{
    return GrowString(QUILLMERE_SOURCE_RESOURCES);
}

// Every step of a preset document, read from its text; unknown filters and
// damaged steps are skipped.
GrowArray<ImageMod*> loadSteps(std::string const& text, GrowArray<ImageMod*> const& prototypes)
{
    XmlNode root;
    root.loadSubnodesFromBuffer(text.data(), long(text.size()));
    GrowArray<ImageMod*> compounds;
    GrowArray<ImageMod*> steps;
    int error = 0;
    if (XmlNode* filter = root.findSubnode("filter"))
        steps = createModsFromXML(filter, &compounds, prototypes, &error);
    deleteMods(compounds);
    return steps;
}

} // namespace

TEST(PresetLibrary, ListsPresetFilesOnlyInListingOrder)
{
    QTemporaryDir dir;
    QString const root = dir.path();
    writeFile(root + "/Warm_Summer.QMF", brighter);
    writeFile(root + "/notes.txt", "not a preset");
    QDir(root).mkdir("Default Presets");
    writeFile(root + "/Default Presets/Cool_Evening.qmf", brighter);

    GrowArray<GrowString> listed = getFilesInDirectory(pathOf(root));
    EXPECT_EQ(listed.count, 3); // two files and the sub-folder, no "." or ".."
    GrowString const backslashed = pathOf(root).swapOccurrencesConst("/", "\\");
    GrowArray<GrowString> again = getFilesInDirectory(backslashed);
    ASSERT_EQ(again.count, listed.count);
    for (int i = 0; i < listed.count; ++i)
        EXPECT_STREQ(again[i].c_str(), listed[i].c_str());

    EXPECT_TRUE(isPresetFile("a/b/Warm_Summer.QMF"));
    EXPECT_FALSE(isPresetFile("a/notes.txt"));
    EXPECT_FALSE(isPresetFile("a.qmf/notes"));
    EXPECT_STREQ(presetDisplayName("C:\\x\\Warm_Summer.QMF").c_str(), "Warm Summer");

    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    PresetLibrary library;
    library.loadFolder(pathOf(root), "test", prototypes);
    ASSERT_EQ(library.entries.count, 2);
    EXPECT_STREQ(library.entries[0].preset->name.c_str(), "Warm Summer"); // the folder's own files first
    EXPECT_STREQ(library.entries[1].preset->name.c_str(), "Cool Evening");
    EXPECT_EQ(library.entries[0].preset->subMods.count, 1);
    EXPECT_EQ(library.entries[0].preset->floatVar(0), 1.0f);
    EXPECT_NE(library.find("warm summer"), nullptr);
    deleteMods(prototypes);
}

TEST(PresetLibrary, MissingFoldersAndBrokenFilesLoadNothing)
{
    EXPECT_EQ(getFilesInDirectory("/no/such/folder").count, 0);
    QTemporaryDir dir;
    writeFile(dir.path() + "/Empty.qmf", "<notfilter/>\n");
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    PresetLibrary library;
    library.loadFolder(pathOf(dir.path()), "test", prototypes);
    library.loadFolder("/no/such/folder", "test", prototypes);
    EXPECT_EQ(library.entries.count, 0);
    ASSERT_EQ(library.refused.count, 1);
    EXPECT_STREQ(library.refused[0].reason.c_str(), "not a preset (no \"filter\" element)");
    deleteMods(prototypes);
}

TEST(ShippedPresets, LoadCleanlyAndChangeTheImageWithoutResizingIt)
{
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    PresetLibrary library;
    library.loadFolder(shippedFolder(), "shipped", prototypes);
    EXPECT_GE(library.entries.count, 12);
    EXPECT_EQ(library.refused.count, 0);
    for (PresetLibrary::Entry const& entry : library.entries) {
        SCOPED_TRACE(entry.path.c_str());
        EXPECT_GT(entry.preset->subMods.count, 0);
        FlexImage<float> image(64, 40, 3);
        fillTestPattern(image, 2);
        FlexImage<float> before;
        before.copyFromImage(image, true);
        entry.preset->applyMod(&image, nullptr);
        EXPECT_EQ(image.width, 64);
        EXPECT_EQ(image.height, 40);
        int changed = 0;
        for (size_t i = 0; i < image.sampleCount(); ++i)
            changed += image.pixels[i] != before.pixels[i];
        EXPECT_GT(changed, int(image.sampleCount() / 4));
    }
    deleteMods(prototypes);
}

// A preset cut short anywhere still loads every step that was complete
// before the cut, exactly as in the whole file.
TEST(ShippedPresets, TruncatedCopiesKeepTheirCompleteSteps)
{
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    for (GrowString const& path : getFilesInDirectory(shippedFolder() + "/Default Presets")) {
        QFile file(path.c_str());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        std::string const original = file.readAll().toStdString();
        GrowArray<ImageMod*> whole = loadSteps(original, prototypes);
        for (size_t cut = 0; cut <= original.size(); cut += 7) {
            std::string const prefix = original.substr(0, cut);
            if (prefix.find("<submod") != std::string::npos)
                break; // a cut compound is a different filter, not a prefix
            size_t complete = 0;
            for (size_t at = prefix.find("</mod>"); at != std::string::npos; at = prefix.find("</mod>", at + 1))
                ++complete;
            GrowArray<ImageMod*> steps = loadSteps(prefix, prototypes);
            ASSERT_GE(size_t(steps.count), complete) << path.c_str() << " cut at " << cut;
            for (size_t i = 0; i < complete; ++i)
                EXPECT_TRUE(*steps[int(i)] == *whole[int(i)]) << path.c_str() << " cut at " << cut;
            deleteMods(steps);
        }
        deleteMods(whole);
    }
    deleteMods(prototypes);
}
