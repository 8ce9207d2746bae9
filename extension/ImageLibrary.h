#pragma once

// What the image-file and photo-rendering modules share of libvips; only
// this folder (and its tests) includes it. libvips comes first: GLib names
// a struct member "signals", which Qt's headers define as a keyword, so a
// source file includes this header before any other.
#include <vips/vips.h>

#include <functional>

#include <QByteArray>
#include <QString>
#include <QStringList>

#include "extension/ImageFiles.h"

namespace imageLibrary {

// Starts libvips once per process, with the loaders built into it (JPEG,
// PNG, TIFF, WebP, GIF and a few more) but not those of its modules.
void startImageLibrary();

// Loads libvips's modules, the loaders of rarer formats (HEIF, JPEG XL,
// PDF ...), on the first call; true if that call added any.
bool loadRarerFormats();

// Keeps libvips's warnings while an object of it lives on this thread.
class CallWarnings
{
public:
    CallWarnings();
    ~CallWarnings();
    CallWarnings(CallWarnings const&) = delete;
    CallWarnings& operator=(CallWarnings const&) = delete;
    QString first() const { return kept.isEmpty() ? QString() : kept.first(); }

private:
    QStringList kept;
};

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
QString libraryMessage(CallWarnings const* warnings = nullptr);

// The system's reason for errno error, starting in lower case.
QString systemMessage(int error);

bool isDeepSource(VipsImage* image);

// Turns the image into sRGB (16 bits when deep): through its own colour
// profile when it has one (CMYK without one goes through a generic CMYK
// profile), else by the plain colour-space rules.
bool toSrgb(VipsRef& image, bool deep);

// The EXIF, XMP and colour profile an image carries.
PhotoMetadata metadataOf(VipsImage* image);

// Decodes the whole image into the photo's 8-bit or deep buffer.
bool decodeInto(VipsRef& image, Photo* photo, bool deep);

// Opens the photo upright. Photos are read top to bottom as they decode,
// except one that must be turned (its orientation is neither upright nor
// mirrored left to right), or that the caller will read out of order:
// those are decoded whole first.
bool openUpright(QByteArray const& path, VipsRef* image, bool outOfOrder = false);

// The file a link names, since the result goes there (a relative link is
// taken from the link's folder); any other path as it is.
QByteArray followedLink(QByteArray const& path);

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
bool prepareForFormat(VipsRef& image, ImageFormat format, bool deep);

void attachMetadata(VipsImage* image, PhotoMetadata const& metadata);

// Why a save failed: the system's reason when the file could not take the
// bytes, else the library's.
QString saveFailure(FileTarget const& target);

// Saves image (in the layout prepareForFormat made) to destination
// atomically. A failure of the save itself is left to whyFailed, which may
// know better than the saver what went wrong. Before a finished file is put
// in place, lateFailure (when given) may still refuse it with a reason: an
// error upstream that the saver did not see.
bool saveAtomically(VipsImage* image, ImageFormat format, QByteArray const& destination,
                    PhotoWriteOptions const& options, QString* error,
                    std::function<QString(FileTarget const&)> const& whyFailed = saveFailure,
                    std::function<QString()> const& lateFailure = nullptr);

// The checks every write makes before anything is encoded.
bool checkDestination(QString const& path, ImageFormat* format, QString* error);

} // namespace imageLibrary
