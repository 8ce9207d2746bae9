#include "app/CommandLine.h"

#include <QFileInfo>
#include <QTextStream>

#include "extension/ImageFiles.h"

void reportError(QString const& subject, QString const& reason)
{
    QTextStream(stderr) << "quillmere: " << subject << ": " << reason << "\n";
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
    if (!ok || *value <= 0.0) {
        usageError(command, "--max-megapixels needs a positive number");
        return false;
    }
    return true;
}

int reportSkippedSteps(PresetLibrary::Entry const& entry)
{
    for (GrowString const& name : entry.skippedSteps)
        reportError(entry.path.c_str(),
                    QString("step \"%1\" names no filter; it is skipped").arg(QString::fromUtf8(name.c_str())));
    return entry.skippedSteps.count;
}

void reportPresetProblems(PresetLibrary const& library)
{
    for (PresetLibrary::Refusal const& refusal : library.refused)
        reportError(refusal.path.c_str(), refusal.reason.c_str());
    for (PresetLibrary::Entry const& entry : library.entries)
        reportSkippedSteps(entry);
}

bool isOneOf(QString const& output, QStringList const& inputs)
{
    QFileInfo const target(output);
    for (QString const& input : inputs) {
        QFileInfo const info(input);
        if (info.absoluteFilePath() == target.absoluteFilePath())
            return true;
        if (info.exists() && target.exists() && info.canonicalFilePath() == target.canonicalFilePath())
            return true;
    }
    return false;
}
