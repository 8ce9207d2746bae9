#include "app/editor/EditorScript.h"

#include <algorithm>
#include <cstdio>

#include <QApplication>
#include <QPixmap>

#include "app/editor/EditorWindow.h"
#include "app/editor/ThumbnailStrip.h"

EditorScript::EditorScript(EditorWindow* window, QElapsedTimer const& sinceStart)
    : QObject(window)
    , window(window)
    , sinceStart(sinceStart)
{
}

void EditorScript::attach()
{
    if (printTimings) {
        heartbeat.setInterval(2);
        connect(&heartbeat, &QTimer::timeout, this, [this] {
            longestStall = std::max(longestStall, sinceBeat.restart());
        });
        sinceBeat.start();
        heartbeat.start();
        // Start-up (the window's first layout and painting) is not a stall;
        // everything from the first turn of the event loop on is.
        QTimer::singleShot(0, this, [this] {
            longestStall = 0;
            sinceBeat.restart();
        });
    }
    connect(window, &EditorWindow::photoOpened, this, &EditorScript::photoOpened);
    connect(window, &EditorWindow::previewShown, this, [this] {
        if (firstPreview < 0)
            firstPreview = sinceStart.elapsed();
        stepDone();
    });
    connect(window, &EditorWindow::thumbnailsDone, this, [this] {
        thumbnailsDone = sinceStart.elapsed();
        stepDone();
    });
}

int EditorScript::lookIndex(QString const& name) const
{
    for (int i = 0; i < window->thumbnailStrip()->count(); ++i)
        if (window->thumbnailStrip()->name(i).compare(name, Qt::CaseInsensitive) == 0)
            return i;
    return -1;
}

void EditorScript::photoOpened()
{
    if (lookToChoose.isEmpty())
        return;
    int const index = lookIndex(lookToChoose);
    if (index < 0) {
        std::fprintf(stderr, "quillmere-editor: no preset named \"%s\"\n", qPrintable(lookToChoose));
        QApplication::exit(1);
        return;
    }
    window->chooseLook(index);
}

// Called whenever a render lands: once nothing is left to render, the
// window is as the user would see it.
void EditorScript::stepDone()
{
    if (window->isBusy())
        return;
    if (printTimings && !clicked) {
        // One click, timed from the click to its preview on screen.
        clicked = true;
        sinceClick.start();
        window->chooseLook(window->thumbnailStrip()->count() / 2);
        return;
    }
    finish();
}

void EditorScript::finish()
{
    if (printTimings)
        std::printf("first preview %lld ms\nall thumbnails %lld ms\nclick to preview %lld ms\n"
                    "longest stall of the window thread %lld ms\n",
                    static_cast<long long>(firstPreview), static_cast<long long>(thumbnailsDone),
                    static_cast<long long>(sinceClick.elapsed()), static_cast<long long>(longestStall));
    if (!screenshotPath.isEmpty() && !window->grab().save(screenshotPath)) {
        std::fprintf(stderr, "quillmere-editor: cannot write the screenshot to %s\n", qPrintable(screenshotPath));
        QApplication::exit(1);
        return;
    }
    QApplication::quit();
}
