#include "app/ContactSheet.h"

#include <QFont>
#include <QFontMetrics>
#include <QPainter>

#include <algorithm>

QImage makeContactSheet(QVector<QImage> const& thumbnails, QStringList const& names, int columns)
{
    if (thumbnails.isEmpty() || columns <= 0)
        return QImage();
    int cellWidth = 0;
    int cellHeight = 0;
    for (QImage const& thumbnail : thumbnails) {
        cellWidth = std::max(cellWidth, thumbnail.width());
        cellHeight = std::max(cellHeight, thumbnail.height());
    }
    QFont font;
    font.setPixelSize(std::clamp(cellHeight / 8, 11, 18));
    int const labelHeight = QFontMetrics(font).height() + 6;
    int const gap = 12;
    int const rows = (thumbnails.size() + columns - 1) / columns;
    int const shownColumns = std::min(columns, int(thumbnails.size()));
    QImage sheet(gap + shownColumns * (cellWidth + gap), gap + rows * (cellHeight + labelHeight + gap),
                 QImage::Format_RGB32);
    sheet.fill(QColor(246, 245, 242));
    QPainter painter(&sheet);
    painter.setFont(font);
    painter.setPen(QColor(90, 90, 90));
    for (int i = 0; i < thumbnails.size(); ++i) {
        int const x = gap + (i % columns) * (cellWidth + gap);
        int const y = gap + (i / columns) * (cellHeight + labelHeight + gap);
        QImage const& thumbnail = thumbnails[i];
        painter.drawImage(x + (cellWidth - thumbnail.width()) / 2, y + (cellHeight - thumbnail.height()) / 2, thumbnail);
        QString const name = i < names.size() ? names[i] : QString();
        QString const shown = QFontMetrics(font).elidedText(name, Qt::ElideRight, cellWidth);
        painter.drawText(QRect(x, y + cellHeight, cellWidth, labelHeight), Qt::AlignCenter, shown);
    }
    return sheet;
}
