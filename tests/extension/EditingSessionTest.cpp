#include <gtest/gtest.h>

#include <QDir>
#include <QImage>
#include <QImageReader>
#include <QTemporaryDir>

#include <cstdlib>

#include "extension/EditingSession.h"
#include "extension/ImageBridge.h"
#include "extension/ImageFiles.h"
#include "support/PhotoFiles.h"

namespace {

// A photo-like test picture: smooth colour ramps.
QImage gradient(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB888);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixelColor(x, y, QColor(x * 255 / width, y * 255 / height, 128));
    return image;
}

QString savePhoto(QTemporaryDir const& dir, QImage const& image)
{
    QString const path = dir.filePath("photo.jpg");
    QString error;
    EXPECT_TRUE(saveTestPicture(image, path, 100, &error)) << error.toStdString();
    return path;
}

} // namespace

TEST(EditingSession, ThumbnailSourceTakesTheNearestSampleAtEachStep)
{
    // 160 x 100 to 80 x 50: steps of 2, so thumbnail (x, y) is display (2x, 2y).
    FlexImage<float> display(160, 100, 3);
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 160; ++x) {
            display.pixelAt(x, y)[0] = float(x);
            display.pixelAt(x, y)[1] = float(y);
            display.pixelAt(x, y)[2] = 0.0f;
        }
    FlexImage<float> thumb;
    EditingSession::makeThumbnailSource(display, &thumb, 80, 50);
    ASSERT_EQ(thumb.width, 80);
    ASSERT_EQ(thumb.height, 50);
    EXPECT_EQ(thumb.pixelAt(79, 49)[0], 158.0f);
    EXPECT_EQ(thumb.pixelAt(79, 49)[1], 98.0f);
    // 100 x 30 to 80 x 50: x steps of 1.25 (3 x 1.25 = 3.75 -> 3), y of 0.6
    // (5 x 0.6 = 3.0 in exact terms, 2.9999 in float: the 0.01 makes it 3).
    FlexImage<float> odd(100, 30, 3);
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 100; ++x)
            odd.pixelAt(x, y)[0] = float(x + 1000 * y);
    EditingSession::makeThumbnailSource(odd, &thumb, 80, 50);
    EXPECT_EQ(thumb.pixelAt(3, 5)[0], 3.0f + 3000.0f);
    EXPECT_EQ(thumb.pixelAt(4, 0)[0], 5.0f);
}

TEST(EditingSession, ThumbnailsChoiceAndFinishedPhoto)
{
    QTemporaryDir dir;
    QImage const photo = gradient(300, 200);
    QString const path = savePhoto(dir, photo);
    EditingSession session;
    session.loadStandardPresets();
    QString error;
    ASSERT_TRUE(session.start(photo.scaled(150, 100), path, &error)) << error.toStdString();
    ASSERT_GT(session.presetCount(), 0);
    for (int i = 0; i < session.presetCount(); ++i) {
        QImage const thumbnail = session.renderThumbnail(i);
        EXPECT_EQ(thumbnail.size(), QSize(80, 50));
    }
    EXPECT_EQ(session.choosePreset(0).size(), QSize(150, 100));
    EXPECT_EQ(session.currentMod, session.preset(0));

    AdjustmentData adjustment;
    adjustment.formatIdentifier.clear();
    QString const out = dir.filePath("out.jpg");
    ASSERT_TRUE(session.finish(out, 100, &adjustment, &error)) << error.toStdString();
    EXPECT_EQ(adjustment.formatIdentifier, "AdjustmentDataIdentifier");
    EXPECT_EQ(adjustment.formatVersion, "1.0");
    EXPECT_TRUE(adjustment.data.isEmpty());
    QImage const saved = loadTestPicture(out);
    EXPECT_EQ(saved.size(), QSize(300, 200));
    EXPECT_EQ(QImageReader(out).format(), "jpeg");
}

TEST(EditingSession, FinishingWithoutAChoiceSavesThePhotoUnedited)
{
    QTemporaryDir dir;
    QImage const photo = gradient(120, 80);
    QString const path = savePhoto(dir, photo);
    EditingSession session;
    QString error;
    ASSERT_TRUE(session.openPhoto(path, 64, &error));
    QString const out = dir.filePath("same.jpg");
    ASSERT_TRUE(session.finish(out, 100, nullptr, &error));
    QImage const saved = loadTestPicture(out);
    QImage const original = loadTestPicture(path);
    int worst = 0;
    for (int y = 0; y < 80; ++y)
        for (int x = 0; x < 120 * 3; ++x)
            worst = std::max(worst, std::abs(int(saved.constScanLine(y)[x]) - int(original.constScanLine(y)[x])));
    EXPECT_LE(worst, 4); // JPEG at quality 100 twice
}

TEST(EditingSession, UnreadablePhotosAreReportedAndLeaveNothing)
{
    QTemporaryDir dir;
    EditingSession session;
    QString error;
    EXPECT_FALSE(session.openPhoto(dir.filePath("missing.jpg"), 64, &error));
    EXPECT_EQ(error, "no such file");
    session.maxMegapixels = 0.001;
    QString const path = savePhoto(dir, gradient(60, 40));
    EXPECT_FALSE(session.openPhoto(path, 64, &error));
    EXPECT_TRUE(error.contains("more than the limit")) << error.toStdString();
    EXPECT_FALSE(saveTestPicture(gradient(4, 4), dir.filePath("no/such/folder/x.jpg"), 90, &error));
    EXPECT_EQ(error, "folder does not exist");
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files).size(), 1);
}
