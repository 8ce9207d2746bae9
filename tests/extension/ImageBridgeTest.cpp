#include <gtest/gtest.h>

#include <QImage>
#include <QTemporaryDir>

#include "extension/ImageBridge.h"
#include "extension/ImageFiles.h"

TEST(ImageBridge, SixteenBitSamplesAreDividedBy257)
{
    QImage deep(2, 1, QImage::Format_RGBA64);
    reinterpret_cast<quint16*>(deep.scanLine(0))[0] = 65535;
    reinterpret_cast<quint16*>(deep.scanLine(0))[1] = 257;
    reinterpret_cast<quint16*>(deep.scanLine(0))[2] = 0;
    reinterpret_cast<quint16*>(deep.scanLine(0))[3] = 65535;
    FlexImage<float> out;
    ASSERT_TRUE(flexImageFromQImage(deep, &out));
    EXPECT_EQ(out.pixels[0], 255.0f);
    EXPECT_EQ(out.pixels[1], 1.0f);
    EXPECT_EQ(out.pixels[2], 0.0f);
}

TEST(ImageBridge, EightBitSamplesCopyUnchangedAndAlphaStartsOpaque)
{
    QImage rgb(3, 2, QImage::Format_RGB888);
    rgb.fill(QColor(200, 17, 3));
    FlexImage<float> out;
    out.channels = 4;
    ASSERT_TRUE(flexImageFromQImage(rgb, &out));
    ASSERT_EQ(out.width, 3);
    ASSERT_EQ(out.height, 2);
    float const* last = out.pixelAt(2, 1);
    EXPECT_EQ(last[0], 200.0f);
    EXPECT_EQ(last[1], 17.0f);
    EXPECT_EQ(last[2], 3.0f);
    EXPECT_EQ(last[3], 255.0f);
    // An image that already has the shape keeps its buffer.
    float* const buffer = out.pixels;
    ASSERT_TRUE(flexImageFromQImage(rgb, &out));
    EXPECT_EQ(out.pixels, buffer);
    EXPECT_FALSE(flexImageFromQImage(QImage(), &out));
}

TEST(ImageBridge, WayBackTruncatesAndWraps)
{
    FlexImage<float> in(2, 1, 3);
    float const samples[] = {255.9f, 256.0f, 0.5f, 1.0f, 127.99f, -1.0f};
    std::copy(samples, samples + 6, in.pixels);
    QImage const image = QImageFromFlexImage(&in);
    ASSERT_EQ(image.width(), 2);
    QRgb const first = image.pixel(0, 0);
    QRgb const second = image.pixel(1, 0);
    EXPECT_EQ(qRed(first), 255);
    EXPECT_EQ(qGreen(first), 0); // 256 wraps
    EXPECT_EQ(qBlue(first), 0);
    EXPECT_EQ(qRed(second), 1);
    EXPECT_EQ(qGreen(second), 127);
    EXPECT_EQ(qBlue(second), 255); // -1 wraps
    EXPECT_EQ(qAlpha(second), 255);
}
