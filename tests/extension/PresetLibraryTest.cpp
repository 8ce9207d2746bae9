#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <random>
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
    EXPECT_EQ(library.unreadable.count, 1);
    deleteMods(prototypes);
}

TEST(ShippedPresets, LoadCleanlyAndChangeTheImageWithoutResizingIt)
{
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    PresetLibrary library;
    library.loadFolder(shippedFolder(), "shipped", prototypes);
    EXPECT_GE(library.entries.count, 12);
    EXPECT_EQ(library.unreadable.count, 0);
    EXPECT_EQ(library.withUnknownFilters.count, 0);
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

// Truncated and mutated copies of every shipped preset must never crash,
// hang or leak (run under the address sanitizer in CI).
TEST(ShippedPresets, ReaderSurvivesDamagedCopies)
{
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    std::mt19937 random(20261123u);
    for (GrowString const& path : getFilesInDirectory(shippedFolder() + "/Default Presets")) {
        QFile file(path.c_str());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        std::string const original = file.readAll().toStdString();
        for (int round = 0; round < 60; ++round) {
            std::string damaged = original.substr(0, random() % (original.size() + 1));
            if (round % 2 == 1) {
                damaged = original;
                for (int flips = 0; flips < 8; ++flips)
                    damaged[random() % damaged.size()] = char("<>/=\" \nabz0.-"[random() % 13]);
            }
            XmlNode root;
            root.loadSubnodesFromBuffer(damaged.data(), long(damaged.size()));
            GrowArray<ImageMod*> compounds;
            int error = 0;
            for (XmlNode& node : root.subnodes) {
                GrowArray<ImageMod*> mods = createModsFromXML(&node, &compounds, prototypes, &error);
                deleteMods(mods);
            }
            deleteMods(compounds);
        }
    }
    deleteMods(prototypes);
}
