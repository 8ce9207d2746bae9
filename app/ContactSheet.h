#pragma once

#include <QImage>
#include <QString>
#include <QStringList>
#include <QVector>

// Lays thumbnails out in a grid on a light background, each with its name
// centred under it.
QImage makeContactSheet(QVector<QImage> const& thumbnails, QStringList const& names, int columns);
