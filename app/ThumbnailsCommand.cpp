// "quillmere thumbnails": every preset over one photo, as a contact sheet.
#include <QFileInfo>
#include <QRegularExpression>
#include <QTextStream>

#include "app/CommandLine.h"
#include "app/ContactSheet.h"
#include "extension/EditingSession.h"
#include "extension/ImageBridge.h"
#include "extension/ImageFiles.h"

namespace {

// Thumbnails larger than this make a sheet of hundreds of megapixels
// without showing a look any better.
constexpr int largestThumbnailSide = 1024;

bool parseSize(QString const& text, int* width, int* height)
{
    QRegularExpressionMatch const match = QRegularExpression("^(\\d{1,4})[xX](\\d{1,4})$").match(text);
    if (!match.hasMatch())
        return false;
    *width = match.captured(1).toInt();
    *height = match.captured(2).toInt();
    return *width > 0 && *height > 0 && *width <= largestThumbnailSide && *height <= largestThumbnailSide;
}

} // namespace

int runThumbnails(QStringList const& args)
{
    QCommandLineParser parser;
    QCommandLineOption const output(QStringList{"o", "output"},
                                    "Write the contact sheet to FILE (PNG, JPEG, TIFF or WebP by its extension).",
                                    "FILE");
    QCommandLineOption const size("size", "Thumbnail size, each side at most 1024 (default 80x50).", "WxH",
                                  "80x50");
    QCommandLineOption const columns("columns", "Thumbnails per row (default 4).", "N", "4");
    parser.addOption(output);
    parser.addOption(size);
    parser.addOption(columns);
    parser.addOption(maxMegapixelsOption());
    parser.addPositionalArgument("PHOTO", "The photo to preview the presets on.");
    int status = ExitOk;
    if (!parseCommand(parser, "thumbnails",
                      "Render every preset over a small copy of PHOTO and write a contact sheet: the "
                      "thumbnails in a grid, each with its preset's name.",
                      args, &status))
        return status;

    QStringList const photos = parser.positionalArguments();
    if (photos.size() != 1)
        return usageError("thumbnails", "needs exactly one PHOTO");
    if (!parser.isSet(output))
        return usageError("thumbnails", "needs -o SHEET.png");
    int width = 0;
    int height = 0;
    if (!parseSize(parser.value(size), &width, &height))
        return usageError("thumbnails", "--size needs WIDTHxHEIGHT, each from 1 to 1024, e.g. 320x200");
    bool columnsOk = false;
    int const columnCount = parser.value(columns).toInt(&columnsOk);
    if (!columnsOk || columnCount < 1)
        return usageError("thumbnails", "--columns needs a positive number");
    EditingSession session;
    if (!readMaxMegapixels(parser, "thumbnails", &session.maxMegapixels))
        return ExitUsage;
    QString const sheetPath = parser.value(output);
    if (imageFormatFor(sheetPath) == ImageFormat::Unknown)
        return usageError("thumbnails", "-o " + sheetPath + ": " + knownImageFormats());
    if (isOneOf(sheetPath, photos)) {
        reportError(sheetPath, "is the input photo; choose another output file");
        return ExitFailed;
    }

    QString error;
    if (!checkOutputPath(sheetPath, &error)) {
        reportError(sheetPath, error);
        return ExitFailed;
    }
    if (!session.openPhoto(photos[0], std::max(1280, 2 * std::max(width, height)), &error)) {
        reportError(photos[0], error);
        return ExitFailed;
    }
    EditingSession::makeThumbnailSource(session.displayImageOriginal, &session.thumbImageOriginal, width, height);
    session.loadStandardPresets();
    reportPresetProblems(session.library);
    QVector<QImage> thumbnails{QImageFromFlexImage(&session.thumbImageOriginal)};
    QStringList names{"Original"};
    for (int i = 0; i < session.presetCount(); ++i) {
        thumbnails << session.renderThumbnail(i);
        names << session.preset(i)->name.c_str();
    }
    FlexImage<unsigned char> sheet;
    flexImageFromQImage(makeContactSheet(thumbnails, names, columnCount), &sheet);
    PhotoWriteOptions writing;
    writing.quality = 90;
    if (!writePhoto(sheet, PhotoMetadata(), sheetPath, writing, &error)) {
        reportError(sheetPath, error);
        return ExitFailed;
    }
    printPath(sheetPath);
    return ExitOk;
}
