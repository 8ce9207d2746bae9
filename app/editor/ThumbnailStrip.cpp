#include "app/editor/ThumbnailStrip.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPixmap>
#include <QScrollBar>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

ThumbnailStrip::ThumbnailStrip(QWidget* parent)
    : QScrollArea(parent)
    , row(new QWidget)
    , rowLayout(new QHBoxLayout(row))
{
    rowLayout->setContentsMargins(8, 6, 8, 6);
    rowLayout->setSpacing(10);
    rowLayout->addStretch();
    setWidget(row);
    setWidgetResizable(true);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
}

void ThumbnailStrip::clear()
{
    for (QToolButton* b : buttons)
        delete b->parentWidget();
    buttons.clear();
    labels.clear();
    filled.clear();
    chosen = -1;
}

void ThumbnailStrip::reset(QStringList const& names, QSize size)
{
    clear();
    for (int i = 0; i < names.size(); ++i) {
        auto* stack = new QWidget(row);
        auto* column = new QVBoxLayout(stack);
        column->setContentsMargins(0, 0, 0, 0);
        column->setSpacing(3);
        auto* button = new QToolButton(stack);
        button->setIconSize(size);
        button->setFixedSize(size + QSize(8, 8));
        button->setCheckable(true);
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::NoFocus);
        button->setToolTip(names[i]);
        auto* label = new QLabel(names[i], stack);
        label->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
        label->setFixedWidth(size.width() + 16);
        label->setWordWrap(true);
        column->addWidget(button, 0, Qt::AlignHCenter);
        column->addWidget(label);
        column->addStretch();
        rowLayout->insertWidget(i, stack);
        connect(button, &QToolButton::clicked, this, [this, i] { emit entryClicked(i); });
        buttons.append(button);
        labels.append(label);
        filled.append(false);
    }
    setFixedHeight(size.height() + 70 + horizontalScrollBar()->sizeHint().height());
}

void ThumbnailStrip::setThumbnail(int index, QImage const& thumbnail)
{
    if (index < 0 || index >= buttons.size())
        return;
    QPixmap pixmap = QPixmap::fromImage(thumbnail);
    // The thumbnail holds device pixels; the button sizes it in points.
    pixmap.setDevicePixelRatio(qreal(thumbnail.width()) / buttons[index]->iconSize().width());
    buttons[index]->setIcon(QIcon(pixmap));
    filled[index] = true;
}

void ThumbnailStrip::setCurrent(int index)
{
    chosen = index;
    for (int i = 0; i < buttons.size(); ++i) {
        buttons[i]->setChecked(i == index);
        QFont font = labels[i]->font();
        font.setBold(i == index);
        labels[i]->setFont(font);
    }
    // After the row has been laid out, or a new row has no geometry yet.
    if (index >= 0 && index < buttons.size())
        QTimer::singleShot(0, this, [this, index] {
            if (index < buttons.size())
                ensureWidgetVisible(buttons[index]->parentWidget(), 60, 0);
        });
}

QString ThumbnailStrip::name(int index) const
{
    return index >= 0 && index < labels.size() ? labels[index]->text() : QString();
}

bool ThumbnailStrip::hasThumbnail(int index) const
{
    return index >= 0 && index < filled.size() && filled[index];
}
