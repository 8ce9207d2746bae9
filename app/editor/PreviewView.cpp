#include "app/editor/PreviewView.h"

#include <QPainter>

PreviewView::PreviewView(QWidget* parent)
    : QWidget(parent)
{
    setMinimumSize(240, 160);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void PreviewView::setPicture(QImage const& picture)
{
    shown = picture;
    update();
}

QRect PreviewView::pictureRect() const
{
    if (shown.isNull())
        return {};
    int const margin = 12;
    QSize const room = rect().adjusted(margin, margin, -margin, -margin).size();
    QSize const fitted = shown.size().scaled(room, Qt::KeepAspectRatio);
    return QRect(QPoint((width() - fitted.width()) / 2, (height() - fitted.height()) / 2), fitted);
}

void PreviewView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Window).darker(130));
    if (shown.isNull())
        return;
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(pictureRect(), shown);
}
