// The quillmere tool end to end, through the built binary, on small
// generated photos in a temporary folder.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include "extension/ImageFiles.h"

namespace {

struct ToolRun
{
    int status;
    QString out;
    QString err;
};

ToolRun quillmere(QStringList const& args, QString const& folder)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(QUILLMERE_TOOL_PATH, args);
    process.waitForFinished(120000);
    return ToolRun{process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
               QString::fromUtf8(process.readAllStandardError())};
}

class QuillmereTool : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QImage photo(90, 60, QImage::Format_RGB888);
        for (int y = 0; y < 60; ++y)
            for (int x = 0; x < 90; ++x)
                photo.setPixelColor(x, y, QColor(x * 2, y * 4, 90));
        QString error;
        ASSERT_TRUE(writeImageFile(photo, path("photo.jpg"), "jpeg", 95, &error));
        ASSERT_TRUE(writeImageFile(photo.mirrored(), path("second.png"), "png", -1, &error));
    }

    QString path(QString const& name) const { return dir.filePath(name); }
    QStringList files() const { return QDir(dir.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name); }

    // A failed run: the status, one line on stderr naming subject and
    // reason, and the folder exactly as before.
    void expectRefused(QStringList const& args, QString const& subject, QString const& reason)
    {
        SCOPED_TRACE(args.join(' ').toStdString());
        QStringList const before = files();
        ToolRun const run = quillmere(args, dir.path());
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err.count('\n'), 1) << run.err.toStdString();
        EXPECT_TRUE(run.err.startsWith("quillmere: " + subject + ": ")) << run.err.toStdString();
        EXPECT_TRUE(run.err.contains(reason)) << run.err.toStdString();
        EXPECT_EQ(files(), before);
    }

    QTemporaryDir dir;
};

} // namespace

TEST_F(QuillmereTool, HelpAndVersion)
{
    ToolRun const version = quillmere({"--version"}, dir.path());
    EXPECT_EQ(version.status, 0);
    EXPECT_TRUE(version.out.startsWith("quillmere ")) << version.out.toStdString();
    for (QString const command : {"presets", "filters", "thumbnails", "apply"}) {
        ToolRun const help = quillmere({command, "--help"}, dir.path());
        EXPECT_EQ(help.status, 0) << command.toStdString();
        EXPECT_TRUE(help.out.startsWith("Usage: quillmere " + command)) << help.out.toStdString();
    }
    EXPECT_EQ(quillmere({"develop"}, dir.path()).status, 2);
    EXPECT_EQ(quillmere({"apply", "--frobnicate"}, dir.path()).status, 2);
}

TEST_F(QuillmereTool, ListsPresetsAndFilters)
{
    ToolRun const presets = quillmere({"presets"}, dir.path());
    EXPECT_EQ(presets.status, 0);
    EXPECT_TRUE(presets.out.contains("Warm Sunset")) << presets.out.toStdString();
    EXPECT_TRUE(presets.out.contains("shipped"));
    ToolRun const filters = quillmere({"filters"}, dir.path());
    EXPECT_EQ(filters.status, 0);
    EXPECT_TRUE(filters.out.contains("Blur Method"));
    EXPECT_TRUE(filters.out.contains("choice of Gaussian | Box | Circle, default Gaussian"));
}

TEST_F(QuillmereTool, ContactSheetAndFullSizeResults)
{
    ToolRun const sheet = quillmere({"thumbnails", "photo.jpg", "-o", "sheet.png", "--size", "40x30"}, dir.path());
    ASSERT_EQ(sheet.status, 0) << sheet.err.toStdString();
    QImage const picture(path("sheet.png"));
    EXPECT_GT(picture.width(), 4 * 40);
    EXPECT_GT(picture.height(), 4 * 30);

    ToolRun const one = quillmere({"apply", "--preset", "Noir", "--amount", "60", "photo.jpg", "-o", "noir.jpg"},
                              dir.path());
    ASSERT_EQ(one.status, 0) << one.err.toStdString();
    EXPECT_EQ(QImage(path("noir.jpg")).size(), QSize(90, 60));

    QDir(dir.path()).mkdir("out");
    ToolRun const two = quillmere({"apply", "--preset", "warm sunset", "photo.jpg", "second.png", "--out-dir", "out"},
                              dir.path());
    ASSERT_EQ(two.status, 0) << two.err.toStdString();
    EXPECT_EQ(QImage(path("out/photo.jpg")).size(), QSize(90, 60));
    EXPECT_EQ(QImage(path("out/second.jpg")).size(), QSize(90, 60));
}

TEST_F(QuillmereTool, BadInputIsReportedAndLeavesNothingBehind)
{
    QFile::copy(path("photo.jpg"), path("whole.jpg"));
    QFile whole(path("whole.jpg"));
    ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
    QByteArray const bytes = whole.readAll();
    QFile truncated(path("truncated.jpg"));
    ASSERT_TRUE(truncated.open(QIODevice::WriteOnly));
    truncated.write(bytes.left(bytes.size() / 2));
    truncated.close();
    QFile text(path("notes.jpg"));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("just some words\n");
    text.close();

    QStringList const apply = {"apply", "--preset", "Noir"};
    expectRefused(apply + QStringList{"missing.jpg", "-o", "a.jpg"}, "missing.jpg", "no such file");
    expectRefused(apply + QStringList{"notes.jpg", "-o", "a.jpg"}, "notes.jpg", "not an image");
    expectRefused(apply + QStringList{"truncated.jpg", "-o", "a.jpg"}, "truncated.jpg", "truncated");
    expectRefused({"apply", "--preset", "Sepia Dreams", "photo.jpg", "-o", "a.jpg"}, "Sepia Dreams",
                  "no preset of that name");
    expectRefused(apply + QStringList{"photo.jpg", "--out-dir", "nowhere"}, "nowhere", "folder does not exist");
    expectRefused(apply + QStringList{"photo.jpg", "--out-dir", "whole.jpg"}, "whole.jpg", "is not a folder");
    expectRefused(apply + QStringList{"photo.jpg", "-o", "nowhere/a.jpg"}, "nowhere/a.jpg", "folder does not exist");
    expectRefused(apply + QStringList{"photo.jpg", "--max-megapixels", "0.001", "-o", "a.jpg"}, "photo.jpg",
                  "more than the limit");
    expectRefused(apply + QStringList{"photo.jpg", "-o", "photo.jpg"}, "photo.jpg", "would write over an input");
    expectRefused({"thumbnails", "truncated.jpg", "-o", "sheet.png"}, "truncated.jpg", "truncated");
}

TEST_F(QuillmereTool, OneBadPhotoInABatchDoesNotStopTheOthers)
{
    QDir(dir.path()).mkdir("out");
    ToolRun const run =
        quillmere({"apply", "--preset", "Faded Film", "missing.jpg", "photo.jpg", "--out-dir", "out"}, dir.path());
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.err.contains("missing.jpg: no such file"));
    EXPECT_TRUE(QFile::exists(path("out/photo.jpg")));
    EXPECT_EQ(QDir(path("out")).entryList(QDir::Files).size(), 1);
}

TEST_F(QuillmereTool, APresetStepThatNamesNoFilterIsReported)
{
    QFile preset(path("partly.qmf"));
    ASSERT_TRUE(preset.open(QIODevice::WriteOnly));
    preset.write("<filter version=\"1\">\n<mod name=\"Teleport\" />\n"
                 "<mod name=\"Brightness\"><var name=\"Amount\" type=\"float\">1.2</var></mod>\n</filter>\n");
    preset.close();

    ToolRun const strict = quillmere({"apply", "--preset", "partly.qmf", "photo.jpg", "-o", "a.jpg"}, dir.path());
    EXPECT_EQ(strict.status, 1);
    EXPECT_TRUE(strict.err.contains("step \"Teleport\" names no filter")) << strict.err.toStdString();
    EXPECT_TRUE(strict.err.contains("--lenient")) << strict.err.toStdString();
    EXPECT_FALSE(QFile::exists(path("a.jpg")));

    ToolRun const lenient =
        quillmere({"apply", "--lenient", "--preset", "partly.qmf", "photo.jpg", "-o", "a.jpg"}, dir.path());
    EXPECT_EQ(lenient.status, 0) << lenient.err.toStdString();
    EXPECT_TRUE(lenient.err.contains("step \"Teleport\" names no filter")) << "still said, once";
    EXPECT_EQ(lenient.err.count('\n'), 1);
    EXPECT_TRUE(QFile::exists(path("a.jpg")));
}
