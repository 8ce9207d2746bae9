#pragma once

#include <QByteArray>
#include <QString>

#include "imaging/FlexImage.h"

// Image files, read and written through libvips: photos come in upright and
// in sRGB (the filters assume it), results go out whole or not at all.
// Every failure comes back as one sentence naming the reason; the caller
// adds the file.

// The largest picture read unless the caller allows more, in megapixels.
inline constexpr double defaultMaxMegapixels = 250.0;

// What a photo carries beside its pixels, kept for the result: EXIF (whose
// orientation is reset on writing, since the pixels were turned upright),
// XMP and the colour profile (sRGB's, once a profiled photo is converted).
struct PhotoMetadata
{
    QByteArray exif;
    QByteArray xmp;
    QByteArray icc;
};

// A decoded photo: 8-bit samples, or floats on the 0..255 scale for sources
// of more than 8 bits, so that they keep their precision. Three channels,
// or four with alpha last.
struct Photo
{
    FlexImage<unsigned char> bytes;
    FlexImage<float> deep;
    PhotoMetadata metadata;

    bool isDeep() const { return deep.pixels != nullptr; }
    int width() const { return isDeep() ? deep.width : bytes.width; }
    int height() const { return isDeep() ? deep.height : bytes.height; }
};

struct PhotoReadOptions
{
    double maxMegapixels = defaultMaxMegapixels;
    // When positive, the photo is decoded shrunk to fit a square of this
    // side (a JPEG shrinks while it decodes, much faster than decoding it
    // whole), and always to 8 bits.
    int fitWithin = 0;
};

// Decodes the photo at path. Its size is checked against the limit from the
// header, before any pixel is decoded; a damaged or truncated file is
// refused rather than returned half grey.
bool readPhoto(QString const& path, PhotoReadOptions const& options, Photo* photo, QString* error);

// Makes every format libvips can read available at once, for a process that
// may share libvips with other code (the Python module): the tools load the
// rarer formats only when a photo needs one, which saves them the time that
// loading takes, but other users of libvips in the process would not see
// those formats until then.
void loadEveryImageFormat();

// The size the header of the file at path gives, without decoding it.
bool readPhotoSize(QString const& path, int* width, int* height, QString* error);
// Whether the file is an image within the megapixel limit, from its header.
bool checkPhotoSize(QString const& path, double maxMegapixels, QString* error);

struct PhotoWriteOptions
{
    int quality = 100; // JPEG and WebP; no chroma subsampling from 90 up
    // Whether the user chose the quality: then it stands, else a preset's
    // output size may set it.
    bool qualityChosen = false;
    bool keepMetadata = true;
};

// The formats a result can be written in, by the file's extension.
enum class ImageFormat { Unknown, Jpeg, Png, Tiff, WebP };
ImageFormat imageFormatFor(QString const& path);
// One sentence naming the formats, for a refusal.
QString knownImageFormats();

// Whether path may receive a result: absent, or a regular file (never a
// device, FIFO or folder), in a folder that exists.
bool checkOutputPath(QString const& path, QString* error);

// Writes the image atomically in the format its extension names: into a
// temporary file in the same folder, renamed over path only once complete
// and flushed. On failure nothing is left behind and path is untouched. A
// deep image is written with 16 bits a sample where the format has them.
bool writePhoto(FlexImage<unsigned char> const& image, PhotoMetadata const& metadata, QString const& path,
                PhotoWriteOptions const& options, QString* error);
bool writePhoto(FlexImage<float> const& image, PhotoMetadata const& metadata, QString const& path,
                PhotoWriteOptions const& options, QString* error);

// Reads the image file at path for a watermark: upright, in sRGB, 8-bit
// with its alpha, scaled to fit within boxWidth x boxHeight with its aspect
// kept (up or down). False when it cannot be read.
bool loadOverlayImage(GrowString const& path, int boxWidth, int boxHeight, FlexImage<unsigned char>* overlay);

// The path as the bytes the file system knows it by.
QByteArray fileSystemPath(QString const& path);
