#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>

class EditorWindow;

// What the editor does by itself when started with --choose, --screenshot
// or --timings: choose a look once the photo is open, and when everything
// has rendered write a picture of the window or print how long each step
// took, then quit.
class EditorScript : public QObject
{
    Q_OBJECT

public:
    QString lookToChoose;
    QString screenshotPath;
    bool printTimings = false;

    EditorScript(EditorWindow* window, QElapsedTimer const& sinceStart);
    bool hasWork() const { return !lookToChoose.isEmpty() || !screenshotPath.isEmpty() || printTimings; }
    void attach();

private:
    EditorWindow* window;
    QElapsedTimer const& sinceStart;
    qint64 firstPreview = -1;
    qint64 thumbnailsDone = -1;
    QElapsedTimer sinceClick;
    bool clicked = false;
    // The window thread's longest time away from its event loop: a timer
    // that should fire every few milliseconds measures the gaps.
    QTimer heartbeat;
    QElapsedTimer sinceBeat;
    qint64 longestStall = 0;

    void photoOpened();
    void stepDone();
    void finish();
    int lookIndex(QString const& name) const;
};
