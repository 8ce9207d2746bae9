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

bool parseSize(QString const& text, int* width, int* height)
{
    QRegularExpressionMatch const match = QRegularExpression("^(\\d{1,4})[xX](\\d{1,4})$").match(text);
    if (!match.hasMatch())
        return false;
    *width = match.captured(1).toInt();
    *height = match.captured(2).toInt();
    return *width > 0 && *height > 0;
}

} // namespace

int runThumbnails(QStringList const& args)
{
    QCommandLineParser parser;
    QCommandLineOption const output(QStringList{"o", "output"},
                                    "Write the contact sheet to FILE (PNG, or JPEG when FILE ends in .jpg).", "FILE");
    QCommandLineOption const size("size", "Thumbnail size (default 80x50).", "WxH", "80x50");
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
        return usageError("thumbnails", "--size needs WIDTHxHEIGHT, e.g. 320x200");
    bool columnsOk = false;
    int const columnCount = parser.value(columns).toInt(&columnsOk);
    if (!columnsOk || columnCount < 1)
        return usageError("thumbnails", "--columns needs a positive number");
    EditingSession session;
    if (!readMaxMegapixels(parser, "thumbnails", &session.maxMegapixels))
        return ExitUsage;
    QString const sheetPath = parser.value(output);
    if (isOneOf(sheetPath, photos)) {
        reportError(sheetPath, "is the input photo; choose another output file");
        return ExitFailed;
    }

    QString error;
    if (!session.startWithPhoto(photos[0], std::max(1280, 2 * std::max(width, height)), &error)) {
        reportError(photos[0], error);
        return ExitFailed;
    }
    EditingSession::makeThumbnailSource(session.displayImageOriginal, &session.thumbImageOriginal, width, height);
    session.loadStandardPresets();
    QVector<QImage> thumbnails{QImageFromFlexImage(&session.thumbImageOriginal)};
    QStringList names{"Original"};
    for (int i = 0; i < session.presetCount(); ++i) {
        thumbnails << session.renderThumbnail(i);
        names << session.preset(i)->name.c_str();
    }
    bool const asJpeg = sheetPath.endsWith(".jpg", Qt::CaseInsensitive) || sheetPath.endsWith(".jpeg", Qt::CaseInsensitive);
    QImage const sheet = makeContactSheet(thumbnails, names, columnCount);
    if (!writeImageFile(sheet, sheetPath, asJpeg ? "jpeg" : "png", asJpeg ? 90 : -1, &error)) {
        reportError(sheetPath, error);
        return ExitFailed;
    }
    QTextStream(stdout) << sheetPath << "\n";
    return ExitOk;
}
