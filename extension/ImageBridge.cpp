#include "extension/ImageBridge.h"

#include <cstdint>

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
    } else {
        QImage const rgba = image.convertToFormat(QImage::Format_RGBA8888);
        copySamples<T, uint8_t>(rgba, out, copyAlpha, 1.0f);
    }
    return true;
}

template <typename T>
QImage QImageFromFlexImage(FlexImage<T> const* in)
{
    if (!in || !in->pixels || in->width <= 0 || in->height <= 0)
        return QImage();
    QImage image(in->width, in->height, QImage::Format_RGBX8888);
    // The fourth byte of an RGBX image is ignored, so only colour is copied.
    int const colours = in->channels >= 3 ? 3 : in->channels;
    for (int y = 0; y < in->height; ++y) {
        uint8_t* row = image.scanLine(y);
        T const* p = in->pixelAt(0, y);
        for (int x = 0; x < in->width; ++x, row += 4, p += in->channels) {
            for (int c = 0; c < colours; ++c)
                row[c] = uint8_t(int32_t(p[c]));
            for (int c = colours; c < 3; ++c)
                row[c] = uint8_t(int32_t(p[0])); // grey images spread their one channel
            row[3] = 255;
        }
    }
    return image;
}

template bool flexImageFromQImage(QImage const&, FlexImage<float>*);
template bool flexImageFromQImage(QImage const&, FlexImage<unsigned char>*);
template QImage QImageFromFlexImage(FlexImage<float> const*);
template QImage QImageFromFlexImage(FlexImage<unsigned char> const*);
