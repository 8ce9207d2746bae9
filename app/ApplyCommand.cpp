// "quillmere apply": a preset over photos at full size, saved as JPEG.
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <memory>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>

#include "app/CommandLine.h"
#include "app/OutputOptions.h"
#include "app/Progress.h"
#include "extension/EditingSession.h"
#include "extension/FileNames.h"
#include "extension/ImageFiles.h"
#include "extension/ImageModRegistry.h"
#include "mods/ImageModCompound.h"

namespace {

struct ApplyOptions
{
    QString preset;
    float amount = 1.0f;
    PhotoWriteOptions writing;
    QString output;
    QString outputFolder;
    QStringList photos;
    bool lenient = false;
    bool remixed = false;
    double remix = 0.0;
    // Of the whole list, this worker takes every shardCount-th photo from
    // shardIndex on, so that many workers split one list without talking.
    int shardIndex = 0;
    int shardCount = 1;
    bool skipExisting = false;
};

// The photos listed in a file (or on standard input for "-"), one path a
// line, taken as bytes the way the system names files. Blank lines are
// skipped. False with the reason when the list cannot be read.
bool readPhotoList(QString const& list, QStringList* photos, QString* error)
{
    QFile file;
    bool const opened = list == "-" ? file.open(stdin, QIODevice::ReadOnly)
                                    : (file.setFileName(list), file.open(QIODevice::ReadOnly));
    if (!opened) {
        *error = "cannot read the list: " + file.errorString();
        return false;
    }
    while (!file.atEnd()) {
        QByteArray line = file.readLine();
        while (line.endsWith('\n') || line.endsWith('\r'))
            line.chop(1);
        if (!line.isEmpty())
            photos->append(fileNameFromSystem(line));
    }
    return true;
}

// "I/N" with 0 <= I < N.
bool readShard(QString const& text, int* index, int* count)
{
    QStringList const parts = text.split('/');
    bool indexOk = false, countOk = false;
    if (parts.size() == 2) {
        *index = parts[0].toInt(&indexOk);
        *count = parts[1].toInt(&countOk);
    }
    return indexOk && countOk && *count >= 1 && *index >= 0 && *index < *count;
}

QStringList shardOf(QStringList const& photos, int index, int count)
{
    QStringList mine;
    for (int i = index; i < photos.size(); i += count)
        mine.append(photos[i]);
    return mine;
}

QString outputFor(ApplyOptions const& options, QString const& photo)
{
    if (!options.output.isEmpty())
        return options.output;
    return QDir(options.outputFolder).filePath(QFileInfo(photo).completeBaseName() + ".jpg");
}

bool checkOutputFolder(QString const& folder)
{
    if (!pathExists(folder))
        reportError(folder, "folder does not exist");
    else if (!isFolder(folder))
        reportError(folder, "is not a folder");
    else if (::access(fileNameToSystem(folder).constData(), W_OK) != 0)
        reportError(folder, "folder is not writable");
    else
        return true;
    return false;
}

// Two photos of a batch that would be written to one name ("a/photo.jpg"
// and "b/photo.png" both to "out/photo.jpg"): each clash is said, and
// nothing is rendered, so no result is ever lost to another.
bool reportOutputClashes(ApplyOptions const& options)
{
    QHash<QString, QString> firstFor;
    bool clash = false;
    for (QString const& photo : options.photos) {
        QString const target = QFileInfo(outputFor(options, photo)).absoluteFilePath();
        auto const earlier = firstFor.constFind(target);
        if (earlier == firstFor.constEnd()) {
            firstFor.insert(target, photo);
            continue;
        }
        reportError(outputFor(options, photo),
                    QString("both %1 and %2 would be written here; render them into separate folders")
                        .arg(earlier.value(), photo));
        clash = true;
    }
    return clash;
}

// The photos whose output is not there yet; the others are counted on
// standard error.
QStringList withoutOutputs(ApplyOptions const& options)
{
    QStringList remaining;
    for (QString const& photo : options.photos)
        if (!isRegularFile(outputFor(options, photo)))
            remaining.append(photo);
    if (int const skipped = options.photos.size() - remaining.size())
        std::fprintf(stderr, "quillmere: skipped %d photo%s whose output exists\n", skipped, skipped == 1 ? "" : "s");
    return remaining;
}

// Reads the command's options; returns ExitOk to go on, else the status.
int readOptions(QCommandLineParser const& parser, ApplyOptions* options)
{
    options->preset = parser.value("preset");
    options->output = parser.value("output");
    options->outputFolder = parser.value("out-dir");
    options->photos = parser.positionalArguments();
    if (parser.isSet("files-from")) {
        QString error;
        if (!readPhotoList(parser.value("files-from"), &options->photos, &error)) {
            reportError(parser.value("files-from"), error);
            return ExitFailed;
        }
    }
    if (parser.isSet("shard") && !readShard(parser.value("shard"), &options->shardIndex, &options->shardCount))
        return usageError("apply", "--shard needs I/N, a worker's number I from 0 to N - 1 of N workers");
    options->skipExisting = parser.isSet("skip-existing");
    options->lenient = parser.isSet("lenient");
    if (parser.isSet("remix")) {
        bool finite = false;
        options->remix = parser.value("remix").toDouble(&finite);
        if (!finite || !std::isfinite(options->remix) || std::fabs(options->remix) > 1e6)
            return usageError("apply", "--remix needs a number (a variation, such as 0 to 100)");
        options->remixed = true;
    }
    if (options->preset.isEmpty())
        return usageError("apply", "needs --preset NAME or --preset FILE.qmf");
    if (options->photos.isEmpty() && !parser.isSet("files-from"))
        return usageError("apply", "needs at least one PHOTO (or --files-from LIST)");
    if (options->output.isEmpty() == options->outputFolder.isEmpty())
        return usageError("apply", "needs either -o OUT.jpg or --out-dir DIR");
    if (!options->output.isEmpty() && options->photos.size() > 1)
        return usageError("apply", "-o takes one photo; use --out-dir DIR for several");
    bool ok = false;
    options->amount = parser.value("amount").toFloat(&ok) / 100.0f;
    if (!ok || !(options->amount >= 0.0f && options->amount <= 1.0f))
        return usageError("apply", "--amount needs a number from 0 to 100");
    options->writing.quality = parser.value("quality").toInt(&ok);
    if (!ok || options->writing.quality < 1 || options->writing.quality > 100)
        return usageError("apply", "--quality needs a whole number from 1 to 100");
    options->writing.qualityChosen = parser.isSet("quality");
    options->writing.keepMetadata = !parser.isSet("strip-metadata");
    if (!options->output.isEmpty() && imageFormatFor(options->output) == ImageFormat::Unknown)
        return usageError("apply", "-o " + options->output + ": " + knownImageFormats());
    return ExitOk;
}

// Renders photo i of the batch and writes it; reports a failure against the
// file it concerns (the photo when reading, the output when writing).
bool renderOne(EditingSession& session, ApplyOptions const& options, int i, ProgressBar& progress)
{
    QString const& photo = options.photos[i];
    QString const target = outputFor(options, photo);
    QString const label = QFileInfo(photo).fileName();
    int const total = options.photos.size();
    QString error;
    if (namesOneOf(target, options.photos)) {
        reportError(target, "would write over an input photo; choose another output");
        return false;
    }
    if (!checkOutputPath(target, &error)) {
        reportError(target, error);
        return false;
    }
    progress.show(i, total, 0.0f, label);
    if (!session.openPhoto(photo, 0, &error)) {
        progress.clear();
        reportError(photo, error);
        return false;
    }
    auto const showProgress = [&](float done) {
        progress.show(i, total, done, label);
        return true;
    };
    RenderFailure failure;
    if (!session.finish(target, options.writing, nullptr, &failure, showProgress)) {
        progress.clear();
        reportError(failure.photoAtFault ? photo : target, failure.reason);
        return false;
    }
    progress.clear();
    printPath(target);
    return true;
}

// The chain to finish photos with: the preset, then the filters of the
// output options, in the order and number a chain allows (an option's crop
// or size replaces the preset's). The preset itself when there are none.
std::unique_ptr<ImageModCompound> finishedChain(ImageModCompound const& preset, GrowArray<ImageMod*>& extra)
{
    if (extra.count == 0)
        return nullptr;
    auto chain = std::make_unique<ImageModCompound>("Finished Photo");
    chain->addSubMod(preset.duplicate());
    for (ImageMod* filter : extra)
        chain->addSubMod(filter);
    extra.count = 0;
    arrangeChain(&chain->subMods);
    return chain;
}

} // namespace

int runApply(QStringList const& args)
{
    QCommandLineParser parser;
    parser.addOption({"preset", "The preset, by name or as a .qmf file.", "NAME|FILE"});
    parser.addOption({"amount", "How strongly to apply it, 0 to 100 (default 100).", "PERCENT", "100"});
    parser.addOption({QStringList{"o", "output"},
                      "Write the result to FILE (one photo only), as JPEG, PNG, TIFF or WebP by its extension.",
                      "FILE"});
    parser.addOption({"out-dir", "Write each result to DIR/NAME.jpg.", "DIR"});
    parser.addOption({"quality", "JPEG or WebP quality, 1 to 100 (default 100).", "Q", "100"});
    parser.addOption({"strip-metadata", "Leave out the photo's EXIF, XMP and colour profile."});
    parser.addOption(maxMegapixelsOption());
    parser.addOption({"remix", "Set the Remix (variation) of every camera style in the preset to V.", "V"});
    addOutputOptions(parser);
    parser.addOption({"lenient", "Render even when the preset has mistakes (steps naming no filter are skipped, "
                                 "values the filters cannot use are ignored)."});
    parser.addOption({"files-from", "Also render the photos listed in LIST, one path a line (- reads standard input).",
                      "LIST"});
    parser.addOption({"shard", "Render only every N-th photo of the whole list, from the I-th on (counting from 0), "
                               "so that N workers share one list.",
                      "I/N"});
    parser.addOption({"skip-existing", "Leave photos whose output already exists (outputs are only ever written "
                                       "whole, so an existing one is complete)."});
    parser.addPositionalArgument("PHOTO...", "The photos to render.");
    int status = ExitOk;
    if (!parseCommand(parser, "apply",
                      "Render a preset over each photo at full size and save it as a JPEG. Files are written "
                      "whole or not at all, and an input is never written over.",
                      args, &status))
        return status;
    ApplyOptions options;
    if ((status = readOptions(parser, &options)) != ExitOk)
        return status;
    EditingSession session;
    if (!readMaxMegapixels(parser, "apply", &session.maxMegapixels))
        return ExitUsage;
    if (!options.outputFolder.isEmpty() && !checkOutputFolder(options.outputFolder))
        return ExitFailed;
    // Clashes are looked for over the whole list, so that every worker of a
    // shared list refuses alike; then this worker keeps its share.
    if (reportOutputClashes(options))
        return ExitUsage;
    options.photos = shardOf(options.photos, options.shardIndex, options.shardCount);
    if (options.skipExisting)
        options.photos = withoutOutputs(options);
    ImageModCompound* preset = findPreset(session, options.preset, options.lenient);
    if (!preset)
        return ExitFailed;
    if (options.remixed && !EditingSession::setRemix(preset, options.remix)) {
        reportError(options.preset, "has no camera style, so nothing to remix");
        return ExitFailed;
    }
    preset->setFloatVar(0, options.amount);
    GrowArray<ImageMod*> outputFilters;
    if ((status = readOutputOptions(parser, session.prototypes, &outputFilters)) != ExitOk) {
        deleteMods(outputFilters);
        return status;
    }
    std::unique_ptr<ImageModCompound> const finished = finishedChain(*preset, outputFilters);
    session.currentMod = finished ? finished.get() : preset;

    bool allWritten = true;
    ProgressBar progress(options.photos.size());
    for (int i = 0; i < options.photos.size(); ++i) {
        bool const written = renderOne(session, options, i, progress);
        allWritten = allWritten && written;
    }
    return allWritten ? ExitOk : ExitFailed;
}
