#include "extension/ImageBridge.h"

#include <cstdint>

#include "core/SampleMemory.h"

namespace {

bool hasSixteenBitSamples(QImage::Format format)
{
    switch (format) {
    case QImage::Format_RGBX64:
    case QImage::Format_RGBA64:
    case QImage::Format_RGBA64_Premultiplied:
    case QImage::Format_Grayscale16:
        return true;
    default:
        return false;
    }
}

// Gives out the requested shape, keeping a buffer that already has it.
template <typename T>
void shapeLike(FlexImage<T>* out, int width, int height)
{
    int const channels = out->channels > 0 ? out->channels : 3;
    if (out->pixels && out->width == width && out->height == height && out->channels == channels)
        return;
    out->reshape(width, height, out->channels);
    if (channels == 4)
        out->setOpaqueAlpha();
}

template <typename T, typename Sample>
void copySamples(QImage const& source, FlexImage<T>* out, bool copyAlpha, float factor)
{
    int const channels = out->channels;
    int const colours = channels < 3 ? channels : 3;
    for (int y = 0; y < source.height(); ++y) {
        auto const* row = reinterpret_cast<Sample const*>(source.constScanLine(y));
        T* p = out->pixelAt(0, y);
        for (int x = 0; x < source.width(); ++x, row += 4, p += channels) {
            for (int c = 0; c < colours; ++c)
                p[c] = T(float(double(float(row[c])) * double(factor)));
            if (copyAlpha)
                p[3] = T(float(double(float(row[3])) * double(factor)));
        }
    }
}

// 8-bit pixels packed as 0xAARRGGBB (what the JPEG decoder gives): bytes
// become samples by value, with no conversion pass first.
template <typename T>
void copyPackedPixels(QImage const& source, FlexImage<T>* out, bool copyAlpha)
{
    int const channels = out->channels;
    int const colours = channels < 3 ? channels : 3;
    for (int y = 0; y < source.height(); ++y) {
        auto const* row = reinterpret_cast<QRgb const*>(source.constScanLine(y));
        T* p = out->pixelAt(0, y);
        for (int x = 0; x < source.width(); ++x, p += channels) {
            QRgb const pixel = row[x];
            T const rgba[4] = {T(qRed(pixel)), T(qGreen(pixel)), T(qBlue(pixel)), T(qAlpha(pixel))};
            for (int c = 0; c < colours; ++c)
                p[c] = rgba[c];
            if (copyAlpha)
                p[3] = rgba[3];
        }
    }
}

void releaseSampleMemory(void* memory)
{
    freeSampleMemory(memory);
}

} // namespace

template <typename T>
bool flexImageFromQImage(QImage const& image, FlexImage<T>* out)
{
    if (image.isNull() || image.width() <= 0 || image.height() <= 0 || out->channels <= 0)
        return false;
    shapeLike(out, image.width(), image.height());
    bool const copyAlpha = image.hasAlphaChannel() && out->channels > 3;
    if (hasSixteenBitSamples(image.format())) {
        QImage const rgba = image.convertToFormat(QImage::Format_RGBA64);
        copySamples<T, uint16_t>(rgba, out, copyAlpha, float(1.0 / 257.0));
    } else if (image.format() == QImage::Format_RGB32 || image.format() == QImage::Format_ARGB32) {
        copyPackedPixels(image, out, copyAlpha);
    } else {
        copyPackedPixels(image.convertToFormat(QImage::Format_ARGB32), out, copyAlpha);
    }
    return true;
}

template <typename T>
QImage QImageFromFlexImage(FlexImage<T> const* in)
{
    if (!in || !in->pixels || in->width <= 0 || in->height <= 0)
        return QImage();
    // Packed 0xFFRRGGBB, the layout the JPEG and PNG encoders take as it
    // is; the buffer comes from the sample allocator, so a full-size result
    // costs few page faults.
    size_t const pixelCount = size_t(in->width) * size_t(in->height);
    auto* packed = allocateSamples<QRgb>(pixelCount);
    int const channels = in->channels;
    T const* p = in->pixels;
    for (size_t i = 0; i < pixelCount; ++i, p += channels) {
        // Truncation toward zero, low 8 bits kept: no clamping on purpose.
        uint32_t const r = uint8_t(int32_t(p[0]));
        uint32_t const g = uint8_t(int32_t(channels >= 3 ? p[1] : p[0]));
        uint32_t const b = uint8_t(int32_t(channels >= 3 ? p[2] : p[0]));
        packed[i] = 0xff000000u | (r << 16) | (g << 8) | b;
    }
    return QImage(reinterpret_cast<uchar*>(packed), in->width, in->height, in->width * 4, QImage::Format_RGB32,
                  releaseSampleMemory, packed);
}

template bool flexImageFromQImage(QImage const&, FlexImage<float>*);
template bool flexImageFromQImage(QImage const&, FlexImage<unsigned char>*);
template QImage QImageFromFlexImage(FlexImage<float> const*);
template QImage QImageFromFlexImage(FlexImage<unsigned char> const*);
