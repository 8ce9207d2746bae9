#include "extension/ImageLibrary.h"

#include "extension/ImageFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include <QFileInfo>

#include "extension/FileNames.h"

using namespace imageLibrary;

namespace {

// Why a path cannot be read as an image, before libvips looks at it.
bool checkReadable(QByteArray const& path, QString* error)
{
    struct stat info;
    if (::stat(path.constData(), &info) != 0) {
        *error = errno == ENOENT ? QString("no such file") : systemMessage(errno);
        return false;
    }
    if (S_ISDIR(info.st_mode)) {
        *error = "is a folder, not an image";
        return false;
    }
    if (!S_ISREG(info.st_mode)) {
        *error = "not a regular file";
        return false;
    }
    int const fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        *error = systemMessage(errno);
        return false;
    }
    ::close(fd);
    if (!vips_foreign_find_load(path.constData()) &&
        !(loadRarerFormats() && vips_foreign_find_load(path.constData()))) {
        vips_error_clear();
        *error = "not an image this tool can read";
        return false;
    }
    return true;
}

QString sizeRefusal(int width, int height, double maxMegapixels)
{
    double const megapixels = double(width) * double(height) / 1e6;
    return QString("image is %1 x %2 (%3 megapixels), more than the limit of %4 megapixels")
        .arg(width)
        .arg(height)
        .arg(megapixels, 0, 'f', 1)
        .arg(maxMegapixels);
}

bool openHeader(QByteArray const& path, VipsRef* image, QString* error)
{
    vips_error_clear();
    CallWarnings warnings;
    image->reset(vips_image_new_from_file(path.constData(), "access", VIPS_ACCESS_SEQUENTIAL, "fail_on",
                                          VIPS_FAIL_ON_ERROR, nullptr));
    if (!image->get()) {
        *error = "damaged image data (" + libraryMessage(&warnings) + ")";
        return false;
    }
    return true;
}

// Opens the photo shrunk while decoding to fit within side pixels, upright.
// Colour is left to toSrgb, which converts only photos that need it.
bool openShrunk(QByteArray const& path, int side, VipsRef* image)
{
    return vips_thumbnail(path.constData(), image->out(), side, "height", side, "size", VIPS_SIZE_DOWN, "fail_on",
                          VIPS_FAIL_ON_ERROR, nullptr) == 0;
}

template <typename T>
bool writeSamples(FlexImage<T> const& image, PhotoMetadata const& metadata, QString const& path,
                  PhotoWriteOptions const& options, QString* error)
{
    startImageLibrary();
    ImageFormat format;
    if (!checkDestination(path, &format, error))
        return false;
    if (!image.pixels || image.width <= 0 || image.height <= 0 || image.channels < 1 || image.channels > 4) {
        *error = "nothing to save: the image is empty";
        return false;
    }
    bool const deep = std::is_same_v<T, float>;
    vips_error_clear();
    VipsRef wrapped(vips_image_new_from_memory(image.pixels, image.sampleCount() * sizeof(T), image.width,
                                               image.height, image.channels,
                                               deep ? VIPS_FORMAT_FLOAT : VIPS_FORMAT_UCHAR));
    VipsRef ready;
    if (!wrapped.get() ||
        vips_copy(wrapped.get(), ready.out(), "interpretation",
                  image.channels < 3 ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB, nullptr) != 0 ||
        !prepareForFormat(ready, format, deep)) {
        *error = "cannot encode: " + libraryMessage();
        return false;
    }
    if (options.keepMetadata)
        attachMetadata(ready.get(), metadata);
    return saveAtomically(ready.get(), format, followedLink(fileSystemPath(path)), options, error);
}

} // namespace

QByteArray fileSystemPath(QString const& path)
{
    return fileNameToSystem(path);
}

void loadEveryImageFormat()
{
    loadRarerFormats();
}

bool readPhotoSize(QString const& path, int* width, int* height, QString* error)
{
    startImageLibrary();
    QByteArray const file = fileSystemPath(path);
    VipsRef header;
    if (!checkReadable(file, error) || !openHeader(file, &header, error))
        return false;
    *width = vips_image_get_width(header.get());
    *height = vips_image_get_height(header.get());
    return true;
}

bool checkPhotoSize(QString const& path, double maxMegapixels, QString* error)
{
    int width = 0;
    int height = 0;
    if (!readPhotoSize(path, &width, &height, error))
        return false;
    if (!(double(width) * double(height) / 1e6 <= maxMegapixels)) {
        *error = sizeRefusal(width, height, maxMegapixels);
        return false;
    }
    return true;
}

bool readPhoto(QString const& path, PhotoReadOptions const& options, Photo* photo, QString* error)
{
    if (!checkPhotoSize(path, options.maxMegapixels, error))
        return false;
    QByteArray const file = fileSystemPath(path);
    vips_error_clear();
    CallWarnings warnings;
    VipsRef image;
    bool const opened = options.fitWithin > 0 ? openShrunk(file, options.fitWithin, &image) : openUpright(file, &image);
    bool const deep = options.fitWithin <= 0 && opened && isDeepSource(image.get());
    if (!opened || !toSrgb(image, deep) || !decodeInto(image, photo, deep)) {
        photo->bytes.clear();
        photo->deep.clear();
        *error = "damaged or truncated image data (" + libraryMessage(&warnings) + ")";
        return false;
    }
    photo->metadata = metadataOf(image.get());
    return true;
}

ImageFormat imageFormatFor(QString const& path)
{
    QString const extension = QFileInfo(path).suffix().toLower();
    if (extension == "jpg" || extension == "jpeg")
        return ImageFormat::Jpeg;
    if (extension == "png")
        return ImageFormat::Png;
    if (extension == "tif" || extension == "tiff")
        return ImageFormat::Tiff;
    if (extension == "webp")
        return ImageFormat::WebP;
    return ImageFormat::Unknown;
}

QString knownImageFormats()
{
    return "name the file .jpg, .png, .tif or .webp";
}

bool checkOutputPath(QString const& path, QString* error)
{
    QByteArray const file = fileSystemPath(path);
    struct stat info;
    if (::stat(file.constData(), &info) == 0) {
        if (S_ISDIR(info.st_mode)) {
            *error = "is a folder";
            return false;
        }
        if (!S_ISREG(info.st_mode)) {
            *error = "not a regular file; only a new file or a regular file is replaced";
            return false;
        }
    } else if (errno != ENOENT) {
        *error = systemMessage(errno);
        return false;
    }
    QByteArray const destination = followedLink(file);
    int const slash = destination.lastIndexOf('/');
    QByteArray const folder = slash < 0 ? QByteArray(".") : slash == 0 ? QByteArray("/") : destination.left(slash);
    if (::stat(folder.constData(), &info) != 0 || !S_ISDIR(info.st_mode)) {
        *error = "folder does not exist";
        return false;
    }
    return true;
}

bool writePhoto(FlexImage<unsigned char> const& image, PhotoMetadata const& metadata, QString const& path,
                PhotoWriteOptions const& options, QString* error)
{
    return writeSamples(image, metadata, path, options, error);
}

bool writePhoto(FlexImage<float> const& image, PhotoMetadata const& metadata, QString const& path,
                PhotoWriteOptions const& options, QString* error)
{
    return writeSamples(image, metadata, path, options, error);
}

bool loadOverlayImage(GrowString const& path, int boxWidth, int boxHeight, FlexImage<unsigned char>* overlay)
{
    QString error;
    QString const file = QString::fromUtf8(path.c_str());
    if (boxWidth < 1 || boxHeight < 1 || !checkPhotoSize(file, defaultMaxMegapixels, &error))
        return false;
    vips_error_clear();
    CallWarnings warnings;
    VipsRef image;
    Photo photo;
    bool const loaded =
        vips_thumbnail(fileSystemPath(file).constData(), image.out(), boxWidth, "height", boxHeight, "fail_on",
                       VIPS_FAIL_ON_ERROR, nullptr) == 0 &&
        toSrgb(image, false) && decodeInto(image, &photo, false);
    vips_error_clear();
    if (!loaded)
        return false;
    overlay->swapWith(photo.bytes);
    return true;
}
