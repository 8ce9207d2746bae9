#include "app/Progress.h"

#include <unistd.h>

#include <cstdio>

ProgressBar::ProgressBar(int itemCount)
    : active(isatty(STDERR_FILENO)), severalItems(itemCount > 1)
{
    clock.start();
}

ProgressBar::~ProgressBar()
{
    clear();
}

void ProgressBar::show(int step, int total, float fraction, QString const& label)
{
    if (!active || total <= 0 || (!severalItems && clock.elapsed() < 500))
        return;
    constexpr int barWidth = 30;
    float const overall = (float(step) + fraction) / float(total);
    int const filled = int(overall * barWidth + 0.5f);
    QString const line = QString("[%1%2] %3/%4 %5")
                             .arg(QString(filled, '#'), QString(barWidth - filled, ' '))
                             .arg(step + 1)
                             .arg(total)
                             .arg(label.left(40));
    std::fprintf(stderr, "\r%-*s", lastWidth, line.toLocal8Bit().constData());
    std::fflush(stderr);
    lastWidth = line.size();
}

void ProgressBar::clear()
{
    if (!active || lastWidth == 0)
        return;
    std::fprintf(stderr, "\r%*s\r", lastWidth, "");
    std::fflush(stderr);
    lastWidth = 0;
}
