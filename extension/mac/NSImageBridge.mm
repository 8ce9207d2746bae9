#include "extension/mac/NSImageBridge.h"

#include <cstdint>
#include <cstring>

namespace {

constexpr NSUInteger floatSamplesFlag = 1u << 2; // NSBitmapFormatFloatingPointSamples

template <typename T>
void reshapeKeepingChannels(FlexImage<T>* out, int width, int height)
{
    int const channels = out->channels > 0 ? out->channels : 3;
    if (out->width == width && out->height == height && out->channels == channels)
        return;
    int const kept = out->channels; // a non-positive count stays, and the image gets no pixels
    out->reshape(width, height, kept);
    if (kept == 4)
        for (size_t i = 3; i < out->sampleCount(); i += 4)
            out->pixels[i] = T(255);
}

} // namespace

template <typename T>
bool flexImageFromNSImage(NSImage* image, FlexImage<T>* out)
{
    NSBitmapImageRep* rep = [NSBitmapImageRep imageRepWithData:[image TIFFRepresentation]];
    int const width = int(rep.pixelsWide);
    int const height = int(rep.pixelsHigh);
    if (width <= 0 || height <= 0)
        return false;
    reshapeKeepingChannels(out, width, height);
    if (out->channels <= 0 || !out->pixels)
        return false;

    unsigned char const* data = rep.bitmapData;
    NSInteger const rowBytes = rep.bytesPerRow;
    NSInteger const pixelBytes = rep.bitsPerPixel / 8;
    NSInteger const bits = rep.bitsPerSample;
    bool const floatSamples = (rep.bitmapFormat & floatSamplesFlag) != 0;
    bool const copyAlpha = rep.hasAlpha && out->channels > 3;
    int const copied = copyAlpha ? 4 : 3;
    if (floatSamples || (bits != 8 && bits != 16))
        return false;

    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            unsigned char const* source = data + y * rowBytes + x * pixelBytes;
            T* target = out->pixelAt(x, y);
            for (int c = 0; c < copied && c < out->channels; ++c) {
                if (bits == 8) {
                    target[c] = T(source[c]);
                } else {
                    uint16_t sample;
                    std::memcpy(&sample, source + 2 * c, 2);
                    target[c] = T(float(double(float(sample)) * 0.0038910505836575876));
                }
            }
        }
    return true;
}

template <typename T>
NSImage* NSImageFromFlexImage(FlexImage<T>* in)
{
    int const width = in->width;
    int const height = in->height;
    int const channels = in->channels;
    int const copyCount = channels >= 4 ? 4 : channels;
    NSMutableData* buffer = [NSMutableData dataWithLength:size_t(width) * size_t(height) * 4];
    auto* bytes = static_cast<unsigned char*>(buffer.mutableBytes);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            T const* source = in->pixelAt(x, y);
            unsigned char* target = bytes + (size_t(y) * width + x) * 4;
            for (int c = 0; c < copyCount; ++c)
                target[c] = static_cast<unsigned char>(static_cast<int>(source[c]) & 0xff);
            if (channels < 4)
                target[3] = 255;
        }

    CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
    CGContextRef context = CGBitmapContextCreate(bytes, width, height, 8, size_t(width) * 4, space,
                                                 kCGImageAlphaNoneSkipLast);
    CGImageRef picture = CGBitmapContextCreateImage(context); // copies the buffer
    NSImage* result = [[NSImage alloc] initWithCGImage:picture size:NSMakeSize(width, height)];
    CGImageRelease(picture);
    CGContextRelease(context);
    CGColorSpaceRelease(space);
    return result;
}

template bool flexImageFromNSImage(NSImage*, FlexImage<float>*);
template NSImage* NSImageFromFlexImage(FlexImage<float>*);
