#pragma once

#include <QElapsedTimer>
#include <QString>

// A one-line progress bar on standard error, drawn only when standard error
// is a terminal (so logs and pipes stay clean), and only for several items
// or once a single item has taken more than half a second.
class ProgressBar
{
public:
    explicit ProgressBar(int itemCount);
    ~ProgressBar();

    // Shows step (0-based) of total, fraction of it done, and a label.
    void show(int step, int total, float fraction, QString const& label);
    // Clears the line, e.g. before an error message.
    void clear();

private:
    bool active;
    bool severalItems;
    QElapsedTimer clock;
    int lastWidth = 0;
};
