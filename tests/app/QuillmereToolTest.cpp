// The quillmere tool end to end, through the built binary, on small
// generated photos in a temporary folder.
// libvips first: GLib names a struct member "signals", a keyword to Qt.
#include "extension/ImageLibrary.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "extension/ImageFiles.h"
#include "support/PhotoFiles.h"

namespace {

struct ToolRun
{
    int status;
    QString out;
    QString err;
};

ToolRun quillmere(QStringList const& args, QString const& folder, QString const& userData = QString())
{
    QProcess process;
    process.setWorkingDirectory(folder);
    if (!userData.isEmpty()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_DATA_HOME", userData);
        process.setProcessEnvironment(environment);
    }
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
        ASSERT_TRUE(saveTestPicture(photo, path("photo.jpg"), 95, &error));
        ASSERT_TRUE(saveTestPicture(photo.mirrored(), path("second.png"), 100, &error));
    }

    QString path(QString const& name) const { return dir.filePath(name); }

    // p0.jpg, p1.jpg ...: copies of photo.jpg for a batch.
    QStringList copiesOfThePhoto(int count) const
    {
        QStringList names;
        for (int i = 0; i < count; ++i) {
            QString const name = QString("p%1.jpg").arg(i);
            if (QFile::copy(path("photo.jpg"), path(name)))
                names << name;
        }
        return names;
    }
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
    ASSERT_TRUE(writeFirstHalf(path("whole.jpg"), path("truncated.jpg")));
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

// Outputs that would lose a result or harm a file are refused before any
// rendering: two photos to one name, a FIFO or device, an unknown format.
TEST_F(QuillmereTool, OutputsThatWouldLoseOrHarmAreRefused)
{
    QDir(dir.path()).mkpath("a");
    QDir(dir.path()).mkpath("b");
    QDir(dir.path()).mkpath("out");
    QFile::copy(path("photo.jpg"), path("a/photo.jpg"));
    QFile::copy(path("photo.jpg"), path("b/photo.jpg"));
    ToolRun const clash =
        quillmere({"apply", "--preset", "Noir", "a/photo.jpg", "b/photo.jpg", "--out-dir", "out"}, dir.path());
    EXPECT_EQ(clash.status, 2);
    EXPECT_TRUE(clash.err.contains("both a/photo.jpg and b/photo.jpg")) << clash.err.toStdString();
    EXPECT_TRUE(QDir(path("out")).entryList(QDir::Files | QDir::Hidden).isEmpty()) << "nothing is rendered";

    ASSERT_EQ(mkfifo(path("pipe.jpg").toUtf8().constData(), 0644), 0);
    expectRefused({"apply", "--preset", "Noir", "photo.jpg", "-o", "pipe.jpg"}, "pipe.jpg", "not a regular file");
    struct stat info;
    ASSERT_EQ(stat(path("pipe.jpg").toUtf8().constData(), &info), 0);
    EXPECT_TRUE(S_ISFIFO(info.st_mode)) << "the FIFO is still a FIFO";

    for (QStringList const& args : {QStringList{"apply", "--preset", "Noir", "photo.jpg", "-o", "x.bmp"},
                                    QStringList{"apply", "--preset", "Noir", "--amount", "nan", "photo.jpg", "-o", "x.jpg"},
                                    QStringList{"apply", "--preset", "Noir", "--max-megapixels", "nan", "photo.jpg",
                                                "-o", "x.jpg"},
                                    QStringList{"thumbnails", "photo.jpg", "--size", "9999x9999", "-o", "s.png"}}) {
        ToolRun const run = quillmere(args, dir.path());
        EXPECT_EQ(run.status, 2) << args.join(' ').toStdString();
    }
    EXPECT_FALSE(QFile::exists(path("x.bmp")));
}

TEST_F(QuillmereTool, ResultsTakeTheFormatTheirNameSays)
{
    ToolRun const run = quillmere({"apply", "--preset", "Noir", "photo.jpg", "-o", "result.png"}, dir.path());
    ASSERT_EQ(run.status, 0) << run.err.toStdString();
    QFile result(path("result.png"));
    ASSERT_TRUE(result.open(QIODevice::ReadOnly));
    EXPECT_EQ(result.read(8), QByteArray("\x89PNG\r\n\x1a\n", 8));
}

// The tool starts without the loaders of rarer formats and loads them for
// the first photo that needs one: a lossless JPEG XL copy of the PNG photo
// renders to the same pixels as the PNG, but for the level or two that
// converting its colour profile (JPEG XL always has one) to sRGB moves.
TEST_F(QuillmereTool, PhotosInRarerFormatsAreRead)
{
    imageLibrary::loadRarerFormats();
    imageLibrary::VipsRef png(vips_image_new_from_file(path("second.png").toUtf8().constData(), nullptr));
    ASSERT_TRUE(png.get());
    ASSERT_EQ(vips_jxlsave(png.get(), path("second.jxl").toUtf8().constData(), "lossless", TRUE, nullptr), 0)
        << vips_error_buffer();
    for (QString const name : {"second.png", "second.jxl"}) {
        ToolRun const run = quillmere({"apply", "--preset", "Noir", name, "-o", name + ".jpg"}, dir.path());
        ASSERT_EQ(run.status, 0) << run.err.toStdString();
    }
    QImage const fromPng = loadTestPicture(path("second.png.jpg"));
    QImage const fromJxl = loadTestPicture(path("second.jxl.jpg"));
    ASSERT_EQ(fromJxl.size(), fromPng.size());
    for (int y = 0; y < fromPng.height(); ++y)
        for (int x = 0; x < fromPng.width(); ++x) {
            QColor const expected = fromPng.pixelColor(x, y);
            QColor const got = fromJxl.pixelColor(x, y);
            ASSERT_NEAR(got.red(), expected.red(), 2) << x << ", " << y;
            ASSERT_NEAR(got.green(), expected.green(), 2) << x << ", " << y;
            ASSERT_NEAR(got.blue(), expected.blue(), 2) << x << ", " << y;
        }
}

TEST_F(QuillmereTool, AFileNameThatIsNotUtf8StillNamesItsFile)
{
    QByteArray const input = QFile::encodeName(dir.path()) + "/caf\xe9.jpg";
    QByteArray const output = QFile::encodeName(dir.path()) + "/r\xe9sultat.jpg";
    ASSERT_EQ(::link(QFile::encodeName(path("photo.jpg")).constData(), input.constData()), 0);
    // Through a shell, so that the arguments reach the tool as raw bytes.
    QByteArray const script = "exec \"$0\" apply --preset Noir \"$1\" -o \"$2\"";
    pid_t const child = fork();
    if (child == 0) {
        execl("/bin/sh", "sh", "-c", script.constData(), QUILLMERE_TOOL_PATH, input.constData(), output.constData(),
              static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    struct stat info;
    EXPECT_EQ(stat(output.constData(), &info), 0) << "the result has the name asked for, byte for byte";
}

// A user preset folder full of traps: each is named with its reason, the
// good presets still list, and a shipped preset still renders.
TEST_F(QuillmereTool, HostilePresetFilesAreRefusedOneLineEach)
{
    QString const user = path("data");
    QString const folder = user + "/quillmere/Presets";
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_EQ(mkfifo((folder + "/Fifo.qmf").toUtf8().constData(), 0644), 0);
    ASSERT_EQ(symlink("/dev/zero", (folder + "/Zero.qmf").toUtf8().constData()), 0);
    auto const write = [&](QString const& name, QByteArray const& text) {
        QFile file(folder + "/" + name);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    };
    write("Deep.qmf", "<filter version=\"1\">" + QByteArray("<submod name=\"x\">").repeated(43000) + "</filter>");
    QByteArray bomb = "<filter version=\"1\">\n<submod name=\"L0\"><mod name=\"Brightness\" /></submod>\n";
    for (int i = 1; i <= 20; ++i)
        bomb += QString("<submod name=\"L%1\"><mod name=\"L%2\" /><mod name=\"L%2\" /></submod>\n")
                    .arg(i)
                    .arg(i - 1)
                    .toUtf8();
    write("Bomb.qmf", bomb + "<mod name=\"L20\" />\n</filter>\n");
    write("Fine.qmf", "<filter version=\"1\"><mod name=\"Brightness\" /></filter>\n");
    write("Shadowing.qmf", "<filter version=\"1\"><submod name=\"Noir\"><mod name=\"Blur\" /></submod></filter>\n");

    ToolRun const presets = quillmere({"presets"}, dir.path(), user);
    EXPECT_EQ(presets.status, 0);
    EXPECT_TRUE(presets.out.contains("Fine")) << presets.out.toStdString();
    EXPECT_EQ(presets.err.count('\n'), 4) << presets.err.toStdString();
    EXPECT_TRUE(presets.err.contains("Fifo.qmf: not a regular file"));
    EXPECT_TRUE(presets.err.contains("Zero.qmf: not a regular file"));
    EXPECT_TRUE(presets.err.contains("Deep.qmf: elements are nested more than 64 deep"));
    EXPECT_TRUE(presets.err.contains("Bomb.qmf: more than 1000 filters"));

    ToolRun const apply = quillmere({"apply", "--preset", "Noir", "photo.jpg", "-o", "n.jpg"}, dir.path(), user);
    EXPECT_EQ(apply.status, 0) << apply.err.toStdString();
    EXPECT_TRUE(QFile::exists(path("n.jpg")));
}

TEST_F(QuillmereTool, ADamagedPhotoGivesOneLineNamingIt)
{
    QFile whole(path("second.png"));
    ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
    QByteArray bytes = whole.readAll();
    for (int i = 100; i < bytes.size(); i += 50)
        bytes[i] = char(bytes[i] ^ 0x5a);
    QFile damaged(path("damaged.png"));
    ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
    damaged.write(bytes);
    damaged.close();
    expectRefused({"apply", "--preset", "Noir", "damaged.png", "-o", "d.jpg"}, "damaged.png", "damaged");
}

// Every camera style ships as a preset of its own name; --remix moves the
// style's variation, and a preset without a style says it has none.
TEST_F(QuillmereTool, StylesShipAsPresetsAndRemix)
{
    ToolRun const presets = quillmere({"presets"}, dir.path());
    for (char const* style : {"Saloon", "Plastic", "Hipster", "Wedding", "Skater", "Silver", "Poolside", "Mono",
                              "Matte", "Magazine", "Lolo", "Italiano", "Instant", "Helga", "Colorcross",
                              "Autochrome", "1983", "1974", "1962", "1958"})
        EXPECT_TRUE(presets.out.contains(QString("\n") + style + " ") || presets.out.startsWith(QString(style) + " "))
            << style;

    for (QString const remix : {"0", "40"}) {
        ToolRun const run =
            quillmere({"apply", "--preset", "Lolo", "--remix", remix, "photo.jpg", "-o", "lolo" + remix + ".png"},
                      dir.path());
        ASSERT_EQ(run.status, 0) << run.err.toStdString();
    }
    EXPECT_NE(loadTestPicture(path("lolo0.png")), loadTestPicture(path("lolo40.png"))) << "Remix changes the look";

    expectRefused({"apply", "--preset", "Noir", "--remix", "3", "photo.jpg", "-o", "x.jpg"}, "Noir",
                  "nothing to remix");
    EXPECT_EQ(quillmere({"apply", "--preset", "Lolo", "--remix", "nan", "photo.jpg", "-o", "x.jpg"}, dir.path()).status,
              2);

    ToolRun const strip = quillmere({"thumbnails", "photo.jpg", "--remix", "Saloon", "--steps", "3", "--size", "40x30",
                                     "--columns", "4", "-o", "strip.png"},
                                    dir.path());
    ASSERT_EQ(strip.status, 0) << strip.err.toStdString();
    QImage const sheet = loadTestPicture(path("strip.png"));
    EXPECT_GT(sheet.width(), 4 * 40) << "the original and three variations side by side";
    EXPECT_LT(sheet.height(), 2 * 30 + 60) << "in one row";
}

// 90 x 60 saved at each size option. A box fills both ways (scaling up); a
// longest side only ever shrinks the picture.
TEST_F(QuillmereTool, SizeOptionsSetTheSavedSize)
{
    struct Case
    {
        QStringList option;
        QSize size;
    };
    for (Case const& c : {Case{{"--long-side", "45"}, QSize(45, 30)}, Case{{"--long-side", "180"}, QSize(90, 60)},
                          Case{{"--max-size", "180x180"}, QSize(180, 120)},
                          Case{{"--max-size", "30x30"}, QSize(30, 20)}, Case{{"--exact-size", "17x9"}, QSize(17, 9)}}) {
        SCOPED_TRACE(c.option.join(' ').toStdString());
        QFile::remove(path("sized.png"));
        ToolRun const run =
            quillmere(QStringList{"apply", "--preset", "Noir", "second.png", "-o", "sized.png"} + c.option, dir.path());
        ASSERT_EQ(run.status, 0) << run.err.toStdString();
        EXPECT_EQ(QImage(path("sized.png")).size(), c.size);
    }
    for (QStringList const& bad : {QStringList{"--long-side", "0"}, QStringList{"--long-side", "12.5"},
                                   QStringList{"--max-size", "30"}, QStringList{"--exact-size", "0x9"},
                                   QStringList{"--long-side", "40", "--exact-size", "9x9"},
                                   QStringList{"--crop", "0.5,0,0.4,1"}, QStringList{"--crop", "0,0,1"},
                                   QStringList{"--straighten", "200"}, QStringList{"--watermark-scale", "20"}}) {
        ToolRun const run =
            quillmere(QStringList{"apply", "--preset", "Noir", "second.png", "-o", "bad.png"} + bad, dir.path());
        EXPECT_EQ(run.status, 2) << bad.join(' ').toStdString();
        EXPECT_EQ(run.err.count('\n'), 2) << run.err.toStdString(); // the mistake and the pointer to --help
        EXPECT_FALSE(QFile::exists(path("bad.png")));
    }
}

// A preset that changes nothing shows the crop alone: the result is the
// photo's rectangle. 0.2,0.25,0.7,0.75 of 90 x 60 is columns 18 to 62 and
// rows 15 to 44.
TEST_F(QuillmereTool, ACropKeepsItsRectangleOfThePhoto)
{
    QDir(dir.path()).mkpath("data/quillmere/Presets");
    QFile preset(path("data/quillmere/Presets/Plain.qmf"));
    ASSERT_TRUE(preset.open(QIODevice::WriteOnly));
    preset.write("<filter version=\"1\"><mod name=\"Brightness\"></mod></filter>\n");
    preset.close();
    ToolRun const run = quillmere({"apply", "--preset", "Plain", "second.png", "-o", "cropped.png", "--crop",
                                   "0.2,0.25,0.7,0.75"},
                                  dir.path(), path("data"));
    ASSERT_EQ(run.status, 0) << run.err.toStdString();
    QImage const cropped(path("cropped.png"));
    QImage const expected = QImage(path("second.png")).copy(18, 15, 45, 30);
    ASSERT_EQ(cropped.size(), expected.size());
    EXPECT_EQ(cropped.convertToFormat(QImage::Format_RGB888), expected.convertToFormat(QImage::Format_RGB888));
}

// A 10 x 10 red logo in a box of 20% of 90 x 60 (18 x 12) is scaled to
// 12 x 12; upper-left with offset 0 puts it at the corner.
TEST_F(QuillmereTool, AWatermarkShowsWhereItIsAnchored)
{
    QImage logo(10, 10, QImage::Format_RGB888);
    logo.fill(QColor(255, 0, 0));
    QString error;
    ASSERT_TRUE(saveTestPicture(logo, path("logo.png"), 100, &error));
    ToolRun const run = quillmere({"apply", "--preset", "Noir", "--amount", "0", "second.png", "-o", "marked.png",
                                   "--watermark", "logo.png", "--watermark-anchor", "upper-left",
                                   "--watermark-scale", "20", "--watermark-offset", "0"},
                                  dir.path());
    ASSERT_EQ(run.status, 0) << run.err.toStdString();
    QImage const marked(path("marked.png"));
    QImage const photo(path("second.png"));
    EXPECT_EQ(marked.pixelColor(0, 0), QColor(255, 0, 0));
    EXPECT_EQ(marked.pixelColor(11, 11), QColor(255, 0, 0));
    EXPECT_EQ(marked.pixelColor(12, 5), photo.pixelColor(12, 5));
    EXPECT_EQ(marked.pixelColor(5, 12), photo.pixelColor(5, 12));

    expectRefused({"apply", "--preset", "Noir", "second.png", "-o", "x.png", "--watermark", "nologo.png"},
                  "nologo.png", "no such file");
}

// Lower quality, smaller file: the user's --quality, else a preset's output
// size "Quality".
TEST_F(QuillmereTool, TheSavedQualityIsHonoured)
{
    QImage noisy(200, 150, QImage::Format_RGB888);
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < 200; ++x)
            noisy.setPixelColor(x, y, QColor((x * 37 + y * 91) % 256, (x * x + y) % 256, (x * y) % 256));
    QString error;
    ASSERT_TRUE(saveTestPicture(noisy, path("noisy.png"), 100, &error));
    QDir(dir.path()).mkpath("data/quillmere/Presets");
    QFile preset(path("data/quillmere/Presets/Small.qmf"));
    ASSERT_TRUE(preset.open(QIODevice::WriteOnly));
    preset.write("<filter version=\"1\"><mod name=\"Output Size\"><var name=\"Width\" type=\"float\">0</var>"
                 "<var name=\"Height\" type=\"float\">0</var><var name=\"Quality\" type=\"float\">20</var>"
                 "</mod></filter>\n");
    preset.close();
    auto const sizeAt = [&](QStringList const& extra) {
        QFile::remove(path("q.jpg"));
        ToolRun const run = quillmere(QStringList{"apply", "--preset", "Small", "noisy.png", "-o", "q.jpg"} + extra,
                                      dir.path(), path("data"));
        EXPECT_EQ(run.status, 0) << run.err.toStdString();
        return QFileInfo(path("q.jpg")).size();
    };
    qint64 const high = sizeAt({"--quality", "95"});
    qint64 const low = sizeAt({"--quality", "30"});
    qint64 const fromPreset = sizeAt({});
    EXPECT_LT(low, high);
    EXPECT_LT(fromPreset, low);
    EXPECT_EQ(QImage(path("q.jpg")).size(), QSize(200, 150)) << "no limit set: the picture's own size";
}

TEST_F(QuillmereTool, ShardsOfAListTakeEveryPhotoExactlyOnce)
{
    QStringList const listed = copiesOfThePhoto(7);
    ASSERT_EQ(listed.size(), 7);
    QFile list(path("list.txt"));
    ASSERT_TRUE(list.open(QIODevice::WriteOnly));
    list.write((listed.join("\n") + "\n\n").toUtf8());
    list.close();
    QDir(dir.path()).mkdir("out");

    QStringList written;
    for (int shard = 0; shard < 3; ++shard) {
        ToolRun const run = quillmere({"apply", "--preset", "Noir", "--files-from", "list.txt", "--shard",
                                       QString("%1/3").arg(shard), "--out-dir", "out"},
                                      dir.path());
        ASSERT_EQ(run.status, 0) << run.err.toStdString();
        QStringList const mine = run.out.split('\n', Qt::SkipEmptyParts);
        EXPECT_EQ(mine.size(), shard == 0 ? 3 : 2);
        written << mine;
    }
    written.sort();
    QStringList expected;
    for (int i = 0; i < 7; ++i)
        expected << QString("out/p%1.jpg").arg(i);
    EXPECT_EQ(written, expected);
    EXPECT_EQ(QDir(path("out")).entryList(QDir::Files).size(), 7);

    for (QString const bad : {"3/3", "-1/2", "1", "a/b", "0/0"})
        EXPECT_EQ(quillmere({"apply", "--preset", "Noir", "--files-from", "list.txt", "--shard", bad, "--out-dir",
                             "out"},
                            dir.path())
                      .status,
                  2)
            << bad.toStdString();
    expectRefused({"apply", "--preset", "Noir", "--files-from", "missing.txt", "--out-dir", "out"}, "missing.txt",
                  "cannot read the list");
}

TEST_F(QuillmereTool, SkipExistingFinishesAnInterruptedBatchWithoutRewriting)
{
    QStringList const photos = copiesOfThePhoto(5);
    ASSERT_EQ(photos.size(), 5);
    QDir(dir.path()).mkdir("out");
    // The interrupted run: two results written whole before it died.
    ToolRun const first = quillmere({"apply", "--preset", "Noir", "p0.jpg", "p3.jpg", "--out-dir", "out"}, dir.path());
    ASSERT_EQ(first.status, 0) << first.err.toStdString();
    struct stat before[2];
    ASSERT_EQ(::stat(QFile::encodeName(path("out/p0.jpg")).constData(), &before[0]), 0);
    ASSERT_EQ(::stat(QFile::encodeName(path("out/p3.jpg")).constData(), &before[1]), 0);

    QProcess process;
    process.setWorkingDirectory(dir.path());
    process.start(QUILLMERE_TOOL_PATH,
                  {"apply", "--preset", "Noir", "--files-from", "-", "--skip-existing", "--out-dir", "out"});
    process.write((photos.join("\n") + "\n").toUtf8());
    process.closeWriteChannel();
    ASSERT_TRUE(process.waitForFinished(120000));
    EXPECT_EQ(process.exitCode(), 0);
    QString const out = QString::fromUtf8(process.readAllStandardOutput());
    EXPECT_EQ(out.split('\n', Qt::SkipEmptyParts), (QStringList{"out/p1.jpg", "out/p2.jpg", "out/p4.jpg"}));
    EXPECT_TRUE(QString::fromUtf8(process.readAllStandardError()).contains("skipped 2 photos whose output exists"));

    struct stat after[2];
    ASSERT_EQ(::stat(QFile::encodeName(path("out/p0.jpg")).constData(), &after[0]), 0);
    ASSERT_EQ(::stat(QFile::encodeName(path("out/p3.jpg")).constData(), &after[1]), 0);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(after[i].st_ino, before[i].st_ino);
        EXPECT_EQ(after[i].st_mtim.tv_nsec, before[i].st_mtim.tv_nsec);
    }
    EXPECT_EQ(QDir(path("out")).entryList(QDir::Files).size(), 5);
}
