// libvips comes first: GLib names a struct member "signals", which Qt's
// headers define as a keyword.
#include <vips/vips.h>

#include "extension/ImageFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <functional>
#include <mutex>
#include <utility>

#include <QFileInfo>
#include <QStringList>

#include "extension/FileNames.h"
#include "mods/ImageModderBands.h"

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

// Opens the photo shrunk while decoding to fit within side pixels, upright.
// Colour is left to toSrgb, which converts only photos that need it.
bool openShrunk(QByteArray const& path, int side, VipsRef* image)
{
    return vips_thumbnail(path.constData(), image->out(), side, "height", side, "size", VIPS_SIZE_DOWN, "fail_on",
                          VIPS_FAIL_ON_ERROR, nullptr) == 0;
}

// Opens the photo upright. Photos are read top to bottom as they decode,
// except one that must be turned (its orientation is neither upright nor
// mirrored left to right): turning reads out of order, so it is decoded
// whole first.
bool openUpright(QByteArray const& path, VipsRef* image)
{
    VipsRef header(vips_image_new_from_file(path.constData(), "access", VIPS_ACCESS_SEQUENTIAL, "fail_on",
                                            VIPS_FAIL_ON_ERROR, nullptr));
    if (!header.get())
        return false;
    int orientation = 1;
    if (vips_image_get_typeof(header.get(), VIPS_META_ORIENTATION))
        vips_image_get_int(header.get(), VIPS_META_ORIENTATION, &orientation);
    if (orientation > 2)
        header.reset(vips_image_new_from_file(path.constData(), "access", VIPS_ACCESS_RANDOM, "fail_on",
                                              VIPS_FAIL_ON_ERROR, nullptr));
    return header.get() && vips_autorot(header.get(), image->out(), nullptr) == 0;
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
                    std::function<QString(FileTarget const&)> const& whyFailed = saveFailure)
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

// --- rendering while streaming ---------------------------------------------

// One render of a chain over a photo as libvips pulls it through: the image
// the saver reads is made band by band from the decoded photo.
struct StreamedRender
{
    ImageModderBands* bands;
    VipsImage* photo;
    std::atomic<int> rowsDone{0};
    std::atomic<bool> cancelled{false};
    std::atomic<bool> photoFailed{false};
    std::mutex firstMessageLock;
    QString firstPhotoMessage;
};

template <typename T>
void wrapRows(VipsRegion* region, VipsRect const& area, FlexImage<T>* image)
{
    image->clear();
    image->ownsPixels = false;
    image->pixels = reinterpret_cast<T*>(VIPS_REGION_ADDR(region, area.left, area.top));
    image->width = area.width;
    image->height = area.height;
    image->channels = region->im->Bands;
}

bool isContiguous(VipsRegion* region, VipsRect const& area)
{
    return size_t(VIPS_REGION_LSKIP(region)) == size_t(area.width) * VIPS_IMAGE_SIZEOF_PEL(region->im);
}

template <typename T>
int renderRows(VipsRegion* out, VipsRegion* in, StreamedRender* render)
{
    VipsRect const& wanted = out->valid;
    int const width = render->photo->Xsize;
    int const height = render->photo->Ysize;
    int const halo = render->bands->haloRadius();
    int const top = std::max(0, wanted.top - halo);
    VipsRect context{0, top, width, std::min(height, wanted.top + wanted.height + halo) - top};
    if (render->cancelled)
        return -1;
    if (vips_region_prepare(in, &context) != 0) {
        std::lock_guard<std::mutex> guard(render->firstMessageLock);
        if (!render->photoFailed.exchange(true))
            render->firstPhotoMessage = QString::fromUtf8(vips_error_buffer()).trimmed();
        return -1;
    }
    FlexImage<T> window;
    FlexImage<T> copied;
    if (isContiguous(in, context)) {
        wrapRows(in, context, &window);
    } else {
        window.reshape(width, context.height, in->im->Bands);
        for (int y = 0; y < context.height; ++y)
            std::memcpy(window.pixelAt(0, y), VIPS_REGION_ADDR(in, 0, context.top + y),
                        size_t(width) * VIPS_IMAGE_SIZEOF_PEL(in->im));
    }
    // The band is rendered across the whole width; a narrower request (the
    // savers ask for whole rows) takes its part of it.
    VipsRect const rows{0, wanted.top, width, wanted.height};
    FlexImage<T> band;
    bool const direct = wanted.left == 0 && wanted.width == width && isContiguous(out, rows);
    if (direct)
        wrapRows(out, rows, &band);
    else
        band.reshape(width, wanted.height, window.channels);
    render->bands->renderBand(window, context.top, wanted.top, &band);
    if (!direct)
        for (int y = 0; y < wanted.height; ++y)
            std::memcpy(VIPS_REGION_ADDR(out, wanted.left, wanted.top + y), band.pixelAt(wanted.left, y),
                        size_t(wanted.width) * VIPS_IMAGE_SIZEOF_PEL(out->im));
    render->rowsDone.fetch_add(wanted.height, std::memory_order_relaxed);
    return 0;
}

int generateRows(VipsRegion* out, void* sequence, void*, void* renderArgument, gboolean*)
{
    auto* in = static_cast<VipsRegion*>(sequence);
    auto* render = static_cast<StreamedRender*>(renderArgument);
    return vips_image_get_format(render->photo) == VIPS_FORMAT_FLOAT ? renderRows<float>(out, in, render)
                                                                     : renderRows<unsigned char>(out, in, render);
}

// The rendered photo as an image the saver can pull, in bands of the
// renderer's height (a line cache hands the saver's smaller strips out of
// them).
bool renderedImage(StreamedRender* render, VipsRef* result)
{
    VipsRef generated(vips_image_new());
    if (vips_image_pipelinev(generated.get(), VIPS_DEMAND_STYLE_FATSTRIP, render->photo, nullptr) != 0 ||
        vips_image_generate(generated.get(), vips_start_one, generateRows, vips_stop_one, render->photo,
                            render) != 0)
        return false;
    return vips_linecache(generated.get(), result->out(), "tile_height", render->bands->bandHeight(), "access",
                          VIPS_ACCESS_SEQUENTIAL, "threaded", TRUE, nullptr) == 0;
}

// Reports progress on the calling thread: libvips signals its evaluation
// there while the saver's workers pull the bands.
void reportProgress(VipsImage*, VipsProgress*, gpointer data)
{
    auto* context = static_cast<std::pair<StreamedRender*, RenderProgress const*>*>(data);
    StreamedRender* render = context->first;
    float const done = float(render->rowsDone.load(std::memory_order_relaxed)) / float(render->photo->Ysize);
    if (!(*context->second)(std::min(done, 1.0f)))
        render->cancelled = true;
}

// Opens the photo for streaming: upright, in sRGB, as 8-bit samples or, for
// deeper sources, floats on the 0..255 scale.
bool openForStreaming(QByteArray const& path, VipsRef* image, bool* deep)
{
    if (!openUpright(path, image))
        return false;
    *deep = isDeepSource(image->get());
    if (!toSrgb(*image, *deep))
        return false;
    if (*deep) {
        VipsRef scaled;
        if (vips_linear1(image->get(), scaled.out(), 1.0 / 257.0, 0.0, nullptr) != 0)
            return false;
        image->replaceWith(scaled);
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

bool renderPhotoFile(QString const& photoPath, ImageMod* mod, QString const& outputPath,
                     PhotoWriteOptions const& options, double maxMegapixels, RenderFailure* failure,
                     RenderProgress const& progress)
{
    failure->photoAtFault = true;
    if (!checkPhotoSize(photoPath, maxMegapixels, &failure->reason))
        return false;
    failure->photoAtFault = false;
    ImageFormat format;
    if (!checkDestination(outputPath, &format, &failure->reason))
        return false;

    vips_error_clear();
    CallWarnings warnings;
    VipsRef photo;
    bool deep = false;
    if (!openForStreaming(fileSystemPath(photoPath), &photo, &deep)) {
        failure->photoAtFault = true;
        failure->reason = "damaged or truncated image data (" + libraryMessage(&warnings) + ")";
        return false;
    }
    GrowArray<ImageMod*> chain;
    if (mod)
        chain.add(mod);
    ImageModderBands bands(chain, photo.get()->Xsize, photo.get()->Ysize);
    StreamedRender render;
    render.bands = &bands;
    render.photo = photo.get();
    VipsRef ready;
    if (!renderedImage(&render, &ready) || !prepareForFormat(ready, format, deep)) {
        failure->reason = "cannot encode: " + libraryMessage();
        return false;
    }
    if (options.keepMetadata)
        attachMetadata(ready.get(), metadataOf(photo.get()));

    std::pair<StreamedRender*, RenderProgress const*> progressContext(&render, &progress);
    if (progress) {
        vips_image_set_progress(ready.get(), TRUE);
        g_signal_connect(ready.get(), "eval", G_CALLBACK(reportProgress), &progressContext);
    }
    auto const whyFailed = [&](FileTarget const& target) {
        if (render.cancelled)
            return QString("cancelled; nothing was saved");
        if (render.photoFailed) {
            failure->photoAtFault = true;
            vips_error_clear();
            QString const message = render.firstPhotoMessage.section('\n', -1).trimmed();
            return "damaged or truncated image data (" +
                   (message.isEmpty() ? libraryMessage(&warnings) : message) + ")";
        }
        return saveFailure(target);
    };
    return saveAtomically(ready.get(), format, followedLink(fileSystemPath(outputPath)), options, &failure->reason,
                          whyFailed);
}
