#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include "extension/EditingSession.h"
#include "extension/PresetLibrary.h"

// Shared pieces of the quillmere subcommands.

enum ExitStatus { ExitOk = 0, ExitFailed = 1, ExitUsage = 2 };

// One line on standard error: "quillmere: SUBJECT: reason".
void reportError(QString const& subject, QString const& reason);
// Prints a path on standard output, one line, with its own bytes.
void printPath(QString const& path);
// One line on standard error for a mistake in the command itself, with a
// pointer to --help.
int usageError(QString const& command, QString const& message);

// Parses a subcommand's arguments (args[0] is the subcommand). Prints help
// and sets *exitStatus to 0 on --help, or reports a usage error; returns
// whether the command should run.
bool parseCommand(QCommandLineParser& parser, QString const& command, QString const& summary,
                  QStringList const& args, int* exitStatus);

// The "--max-megapixels" option and its value; false (with a usage error
// reported) when the value is not a positive number.
QCommandLineOption maxMegapixelsOption();
bool readMaxMegapixels(QCommandLineParser const& parser, QString const& command, double* value);

// One line for each thing the preset's author should hear about: steps
// skipped, values the filters do not use, numbers outside their range.
// Returns the count of mistakes (everything but range warnings).
int reportPresetNotes(PresetLibrary::Entry const& entry);
// The presets that could not be loaded and the steps that were skipped,
// one line each.
void reportPresetProblems(PresetLibrary const& library);

int runPresets(QStringList const& args);
int runFilters(QStringList const& args);
int runThumbnails(QStringList const& args);
int runApply(QStringList const& args);

// The preset named by name or by a .qmf file, loading the standard presets
// when a name is given. Says what is wrong (no such preset, mistakes in it
// unless lenient) and returns null then.
ImageModCompound* findPreset(EditingSession& session, QString const& preset, bool lenient);
