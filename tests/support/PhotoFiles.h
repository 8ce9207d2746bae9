#pragma once

#include <QFile>
#include <QImage>
#include <QString>

#include "extension/ImageBridge.h"
#include "extension/ImageFiles.h"

// Writes a test picture through the tool's own image files (format by the
// path's extension); false with the reason on failure.
inline bool saveTestPicture(QImage const& picture, QString const& path, int quality, QString* error)
{
    FlexImage<unsigned char> image;
    image.channels = picture.hasAlphaChannel() ? 4 : 3;
    flexImageFromQImage(picture, &image);
    PhotoWriteOptions options;
    options.quality = quality;
    return writePhoto(image, PhotoMetadata(), path, options, error);
}

// Reads a file back as 8-bit RGB, upright and in sRGB.
inline QImage loadTestPicture(QString const& path)
{
    Photo photo;
    QString error;
    if (!readPhoto(path, PhotoReadOptions(), &photo, &error) || photo.isDeep())
        return QImage();
    FlexImage<unsigned char> const& p = photo.bytes;
    QImage picture(p.width, p.height, QImage::Format_RGB888);
    for (int y = 0; y < p.height; ++y)
        for (int x = 0; x < p.width; ++x) {
            unsigned char const* s = p.pixelAt(x, y);
            uchar* d = picture.scanLine(y) + 3 * x;
            d[0] = s[0];
            d[1] = p.channels >= 3 ? s[1] : s[0];
            d[2] = p.channels >= 3 ? s[2] : s[0];
        }
    return picture;
}

// Writes the first half of the file at from to the file at to: a photo cut
// short, as a failed copy leaves it. False when either cannot be used.
inline bool writeFirstHalf(QString const& from, QString const& to)
{
    QFile whole(from);
    QFile cut(to);
    if (!whole.open(QIODevice::ReadOnly) || !cut.open(QIODevice::WriteOnly))
        return false;
    QByteArray const bytes = whole.readAll();
    return cut.write(bytes.left(bytes.size() / 2)) == bytes.size() / 2;
}
