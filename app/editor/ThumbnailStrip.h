#pragma once

#include <QImage>
#include <QList>
#include <QScrollArea>
#include <QString>

class QToolButton;
class QLabel;
class QHBoxLayout;

// The row of looks under the preview: for each, a thumbnail button over its
// name, in a horizontal scroll view. Thumbnails fill in as they arrive; the
// chosen entry stays highlighted and in view.
class ThumbnailStrip : public QScrollArea
{
    Q_OBJECT

public:
    explicit ThumbnailStrip(QWidget* parent = nullptr);

    // Starts over with these names, each with an empty thumbnail of size
    // (in points).
    void reset(QStringList const& names, QSize size);
    void setThumbnail(int index, QImage const& thumbnail);
    void setCurrent(int index);

    int count() const { return buttons.size(); }
    int current() const { return chosen; }
    QString name(int index) const;
    bool hasThumbnail(int index) const;
    QToolButton* button(int index) const { return buttons.value(index); }

signals:
    void entryClicked(int index);

private:
    QWidget* row;
    QHBoxLayout* rowLayout;
    QList<QToolButton*> buttons;
    QList<QLabel*> labels;
    QList<bool> filled;
    int chosen = -1;

    void clear();
};
