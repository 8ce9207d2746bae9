// quillmere: photo looks from the command line.
#include <QGuiApplication>
#include <QTextStream>

#include <cstdio>
#include <cstdlib>
#include <new>
#include <cstring>
#include <memory>

#include "app/CommandLine.h"
#include "extension/FileNames.h"

namespace {

char const* const overview =
    "Usage: quillmere COMMAND [options] [arguments]\n"
    "\n"
    "Photo looks from the command line.\n"
    "\n"
    "Commands:\n"
    "  presets      List the presets, in the order they are shown.\n"
    "  filters      List every filter with its variables, for preset authors.\n"
    "  thumbnails   Render every preset over a photo into a contact sheet.\n"
    "  apply        Render a preset over photos at full size and save JPEGs.\n"
    "\n"
    "Options:\n"
    "  -h, --help   Show this help ('quillmere COMMAND --help' for a command).\n"
    "  --version    Show the version.\n";

// The offscreen platform warns about a missing runtime folder it never uses.
void quietPlatformNotes(QtMsgType type, QMessageLogContext const&, QString const& message)
{
    if (message.startsWith("QStandardPaths:"))
        return;
    QTextStream(stderr) << message << "\n";
    if (type == QtFatalMsg)
        abort();
}

// Only the contact sheet draws text, which needs the GUI classes (on the
// offscreen platform: no display is needed).
std::unique_ptr<QCoreApplication> makeApplication(int& argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "thumbnails") == 0) {
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        QtMessageHandler const previous = qInstallMessageHandler(quietPlatformNotes);
        auto app = std::make_unique<QGuiApplication>(argc, argv);
        qInstallMessageHandler(previous);
        return app;
    }
    return std::make_unique<QCoreApplication>(argc, argv);
}

} // namespace

int runCommand(int argc, char** argv)
{
    std::unique_ptr<QCoreApplication> const app = makeApplication(argc, argv);
    QCoreApplication::setApplicationName("quillmere");
    QCoreApplication::setApplicationVersion(QUILLMERE_VERSION);
    // Each argument keeps its bytes: a file name need not be UTF-8.
    QStringList args;
    for (int i = 1; i < argc; ++i)
        args << fileNameFromSystem(QByteArray(argv[i]));
    if (args.isEmpty()) {
        QTextStream(stderr) << overview;
        return ExitUsage;
    }
    QString const command = args.first();
    if (command == "-h" || command == "--help" || command == "help") {
        QTextStream(stdout) << overview;
        return ExitOk;
    }
    if (command == "--version") {
        QTextStream(stdout) << "quillmere " << QUILLMERE_VERSION << "\n";
        return ExitOk;
    }
    if (command == "presets")
        return runPresets(args);
    if (command == "filters")
        return runFilters(args);
    if (command == "thumbnails")
        return runThumbnails(args);
    if (command == "apply")
        return runApply(args);
    QTextStream(stderr) << "quillmere: unknown command '" << command << "'\n"
                        << "Try 'quillmere --help'.\n";
    return ExitUsage;
}

int main(int argc, char** argv)
{
    try {
        return runCommand(argc, argv);
    } catch (std::bad_alloc const&) {
        std::fputs("quillmere: out of memory\n", stderr);
        return ExitFailed;
    }
}
