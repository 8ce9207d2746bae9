// "quillmere thumbnails": every preset over one photo, as a contact sheet.
#include <QRegularExpression>
#include <QTextStream>

#include <future>
#include <memory>
#include <vector>

#include "app/CommandLine.h"
#include "app/ContactSheet.h"
#include "core/ParallelDispatch.h"
#include "extension/EditingSession.h"
#include "extension/FileNames.h"
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

// The looks of the sheet, rendered side by side: each look renders alone
// (a thumbnail is one tile), so the presets are what the cores share.
QVector<QImage> renderLooks(QVector<ImageMod*> const& looks, FlexImage<float>* source)
{
    QVector<QImage> thumbnails(looks.size());
    dispatchApply(size_t(looks.size()), DispatchPriority::Default, [&](size_t i) {
        FlexImage<float> filtered;
        EditingSession::render<float>(looks[int(i)], source, &filtered);
        thumbnails[int(i)] = QImageFromFlexImage(&filtered);
    });
    return thumbnails;
}

// Every preset of the library, or only the presets named (in the order
// named).
bool choosePresets(EditingSession& session, QStringList const& only, QVector<ImageMod*>* looks, QStringList* names)
{
    reportPresetProblems(session.library);
    if (only.isEmpty()) {
        for (int i = 0; i < session.presetCount(); ++i) {
            *looks << session.preset(i);
            *names << session.preset(i)->name.c_str();
        }
        return true;
    }
    for (QString const& name : only) {
        PresetLibrary::Entry const* entry = session.library.find(name.trimmed().toUtf8().constData());
        if (!entry) {
            reportError(name.trimmed(), "no preset of that name (see 'quillmere presets')");
            return false;
        }
        *looks << entry->preset;
        *names << entry->preset->name.c_str();
    }
    return true;
}

// One preset's Remix family: steps variations spread over 0 to 100, each a
// copy of the preset (owned by copies) so that they render side by side.
bool chooseRemixFamily(EditingSession& session, QString const& presetName, int steps,
                       std::vector<std::unique_ptr<ImageMod>>* copies, QVector<ImageMod*>* looks, QStringList* names)
{
    ImageModCompound* preset = findPreset(session, presetName, false);
    if (!preset)
        return false;
    if (!EditingSession::hasRemix(preset)) {
        reportError(presetName, "has no camera style, so nothing to remix");
        return false;
    }
    for (int k = 0; k < steps; ++k) {
        double const variation = k * 100.0 / steps;
        copies->emplace_back(EditingSession::adjustedCopy(*preset, preset->floatVar(0, 1.0f), &variation));
        *looks << copies->back().get();
        *names << QString("Remix %1").arg(variation, 0, 'g', 3);
    }
    return true;
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
    QCommandLineOption const remix("remix", "Instead of every preset, show PRESET's Remix family.", "PRESET");
    QCommandLineOption const only("presets", "Only these presets, in this order (names separated by commas).",
                                  "NAMES");
    QCommandLineOption const steps("steps", "With --remix: how many variations (default 6, at most 48).", "N", "6");
    parser.addOption(output);
    parser.addOption(size);
    parser.addOption(columns);
    parser.addOption(remix);
    parser.addOption(only);
    parser.addOption(steps);
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
    bool stepsOk = false;
    int const stepCount = parser.value(steps).toInt(&stepsOk);
    if (!stepsOk || stepCount < 1 || stepCount > 48)
        return usageError("thumbnails", "--steps needs a number from 1 to 48");
    EditingSession session;
    if (!readMaxMegapixels(parser, "thumbnails", &session.maxMegapixels))
        return ExitUsage;
    QString const sheetPath = parser.value(output);
    if (imageFormatFor(sheetPath) == ImageFormat::Unknown)
        return usageError("thumbnails", "-o " + sheetPath + ": " + knownImageFormats());
    if (namesOneOf(sheetPath, photos)) {
        reportError(sheetPath, "is the input photo; choose another output file");
        return ExitFailed;
    }

    QString error;
    if (!checkOutputPath(sheetPath, &error)) {
        reportError(sheetPath, error);
        return ExitFailed;
    }
    // The thumbnails are sampled from the display image, which need only be
    // twice their size: the photo shrinks that far while it decodes. The
    // presets load meanwhile (decoding keeps one core busy).
    EditingSession::OpenedPhoto photo;
    int const displaySide = 2 * std::max(width, height);
    std::future<bool> opened = std::async(std::launch::async, [&] {
        return EditingSession::readForDisplay(photos[0], displaySide, session.maxMegapixels,
                                              session.thumbnailScale, &photo, &error);
    });
    session.loadStandardPresets();
    if (!opened.get()) {
        reportError(photos[0], error);
        return ExitFailed;
    }
    session.startWith(&photo);
    EditingSession::makeThumbnailSource(session.displayImageOriginal, &session.thumbImageOriginal, width, height);

    std::vector<std::unique_ptr<ImageMod>> remixCopies;
    QVector<ImageMod*> looks{nullptr}; // the original first
    QStringList names{"Original"};
    bool const chosen = parser.isSet(remix)
                            ? chooseRemixFamily(session, parser.value(remix), stepCount, &remixCopies, &looks, &names)
                            : choosePresets(session, parser.value(only).split(',', Qt::SkipEmptyParts), &looks,
                                            &names);
    if (!chosen)
        return ExitFailed;
    QVector<QImage> const thumbnails = renderLooks(looks, &session.thumbImageOriginal);
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
