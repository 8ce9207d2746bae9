#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QPalette>
#include <QStyleFactory>

#include "app/editor/EditorScript.h"
#include "app/editor/EditorWindow.h"
#include "core/OVThreading.h"
#include "core/XmlPrefs.h"

namespace {

// A dark theme, so the photo and its looks stand out from the frame.
void applyDarkTheme(QApplication& app)
{
    app.setStyle(QStyleFactory::create("Fusion"));
    QPalette dark;
    QColor const window(45, 45, 48);
    QColor const base(30, 30, 32);
    QColor const text(220, 220, 222);
    QColor const accent(64, 140, 220);
    dark.setColor(QPalette::Window, window);
    dark.setColor(QPalette::WindowText, text);
    dark.setColor(QPalette::Base, base);
    dark.setColor(QPalette::AlternateBase, window);
    dark.setColor(QPalette::ToolTipBase, base);
    dark.setColor(QPalette::ToolTipText, text);
    dark.setColor(QPalette::Text, text);
    dark.setColor(QPalette::Button, window.lighter(115));
    dark.setColor(QPalette::ButtonText, text);
    dark.setColor(QPalette::Highlight, accent);
    dark.setColor(QPalette::HighlightedText, Qt::white);
    dark.setColor(QPalette::Disabled, QPalette::Text, text.darker(170));
    dark.setColor(QPalette::Disabled, QPalette::ButtonText, text.darker(170));
    dark.setColor(QPalette::Disabled, QPalette::WindowText, text.darker(170));
    app.setPalette(dark);
}

} // namespace

int main(int argc, char** argv)
{
    QElapsedTimer sinceStart;
    sinceStart.start();
    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication app(argc, argv);
    QApplication::setApplicationName("quillmere-editor");
    QApplication::setApplicationVersion(QUILLMERE_VERSION);
    prepareForWorkerThreads();
    applyDarkTheme(app);

    QCommandLineParser parser;
    parser.setApplicationDescription("Open a photo, see every look, pick one and save it.");
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption({"choose", "Choose the look NAME once the photo is open.", "NAME"});
    parser.addOption({"screenshot", "When everything has rendered, save a picture of the window to FILE and quit.",
                      "FILE"});
    parser.addOption({"timings", "Print how long the first preview, the thumbnails and one click take, and quit."});
    parser.addPositionalArgument("PHOTO", "The photo to open.");
    parser.process(app);

    EditorWindow window(&QMPreferences::prefsFile);
    EditorScript script(&window, sinceStart);
    script.lookToChoose = parser.value("choose");
    script.screenshotPath = parser.value("screenshot");
    script.printTimings = parser.isSet("timings");
    if (script.hasWork()) {
        if (parser.positionalArguments().isEmpty()) {
            std::fprintf(stderr, "quillmere-editor: --choose, --screenshot and --timings need a photo\n");
            return 2;
        }
        script.attach();
    }
    window.show();
    if (!parser.positionalArguments().isEmpty())
        window.openPhoto(parser.positionalArguments().first());
    return app.exec();
}
