// libvips comes first: GLib names a struct member "signals", which Qt's
// headers define as a keyword.
#include <vips/vips.h>

#include "extension/ImageFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <mutex>

#include <QFileInfo>
#include <QStringList>

#include "extension/FileNames.h"

namespace {

// libvips's warnings name no file and can come from any thread, so they are
// never printed and never decide anything: a call's failure is told by its
// return code. While a call runs on this thread, though, its warnings are
// kept, to explain a failure that left no message of its own.
thread_local QStringList* warningsOfThisCall = nullptr;

void keepOrDropWarning(gchar const*, GLogLevelFlags, gchar const* message, gpointer)
{
    if (warningsOfThisCall && message)
        warningsOfThisCall->append(QString::fromUtf8(message).trimmed());
}

class CallWarnings
{
public:
    CallWarnings() { warningsOfThisCall = &kept; }
    ~CallWarnings() { warningsOfThisCall = nullptr; }
    CallWarnings(CallWarnings const&) = delete;
    CallWarnings& operator=(CallWarnings const&) = delete;
    QString first() const { return kept.isEmpty() ? QString() : kept.first(); }

private:
    QStringList kept;
};

void startImageLibrary()
{
    static std::once_flag started;
    std::call_once(started, [] {
        vips_init("quillmere");
        // Every photo is read once: cached operations would only hold memory.
        vips_cache_set_max(0);
        g_log_set_handler("VIPS", GLogLevelFlags(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_MESSAGE), keepOrDropWarning,
                          nullptr);
    });
}

// Owns one reference to a libvips image.
class VipsRef
{
public:
    VipsRef() = default;
    explicit VipsRef(VipsImage* image) : image(image) {}
    VipsRef(VipsRef const&) = delete;
    VipsRef& operator=(VipsRef const&) = delete;
    ~VipsRef() { reset(nullptr); }

    VipsImage* get() const { return image; }
    VipsImage** out()
    {
        reset(nullptr);
        return &image;
    }
    void reset(VipsImage* replacement)
    {
        if (image)
            g_object_unref(image);
        image = replacement;
    }
    // Replaces the image by the result of a step that read it.
    void replaceWith(VipsRef& next)
    {
        reset(next.image);
        next.image = nullptr;
    }

private:
    VipsImage* image = nullptr;
};

// The last line of libvips's last message, without the operation's name:
// "VipsJpeg: Premature end of input file" becomes "premature end of input
// file". Without one, the first warning of the call explains the failure.
QString libraryMessage(CallWarnings const* warnings = nullptr)
{
    QString text = QString::fromUtf8(vips_error_buffer()).trimmed();
    if (text.isEmpty() && warnings)
        text = warnings->first();
    vips_error_clear();
    text = text.section('\n', -1).trimmed();
    int const colon = text.indexOf(": ");
    if (colon > 0 && !text.left(colon).contains(' '))
        text = text.mid(colon + 2);
    if (text.size() > 1 && text[1].isLower()) // "Premature" but not "CRC"
        text[0] = text[0].toLower();
    return text.isEmpty() ? QString("unknown failure of the image library") : text;
}

QString systemMessage(int error)
{
    QString text = QString::fromLocal8Bit(std::strerror(error));
    if (!text.isEmpty())
        text[0] = text[0].toLower();
    return text;
}

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
    if (!vips_foreign_find_load(path.constData())) {
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

bool isDeepSource(VipsImage* image)
{
    VipsInterpretation const kind = vips_image_get_interpretation(image);
    return vips_image_get_format(image) == VIPS_FORMAT_USHORT || kind == VIPS_INTERPRETATION_RGB16 ||
           kind == VIPS_INTERPRETATION_GREY16;
}

// Turns the image into sRGB (16 bits when deep): through its own colour
// profile when it has one (CMYK without one goes through a generic CMYK
// profile), else by the plain colour-space rules.
bool toSrgb(VipsRef& image, bool deep)
{
    VipsRef next;
    bool const profiled = vips_image_get_typeof(image.get(), VIPS_META_ICC_NAME) != 0;
    bool const cmyk = vips_image_get_interpretation(image.get()) == VIPS_INTERPRETATION_CMYK;
    if (profiled || cmyk) {
        if (vips_icc_transform(image.get(), next.out(), "srgb", "embedded", TRUE, "input_profile",
                               cmyk ? "cmyk" : "srgb", "depth", deep ? 16 : 8, nullptr) != 0)
            return false;
        image.replaceWith(next);
    }
    VipsInterpretation const wanted = deep ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB;
    if (vips_colourspace(image.get(), next.out(), wanted, nullptr) != 0)
        return false;
    image.replaceWith(next);
    int const bands = vips_image_get_bands(image.get());
    if (bands > 4) {
        if (vips_extract_band(image.get(), next.out(), 0, "n", 4, nullptr) != 0)
            return false;
        image.replaceWith(next);
    }
    VipsBandFormat const format = deep ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR;
    if (vips_image_get_format(image.get()) != format) {
        if (vips_cast(image.get(), next.out(), format, nullptr) != 0)
            return false;
        image.replaceWith(next);
    }
    return true;
}

QByteArray blobOf(VipsImage* image, char const* name)
{
    void const* data = nullptr;
    size_t length = 0;
    if (!vips_image_get_typeof(image, name) || vips_image_get_blob(image, name, &data, &length) != 0)
        return QByteArray();
    return QByteArray(static_cast<char const*>(data), int(length));
}

// Where decoded strips go: rows of the photo's own buffer, converted to
// floats on the 0..255 scale for deep photos.
struct SinkTarget
{
    Photo* photo;
    bool deep;
};

int copyStrip(VipsRegion* region, VipsRect* area, void* target)
{
    auto* sink = static_cast<SinkTarget*>(target);
    for (int y = area->top; y < area->top + area->height; ++y) {
        auto const* from = VIPS_REGION_ADDR(region, area->left, y);
        if (sink->deep) {
            FlexImage<float>& image = sink->photo->deep;
            auto const* samples = reinterpret_cast<unsigned short const*>(from);
            float* to = image.pixelAt(area->left, y);
            size_t const n = size_t(area->width) * size_t(image.channels);
            for (size_t i = 0; i < n; ++i)
                to[i] = float(double(samples[i]) * (1.0 / 257.0));
        } else {
            FlexImage<unsigned char>& image = sink->photo->bytes;
            std::memcpy(image.pixelAt(area->left, y), from, size_t(area->width) * size_t(image.channels));
        }
    }
    return 0;
}

bool decodeInto(VipsRef& image, Photo* photo, bool deep)
{
    int const width = vips_image_get_width(image.get());
    int const height = vips_image_get_height(image.get());
    int const channels = vips_image_get_bands(image.get());
    photo->bytes.clear();
    photo->deep.clear();
    if (deep)
        photo->deep.reshape(width, height, channels);
    else
        photo->bytes.reshape(width, height, channels);
    SinkTarget target{photo, deep};
    return vips_sink_disc(image.get(), copyStrip, &target) == 0;
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

// Opens the photo shrunk while decoding to fit within side pixels, upright
// and in sRGB.
bool openShrunk(QByteArray const& path, int side, VipsRef* image)
{
    return vips_thumbnail(path.constData(), image->out(), side, "height", side, "size", VIPS_SIZE_DOWN,
                          "import_profile", "srgb", "export_profile", "srgb", "fail_on", VIPS_FAIL_ON_ERROR,
                          nullptr) == 0;
}

bool openUpright(QByteArray const& path, VipsRef* image)
{
    VipsRef header(vips_image_new_from_file(path.constData(), "access", VIPS_ACCESS_SEQUENTIAL, "fail_on",
                                            VIPS_FAIL_ON_ERROR, nullptr));
    if (!header.get())
        return false;
    return vips_autorot(header.get(), image->out(), nullptr) == 0;
}

// --- writing -------------------------------------------------------------

// The file a link names, since the result goes there (a relative link is
// taken from the link's folder); any other path as it is.
QByteArray followedLink(QByteArray const& path)
{
    char target[4096];
    ssize_t const length = ::readlink(path.constData(), target, sizeof target - 1);
    if (length <= 0)
        return path;
    QByteArray const named(target, int(length));
    int const slash = path.lastIndexOf('/');
    return named.startsWith('/') || slash < 0 ? named : path.left(slash + 1) + named;
}

mode_t creationMode()
{
    static mode_t const mode = [] {
        mode_t const mask = ::umask(022);
        ::umask(mask);
        return mode_t(0666 & ~mask);
    }();
    return mode;
}

// A temporary file beside the destination, removed unless committed.
class TemporaryOutput
{
public:
    explicit TemporaryOutput(QByteArray const& destination) : destination(destination)
    {
        int const slash = destination.lastIndexOf('/');
        QByteArray const folder = slash < 0 ? QByteArray(".") : destination.left(slash + 1);
        QByteArray const name = destination.mid(slash + 1);
        path = folder + (slash < 0 ? "/." : ".") + name + ".quillmere-XXXXXX";
        fd = ::mkostemp(path.data(), O_CLOEXEC);
        created = fd >= 0;
        if (created)
            ::fchmod(fd, creationMode());
        else
            failure = errno;
    }
    ~TemporaryOutput()
    {
        if (fd >= 0)
            ::close(fd);
        if (created && !committed)
            ::unlink(path.constData());
    }

    int descriptor() const { return fd; }
    int openFailure() const { return failure; }

    // Flushes the file to the disc and puts it in place; the errno on failure.
    int commit()
    {
        if (::fsync(fd) != 0 || ::close(fd) != 0) {
            int const error = errno;
            fd = -1;
            return error;
        }
        fd = -1;
        if (::rename(path.constData(), destination.constData()) != 0)
            return errno;
        committed = true;
        return 0;
    }

private:
    QByteArray destination;
    QByteArray path;
    int fd = -1;
    int failure = 0;
    bool created = false;
    bool committed = false;
};

// Where a saver's bytes go: our temporary file, through calls that keep the
// system's reason for a failure (a full disc says "no space left on
// device"). Seeking and reading back serve the TIFF writer.
class FileTarget
{
public:
    explicit FileTarget(int fd) : fd(fd), target(vips_target_custom_new())
    {
        g_signal_connect(target, "write", G_CALLBACK(&FileTarget::write), this);
        g_signal_connect(target, "read", G_CALLBACK(&FileTarget::read), this);
        g_signal_connect(target, "seek", G_CALLBACK(&FileTarget::seek), this);
        g_signal_connect(target, "end", G_CALLBACK(&FileTarget::end), this);
    }
    FileTarget(FileTarget const&) = delete;
    FileTarget& operator=(FileTarget const&) = delete;
    ~FileTarget() { g_object_unref(target); }

    VipsTarget* get() const { return VIPS_TARGET(target); }
    // The errno of the first failed call, or 0.
    int failure() const { return firstFailure; }

private:
    int fd;
    VipsTargetCustom* target;
    int firstFailure = 0;

    gint64 failed()
    {
        if (firstFailure == 0)
            firstFailure = errno;
        return -1;
    }

    static gint64 write(VipsTargetCustom*, void const* data, gint64 length, FileTarget* self)
    {
        auto const* bytes = static_cast<char const*>(data);
        gint64 done = 0;
        while (done < length) {
            ssize_t const n = ::write(self->fd, bytes + done, size_t(length - done));
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                return self->failed();
            done += n;
        }
        return done;
    }

    static gint64 read(VipsTargetCustom*, void* buffer, gint64 length, FileTarget* self)
    {
        ssize_t n;
        do
            n = ::read(self->fd, buffer, size_t(length));
        while (n < 0 && errno == EINTR);
        return n < 0 ? self->failed() : gint64(n);
    }

    static gint64 seek(VipsTargetCustom*, gint64 offset, int whence, FileTarget* self)
    {
        off_t const at = ::lseek(self->fd, off_t(offset), whence);
        return at < 0 ? self->failed() : gint64(at);
    }

    static int end(VipsTargetCustom*, FileTarget*) { return 0; }
};

// The image in the sample layout a saver of that format takes.
bool prepareForFormat(VipsRef& image, ImageFormat format, bool deep)
{
    VipsRef next;
    bool const keepsSixteenBits = format == ImageFormat::Png || format == ImageFormat::Tiff;
    if (deep) {
        if (keepsSixteenBits) {
            if (vips_linear1(image.get(), next.out(), 257.0, 0.0, nullptr) != 0)
                return false;
            image.replaceWith(next);
            if (vips_cast(image.get(), next.out(), VIPS_FORMAT_USHORT, nullptr) != 0 ||
                vips_copy(next.get(), image.out(), "interpretation", VIPS_INTERPRETATION_RGB16, nullptr) != 0)
                return false;
        } else {
            if (vips_cast(image.get(), next.out(), VIPS_FORMAT_UCHAR, nullptr) != 0)
                return false;
            image.replaceWith(next);
        }
    }
    bool const hasAlpha = vips_image_get_bands(image.get()) == 4 || vips_image_get_bands(image.get()) == 2;
    if (format == ImageFormat::Jpeg && hasAlpha) {
        double white[] = {255.0, 255.0, 255.0};
        VipsArrayDouble* background = vips_array_double_new(white, 3);
        int const flattened = vips_flatten(image.get(), next.out(), "background", background, nullptr);
        vips_area_unref(VIPS_AREA(background));
        if (flattened != 0 || vips_cast(next.get(), image.out(), VIPS_FORMAT_UCHAR, nullptr) != 0)
            return false;
    }
    return true;
}

void attachMetadata(VipsImage* image, PhotoMetadata const& metadata)
{
    auto const attach = [image](char const* name, QByteArray const& blob) {
        if (!blob.isEmpty())
            vips_image_set_blob_copy(image, name, blob.constData(), size_t(blob.size()));
    };
    attach(VIPS_META_EXIF_NAME, metadata.exif);
    attach(VIPS_META_XMP_NAME, metadata.xmp);
    attach(VIPS_META_ICC_NAME, metadata.icc);
    // The pixels are upright: the saver writes this into the EXIF it keeps.
    if (!metadata.exif.isEmpty())
        vips_image_set_int(image, VIPS_META_ORIENTATION, 1);
}

bool save(VipsImage* image, ImageFormat format, VipsTarget* target, PhotoWriteOptions const& options)
{
    gboolean const strip = options.keepMetadata ? FALSE : TRUE;
    int const quality = std::clamp(options.quality, 1, 100);
    switch (format) {
    case ImageFormat::Jpeg:
        return vips_jpegsave_target(image, target, "Q", quality, "strip", strip, "subsample_mode",
                                    quality >= 90 ? VIPS_FOREIGN_SUBSAMPLE_OFF : VIPS_FOREIGN_SUBSAMPLE_AUTO,
                                    nullptr) == 0;
    case ImageFormat::Png:
        return vips_pngsave_target(image, target, "compression", 6, "strip", strip, nullptr) == 0;
    case ImageFormat::Tiff:
        return vips_tiffsave_target(image, target, "compression", VIPS_FOREIGN_TIFF_COMPRESSION_DEFLATE, "strip",
                                    strip, nullptr) == 0;
    case ImageFormat::WebP:
        return vips_webpsave_target(image, target, "Q", quality, "strip", strip, nullptr) == 0;
    case ImageFormat::Unknown:
        break;
    }
    return false;
}

template <typename T>
bool writeSamples(FlexImage<T> const& image, PhotoMetadata const& metadata, QString const& path,
                  PhotoWriteOptions const& options, QString* error)
{
    startImageLibrary();
    ImageFormat const format = imageFormatFor(path);
    if (format == ImageFormat::Unknown) {
        *error = "unknown image format: " + knownImageFormats();
        return false;
    }
    if (!image.pixels || image.width <= 0 || image.height <= 0 || image.channels < 1 || image.channels > 4) {
        *error = "nothing to save: the image is empty";
        return false;
    }
    if (!checkOutputPath(path, error))
        return false;
    QByteArray const destination = followedLink(fileSystemPath(path));
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

    TemporaryOutput output(destination);
    if (output.descriptor() < 0) {
        *error = "cannot write in that folder: " + systemMessage(output.openFailure());
        return false;
    }
    FileTarget target(output.descriptor());
    if (!save(ready.get(), format, target.get(), options)) {
        *error = "cannot write: " + (target.failure() ? systemMessage(target.failure()) : libraryMessage());
        vips_error_clear();
        return false;
    }
    if (int const failure = output.commit()) {
        *error = "cannot write: " + systemMessage(failure);
        return false;
    }
    return true;
}

} // namespace

QByteArray fileSystemPath(QString const& path)
{
    return fileNameToSystem(path);
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
    photo->metadata.exif = blobOf(image.get(), VIPS_META_EXIF_NAME);
    photo->metadata.xmp = blobOf(image.get(), VIPS_META_XMP_NAME);
    photo->metadata.icc = blobOf(image.get(), VIPS_META_ICC_NAME);
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
