#include "extension/ImageFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QImageWriter>
#include <QSaveFile>
#include <QStringList>

#include <mutex>

namespace {

// Qt's image plugins report damaged data as warnings, not errors. While a
// file is decoded, warnings are collected here instead of printed.
std::mutex decodeMutex;
QStringList* decodeWarnings = nullptr;
QtMessageHandler previousHandler = nullptr;

void collectWarning(QtMsgType type, QMessageLogContext const& context, QString const& message)
{
    if (decodeWarnings && type == QtWarningMsg) {
        decodeWarnings->append(message.trimmed());
        return;
    }
    if (previousHandler)
        previousHandler(type, context, message);
}

// Decodes with warnings collected; one decode at a time, since the message
// handler is process-wide.
QImage decodeCollectingWarnings(QImageReader& reader, QStringList* warnings)
{
    std::lock_guard<std::mutex> guard(decodeMutex);
    decodeWarnings = warnings;
    previousHandler = qInstallMessageHandler(collectWarning);
    QImage const image = reader.read();
    qInstallMessageHandler(previousHandler);
    decodeWarnings = nullptr;
    return image;
}

QString lowerFirst(QString text)
{
    if (!text.isEmpty())
        text[0] = text[0].toLower();
    return text;
}

} // namespace

bool readImageFile(QString const& path, double maxMegapixels, QImage* image, QString* error)
{
    QFileInfo const info(path);
    if (!info.exists()) {
        *error = "no such file";
        return false;
    }
    if (info.isDir()) {
        *error = "is a folder, not an image";
        return false;
    }
    if (!info.isReadable()) {
        *error = "permission denied";
        return false;
    }
    QImageReader reader(path);
    reader.setAutoTransform(true);
    if (!reader.canRead()) {
        *error = "not an image this tool can read";
        return false;
    }
    QSize const size = reader.size();
    double const megapixels = double(size.width()) * double(size.height()) / 1e6;
    if (size.isValid() && megapixels > maxMegapixels) {
        *error = QString("image is %1 x %2 (%3 megapixels), more than the limit of %4 megapixels")
                     .arg(size.width())
                     .arg(size.height())
                     .arg(megapixels, 0, 'f', 1)
                     .arg(maxMegapixels);
        return false;
    }
    QStringList warnings;
    *image = decodeCollectingWarnings(reader, &warnings);
    if (image->isNull()) {
        *error = "cannot decode: " + lowerFirst(reader.errorString());
        return false;
    }
    if (!warnings.isEmpty()) {
        *image = QImage();
        *error = "damaged or truncated image data (" + warnings.first() + ")";
        return false;
    }
    return true;
}

bool writeImageFile(QImage const& image, QString const& path, char const* format, int quality, QString* error)
{
    QFileInfo const target(path);
    if (!target.absoluteDir().exists()) {
        *error = "folder does not exist";
        return false;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        *error = "cannot write: " + lowerFirst(file.errorString());
        return false;
    }
    QImageWriter writer(&file, format);
    writer.setQuality(quality);
    if (!writer.write(image)) {
        file.cancelWriting();
        *error = "cannot encode: " + lowerFirst(writer.errorString());
        return false;
    }
    if (!file.commit()) {
        *error = "cannot write: " + lowerFirst(file.errorString());
        return false;
    }
    return true;
}
