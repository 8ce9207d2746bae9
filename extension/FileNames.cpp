#include "extension/FileNames.h"

#include <sys/stat.h>

#include <QFileInfo>
#include <QVector>

namespace {

constexpr uint escapeBase = 0xF700; // + the byte, for bytes 0x80..0xFF

// The length of the valid UTF-8 sequence at bytes[i], or 0.
int validSequenceAt(QByteArray const& bytes, int i, uint* codePoint)
{
    auto const byte = [&](int k) { return uchar(bytes[i + k]); };
    uchar const lead = byte(0);
    int length = lead < 0x80 ? 1 : lead >= 0xC2 && lead <= 0xDF ? 2 : (lead & 0xF0) == 0xE0 ? 3
                                                                       : lead >= 0xF0 && lead <= 0xF4 ? 4 : 0;
    if (length == 0 || i + length > bytes.size())
        return 0;
    uint value = length == 1 ? lead : lead & (0x7F >> length);
    for (int k = 1; k < length; ++k) {
        if ((byte(k) & 0xC0) != 0x80)
            return 0;
        value = (value << 6) | (byte(k) & 0x3F);
    }
    bool const overlong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    bool const surrogate = value >= 0xD800 && value <= 0xDFFF;
    if (overlong || surrogate || value > 0x10FFFF)
        return 0;
    *codePoint = value;
    return length;
}

bool statPath(QString const& path, struct stat* info)
{
    return ::stat(fileNameToSystem(path).constData(), info) == 0;
}

} // namespace

QString fileNameFromSystem(QByteArray const& bytes)
{
    QVector<uint> codePoints;
    codePoints.reserve(bytes.size());
    for (int i = 0; i < bytes.size();) {
        uint codePoint = 0;
        int const length = validSequenceAt(bytes, i, &codePoint);
        if (length > 0) {
            codePoints.append(codePoint);
            i += length;
        } else {
            codePoints.append(escapeBase + uchar(bytes[i]));
            ++i;
        }
    }
    return QString::fromUcs4(codePoints.constData(), codePoints.size());
}

QByteArray fileNameToSystem(QString const& name)
{
    QByteArray bytes;
    for (uint codePoint : name.toUcs4()) {
        if (codePoint >= escapeBase + 0x80 && codePoint <= escapeBase + 0xFF)
            bytes.append(char(codePoint - escapeBase));
        else
            bytes.append(QString::fromUcs4(&codePoint, 1).toUtf8());
    }
    return bytes;
}

bool pathExists(QString const& path)
{
    struct stat info;
    return statPath(path, &info);
}

bool isRegularFile(QString const& path)
{
    struct stat info;
    return statPath(path, &info) && S_ISREG(info.st_mode);
}

bool isFolder(QString const& path)
{
    struct stat info;
    return statPath(path, &info) && S_ISDIR(info.st_mode);
}

bool isSameFile(QString const& a, QString const& b)
{
    struct stat first;
    struct stat second;
    return statPath(a, &first) && statPath(b, &second) && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

bool namesOneOf(QString const& output, QStringList const& inputs)
{
    QString const target = QFileInfo(output).absoluteFilePath();
    for (QString const& input : inputs)
        if (QFileInfo(input).absoluteFilePath() == target || isSameFile(input, output))
            return true;
    return false;
}
