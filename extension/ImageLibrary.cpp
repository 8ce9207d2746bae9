#include "extension/ImageLibrary.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>

#include <QFileInfo>

#include <gmodule.h>

namespace imageLibrary {

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
        // The fastest deflate level: photographs and contact sheets come out
        // within a few percent of the slowest level's size, in a fraction of
        // its time.
        return vips_pngsave_target(image, target, "compression", 1, "strip", strip, nullptr) == 0;
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

} // namespace

CallWarnings::CallWarnings()
{
    warningsOfThisCall = &kept;
}

CallWarnings::~CallWarnings()
{
    warningsOfThisCall = nullptr;
}

#ifndef QUILLMERE_VIPS_LIBDIR
#define QUILLMERE_VIPS_LIBDIR "/usr/lib"
#endif

// libvips loads every module in its home's library folder as it starts.
// They bring some hundred shared libraries more (a general imaging library
// among them): about 40 ms of every run, a tenth of rendering a 24 MP
// photo, though photos mostly come in the formats built into libvips. So
// it is given a home of its own, the tool's shared folder, which has no
// modules (nor translations: its messages stay in English, like the
// tool's), and the modules are loaded where they are installed, the first
// time a file is in no built-in format. A home the user set is kept; the
// one set here is taken back once libvips has read it, so that programs
// this one starts (a libvips tool, say) still find their modules.
void startImageLibrary()
{
    static std::once_flag started;
    std::call_once(started, [] {
        bool const homeSetHere = !g_getenv("VIPSHOME");
        if (homeSetHere)
            g_setenv("VIPSHOME", QUILLMERE_DATA_DIR, TRUE);
        vips_init("quillmere");
        if (homeSetHere)
            g_unsetenv("VIPSHOME");
        // Every photo is read once: cached operations would only hold memory.
        vips_cache_set_max(0);
        g_log_set_handler("VIPS", GLogLevelFlags(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_MESSAGE), keepOrDropWarning,
                          nullptr);
    });
}

bool loadRarerFormats()
{
    static std::once_flag loaded;
    bool added = false;
    std::call_once(loaded, [&added] {
        startImageLibrary();
        QByteArray const folder =
            QByteArray(QUILLMERE_VIPS_LIBDIR "/vips-modules-") + QByteArray::number(vips_version(0)) + '.' +
            QByteArray::number(vips_version(1));
        GDir* const modules = g_dir_open(folder.constData(), 0, nullptr);
        if (!modules)
            return;
        while (gchar const* name = g_dir_read_name(modules)) {
            if (!g_str_has_suffix(name, "." G_MODULE_SUFFIX))
                continue;
            QByteArray const path = folder + '/' + name;
            // Kept for the rest of the process: the loaders it registers
            // live in it.
            if (GModule* const module = g_module_open(path.constData(), G_MODULE_BIND_LAZY)) {
                g_module_make_resident(module);
                added = true;
            }
        }
        g_dir_close(modules);
    });
    return added;
}

// The last line of libvips's last message, without the operation's name:
// "VipsJpeg: Premature end of input file" becomes "premature end of input
// file". Without one, the first warning of the call explains the failure.
QString libraryMessage(CallWarnings const* warnings)
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

PhotoMetadata metadataOf(VipsImage* image)
{
    PhotoMetadata metadata;
    metadata.exif = blobOf(image, VIPS_META_EXIF_NAME);
    metadata.xmp = blobOf(image, VIPS_META_XMP_NAME);
    metadata.icc = blobOf(image, VIPS_META_ICC_NAME);
    return metadata;
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

// Opens the photo upright. Photos are read top to bottom as they decode,
// except one that must be turned (its orientation is neither upright nor
// mirrored left to right), or that the caller will read out of order:
// those are decoded whole first.
bool openUpright(QByteArray const& path, VipsRef* image, bool outOfOrder)
{
    VipsRef header(vips_image_new_from_file(path.constData(), "access", VIPS_ACCESS_SEQUENTIAL, "fail_on",
                                            VIPS_FAIL_ON_ERROR, nullptr));
    if (!header.get())
        return false;
    int orientation = 1;
    if (vips_image_get_typeof(header.get(), VIPS_META_ORIENTATION))
        vips_image_get_int(header.get(), VIPS_META_ORIENTATION, &orientation);
    if (orientation > 2 || outOfOrder)
        header.reset(vips_image_new_from_file(path.constData(), "access", VIPS_ACCESS_RANDOM, "fail_on",
                                              VIPS_FAIL_ON_ERROR, nullptr));
    return header.get() && vips_autorot(header.get(), image->out(), nullptr) == 0;
}

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

// Why a save failed: the system's reason when the file could not take the
// bytes, else the library's.
QString saveFailure(FileTarget const& target)
{
    return "cannot write: " + (target.failure() ? systemMessage(target.failure()) : libraryMessage());
}

// Saves image (in the layout prepareForFormat made) to destination
// atomically. A failure of the save itself is left to whyFailed, which may
// know better than the saver what went wrong.
bool saveAtomically(VipsImage* image, ImageFormat format, QByteArray const& destination,
                    PhotoWriteOptions const& options, QString* error,
                    std::function<QString(FileTarget const&)> const& whyFailed,
                    std::function<QString()> const& lateFailure)
{
    TemporaryOutput output(destination);
    if (output.descriptor() < 0) {
        *error = "cannot write in that folder: " + systemMessage(output.openFailure());
        return false;
    }
    FileTarget target(output.descriptor());
    if (!save(image, format, target.get(), options)) {
        *error = whyFailed(target);
        vips_error_clear();
        return false;
    }
    if (lateFailure && !(*error = lateFailure()).isEmpty())
        return false;
    if (int const failure = output.commit()) {
        *error = "cannot write: " + systemMessage(failure);
        return false;
    }
    return true;
}

// The checks every write makes before anything is encoded.
bool checkDestination(QString const& path, ImageFormat* format, QString* error)
{
    *format = imageFormatFor(path);
    if (*format == ImageFormat::Unknown) {
        *error = "unknown image format: " + knownImageFormats();
        return false;
    }
    return checkOutputPath(path, error);
}

} // namespace imageLibrary
