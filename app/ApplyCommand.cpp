// "quillmere apply": a preset over photos at full size, saved as JPEG.
#include <QDir>
#include <QFileInfo>
#include <QTextStream>

#include "app/CommandLine.h"
#include "app/Progress.h"
#include "extension/EditingSession.h"

namespace {

struct ApplyOptions
{
    QString preset;
    float amount = 1.0f;
    int quality = 100;
    QString output;
    QString outputFolder;
    QStringList photos;
    bool lenient = false;
};

// Finds the preset by file or by name; reports and returns null if neither,
// or if a step of it names no filter (unless lenient, when that step is
// skipped with a warning).
ImageModCompound* choosePreset(EditingSession& session, QString const& preset, bool lenient)
{
    PresetLibrary::Entry const* entry = nullptr;
    bool const isFile = preset.endsWith(".qmf", Qt::CaseInsensitive) || QFileInfo(preset).isFile();
    if (isFile) {
        if (!QFileInfo(preset).isFile()) {
            reportError(preset, "no such preset file");
            return nullptr;
        }
        if (!session.library.loadFile(preset.toUtf8().constData(), "file", session.prototypes)) {
            reportError(preset, session.library.refused.last().reason.c_str());
            return nullptr;
        }
        entry = &session.library.entries.last();
    } else {
        session.loadStandardPresets();
        entry = session.library.find(preset.toUtf8().constData());
        if (!entry) {
            reportError(preset, "no preset of that name (see 'quillmere presets')");
            return nullptr;
        }
    }
    if (reportSkippedSteps(*entry) > 0 && !lenient) {
        reportError(entry->path.c_str(), "not rendered: the preset is incomplete (--lenient renders it anyway)");
        return nullptr;
    }
    return entry->preset;
}

QString outputFor(ApplyOptions const& options, QString const& photo)
{
    if (!options.output.isEmpty())
        return options.output;
    return QDir(options.outputFolder).filePath(QFileInfo(photo).completeBaseName() + ".jpg");
}

bool checkOutputFolder(QString const& folder)
{
    QFileInfo const info(folder);
    if (!info.exists())
        reportError(folder, "folder does not exist");
    else if (!info.isDir())
        reportError(folder, "is not a folder");
    else if (!info.isWritable())
        reportError(folder, "folder is not writable");
    else
        return true;
    return false;
}

// Reads the command's options; returns ExitOk to go on, else the status.
int readOptions(QCommandLineParser const& parser, ApplyOptions* options)
{
    options->preset = parser.value("preset");
    options->output = parser.value("output");
    options->outputFolder = parser.value("out-dir");
    options->photos = parser.positionalArguments();
    options->lenient = parser.isSet("lenient");
    if (options->preset.isEmpty())
        return usageError("apply", "needs --preset NAME or --preset FILE.qmf");
    if (options->photos.isEmpty())
        return usageError("apply", "needs at least one PHOTO");
    if (options->output.isEmpty() == options->outputFolder.isEmpty())
        return usageError("apply", "needs either -o OUT.jpg or --out-dir DIR");
    if (!options->output.isEmpty() && options->photos.size() > 1)
        return usageError("apply", "-o takes one photo; use --out-dir DIR for several");
    bool ok = false;
    options->amount = parser.value("amount").toFloat(&ok) / 100.0f;
    if (!ok || options->amount < 0.0f || options->amount > 1.0f)
        return usageError("apply", "--amount needs a number from 0 to 100");
    options->quality = parser.value("quality").toInt(&ok);
    if (!ok || options->quality < 0 || options->quality > 100)
        return usageError("apply", "--quality needs a number from 0 to 100");
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
    if (isOneOf(target, options.photos)) {
        reportError(target, "would write over an input photo; choose another output");
        return false;
    }
    QString error;
    progress.show(i, total, 0.0f, label);
    if (!session.startWithPhoto(photo, 0, &error)) {
        progress.clear();
        reportError(photo, error);
        return false;
    }
    auto const showProgress = [&](float done) { progress.show(i, total, done, label); };
    if (!session.finish(target, options.quality, nullptr, &error, showProgress)) {
        progress.clear();
        reportError(target, error);
        return false;
    }
    progress.clear();
    QTextStream(stdout) << target << "\n";
    return true;
}

} // namespace

int runApply(QStringList const& args)
{
    QCommandLineParser parser;
    parser.addOption({"preset", "The preset, by name or as a .qmf file.", "NAME|FILE"});
    parser.addOption({"amount", "How strongly to apply it, 0 to 100 (default 100).", "PERCENT", "100"});
    parser.addOption({QStringList{"o", "output"}, "Write the result to FILE (one photo only).", "FILE"});
    parser.addOption({"out-dir", "Write each result to DIR/NAME.jpg.", "DIR"});
    parser.addOption({"quality", "JPEG quality, 0 to 100 (default 100).", "Q", "100"});
    parser.addOption(maxMegapixelsOption());
    parser.addOption({"lenient", "Render even when a preset step names no filter (that step is skipped)."});
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
    ImageModCompound* preset = choosePreset(session, options.preset, options.lenient);
    if (!preset)
        return ExitFailed;
    preset->setFloatVar(0, options.amount);
    session.currentMod = preset;
    session.keepOriginalAfterFinish = false;

    bool allWritten = true;
    ProgressBar progress(options.photos.size());
    for (int i = 0; i < options.photos.size(); ++i) {
        bool const written = renderOne(session, options, i, progress);
        allWritten = allWritten && written;
    }
    return allWritten ? ExitOk : ExitFailed;
}
