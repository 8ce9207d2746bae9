#include "app/CommandLine.h"

#include <cstdio>

#include <QTextStream>

#include "extension/FileNames.h"
#include "extension/ImageFiles.h"

void reportError(QString const& subject, QString const& reason)
{
    // The subject as the system names it: a file name that is not UTF-8
    // shows as its own bytes.
    QByteArray const line = "quillmere: " + fileNameToSystem(subject) + ": " + reason.toUtf8() + "\n";
    std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
}

void printPath(QString const& path)
{
    QByteArray const line = fileNameToSystem(path) + "\n";
    std::fwrite(line.constData(), 1, size_t(line.size()), stdout);
    std::fflush(stdout);
}

int usageError(QString const& command, QString const& message)
{
    QTextStream(stderr) << "quillmere " << command << ": " << message << "\n"
                        << "Try 'quillmere " << command << " --help'.\n";
    return ExitUsage;
}

bool parseCommand(QCommandLineParser& parser, QString const& command, QString const& summary,
                  QStringList const& args, int* exitStatus)
{
    parser.setApplicationDescription(summary);
    QCommandLineOption const help(QStringList{"h", "help"}, "Show this help.");
    parser.addOption(help);
    QStringList withProgram = args;
    withProgram[0] = "quillmere " + command;
    if (!parser.parse(withProgram)) {
        *exitStatus = usageError(command, parser.errorText());
        return false;
    }
    if (parser.isSet(help)) {
        // The usage line names the command, not the path the tool was run by.
        QString help = parser.helpText();
        int const endOfProgram = help.indexOf(" [options]");
        if (help.startsWith("Usage: ") && endOfProgram > 0)
            help.replace(7, endOfProgram - 7, "quillmere " + command);
        QTextStream(stdout) << help;
        *exitStatus = ExitOk;
        return false;
    }
    return true;
}

QCommandLineOption maxMegapixelsOption()
{
    return QCommandLineOption("max-megapixels",
                              QString("Refuse images larger than N megapixels (default %1).").arg(defaultMaxMegapixels),
                              "N", QString::number(defaultMaxMegapixels));
}

bool readMaxMegapixels(QCommandLineParser const& parser, QString const& command, double* value)
{
    bool ok = false;
    *value = parser.value("max-megapixels").toDouble(&ok);
    if (!ok || !(*value > 0.0 && *value < 1e12)) {
        usageError(command, "--max-megapixels needs a positive number");
        return false;
    }
    return true;
}

namespace {

QString skippedStepText(GrowString const& name)
{
    QString const shown = QString::fromUtf8(name.c_str()).left(80);
    QString text = QString("step \"%1\" names no filter; it is skipped").arg(shown);
    // <mod name="X"/> reads as the name X" in this format: say how to write it.
    if (shown.endsWith('"'))
        text += " (a tag that closes itself needs a space before \"/>\")";
    return text;
}

} // namespace

int reportPresetNotes(PresetLibrary::Entry const& entry)
{
    PresetReadReport const& report = entry.report;
    for (GrowString const& name : report.unknownFilters)
        reportError(entry.path.c_str(), skippedStepText(name));
    for (GrowString const& mistake : report.mistakes)
        reportError(entry.path.c_str(), QString::fromUtf8(mistake.c_str()));
    for (GrowString const& warning : report.warnings)
        reportError(entry.path.c_str(), QString::fromUtf8(warning.c_str()));
    return report.unknownFilters.count + report.mistakes.count;
}

void reportPresetProblems(PresetLibrary const& library)
{
    for (PresetLibrary::Refusal const& refusal : library.refused)
        reportError(refusal.path.c_str(), refusal.reason.c_str());
    for (PresetLibrary::Entry const& entry : library.entries)
        reportPresetNotes(entry);
}

ImageModCompound* findPreset(EditingSession& session, QString const& preset, bool lenient)
{
    QString subject, reason;
    PresetLibrary::Entry const* entry = session.findPreset(preset, &subject, &reason);
    if (!entry) {
        reportError(subject, reason);
        return nullptr;
    }
    if (reportPresetNotes(*entry) > 0 && !lenient) {
        reportError(entry->path.c_str(), "not rendered: the preset has mistakes (--lenient renders it anyway)");
        return nullptr;
    }
    return entry->preset;
}
