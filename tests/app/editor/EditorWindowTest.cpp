// The desktop editor driven as a person would, on Qt's offscreen platform:
// opening, the strip of looks, clicks, sliders, Compare and saving.
#include <gtest/gtest.h>

#include <functional>

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSlider>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include "app/editor/EditorWindow.h"
#include "app/editor/ThumbnailStrip.h"
#include "extension/ImageBridge.h"
#include "support/PhotoFiles.h"

namespace {

QString samplePhoto()
{
    return QString(QUILLMERE_SOURCE_RESOURCES) + "/samples/seeding.jpg";
}

// Lets the window's event loop run until done() holds (or a minute passes).
bool waitFor(std::function<bool()> const& done)
{
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() > 60000)
            return false;
        QTest::qWait(5);
    }
    return true;
}

// Pixel equality of two pictures, whatever formats they came in.
bool samePixels(QImage const& a, QImage const& b)
{
    return !a.isNull() && a.convertToFormat(QImage::Format_RGB888) == b.convertToFormat(QImage::Format_RGB888);
}

class Editor : public ::testing::Test
{
protected:
    EditorWindow window{nullptr};

    void openAndSettle(QString const& path)
    {
        window.openPhoto(path);
        ASSERT_TRUE(waitFor([this] { return !window.isBusy() && (window.isPhotoOpen() || !window.errorText().isEmpty()); }));
    }

    void settle() { ASSERT_TRUE(waitFor([this] { return !window.isBusy(); })); }

    // Preset index as rendered by the session over the display image,
    // worked out apart from the window.
    QImage sessionRender(int presetIndex, float amount = 1.0f)
    {
        EditingSession& session = window.editingSession();
        std::unique_ptr<ImageMod> look(EditingSession::adjustedCopy(*session.preset(presetIndex), amount));
        FlexImage<float> out;
        EditingSession::render(look.get(), &session.displayImageOriginal, &out);
        return QImageFromFlexImage(&out);
    }

    QImage originalPicture() { return QImageFromFlexImage(&window.editingSession().displayImageOriginal); }

    void click(int index) { QTest::mouseClick(window.thumbnailStrip()->button(index), Qt::LeftButton); }
};

TEST_F(Editor, TheStripHoldsOriginalThenEveryPresetInLibraryOrder)
{
    openAndSettle(samplePhoto());
    ThumbnailStrip* strip = window.thumbnailStrip();
    EditingSession& session = window.editingSession();
    ASSERT_GT(session.presetCount(), 10);
    ASSERT_EQ(strip->count(), session.presetCount() + 1);
    EXPECT_EQ(strip->name(0), "Original");
    for (int i = 0; i < session.presetCount(); ++i)
        EXPECT_EQ(strip->name(i + 1), QString::fromUtf8(session.preset(i)->name.c_str()));
    EXPECT_TRUE(window.allThumbnailsShown());
    for (int i = 0; i < strip->count(); ++i)
        EXPECT_TRUE(strip->hasThumbnail(i)) << i;
    EXPECT_TRUE(samePixels(window.shownPicture(), originalPicture()));
}

TEST_F(Editor, AClickShowsThatPresetAndAmountZeroShowsTheOriginal)
{
    openAndSettle(samplePhoto());
    for (int k : {1, 5, window.thumbnailStrip()->count() - 1}) {
        click(k);
        settle();
        EXPECT_TRUE(samePixels(window.shownPicture(), sessionRender(k - 1))) << k;
        EXPECT_EQ(window.thumbnailStrip()->current(), k);
    }
    window.amountSlider()->setValue(0);
    settle();
    EXPECT_TRUE(samePixels(window.shownPicture(), originalPicture()));
    window.amountSlider()->setValue(40);
    settle();
    EXPECT_TRUE(samePixels(window.shownPicture(), sessionRender(window.thumbnailStrip()->count() - 2, 0.4f)));
}

TEST_F(Editor, ARunOfQuickClicksEndsWithTheLastOneAndNothingLeftRendering)
{
    openAndSettle(samplePhoto());
    int const last = 9;
    for (int k = 1; k <= last; ++k)
        click(k);
    settle();
    EXPECT_TRUE(samePixels(window.shownPicture(), sessionRender(last - 1)));
    EXPECT_FALSE(window.isBusy());
}

TEST_F(Editor, ArrowsStepThroughLooksAndSpaceComparesWithTheOriginal)
{
    openAndSettle(samplePhoto());
    QTest::keyClick(&window, Qt::Key_Right);
    QTest::keyClick(&window, Qt::Key_Right);
    QTest::keyClick(&window, Qt::Key_Left);
    settle();
    EXPECT_EQ(window.thumbnailStrip()->current(), 1);
    QImage const look = sessionRender(0);
    EXPECT_TRUE(samePixels(window.shownPicture(), look));
    QTest::keyPress(&window, Qt::Key_Space);
    EXPECT_TRUE(samePixels(window.shownPicture(), originalPicture()));
    QTest::keyRelease(&window, Qt::Key_Space);
    EXPECT_TRUE(samePixels(window.shownPicture(), look));
}

TEST_F(Editor, RemixShowsOnlyForPresetsWithACameraStyle)
{
    openAndSettle(samplePhoto());
    EditingSession& session = window.editingSession();
    int styled = -1, plain = -1;
    for (int i = 0; i < session.presetCount(); ++i)
        (EditingSession::hasRemix(session.preset(i)) ? styled : plain) = i + 1;
    ASSERT_GT(styled, 0);
    ASSERT_GT(plain, 0);
    window.show();
    click(styled);
    settle();
    EXPECT_TRUE(window.remixSlider()->isVisible());
    QImage const before = window.shownPicture();
    window.remixSlider()->setValue(window.remixSlider()->value() > 50 ? 10 : 90);
    settle();
    EXPECT_FALSE(samePixels(window.shownPicture(), before));
    click(plain);
    settle();
    EXPECT_FALSE(window.remixSlider()->isVisible());
}

TEST_F(Editor, SavingWritesTheWholePhotoBesideItAndCancellingWritesNothing)
{
    QTemporaryDir dir;
    QImage big(3000, 2000, QImage::Format_RGB888);
    for (int y = 0; y < big.height(); ++y)
        for (int x = 0; x < big.width(); ++x)
            big.setPixelColor(x, y, QColor(x % 256, y % 256, (x + y) % 256));
    QString error;
    QString const photo = dir.filePath("garden.jpg");
    ASSERT_TRUE(saveTestPicture(big, photo, 90, &error)) << error.toStdString();
    openAndSettle(photo);
    click(3);
    settle();

    QString const beside = window.suggestedSavePath();
    EXPECT_EQ(QFileInfo(beside).dir(), QFileInfo(photo).dir());
    EXPECT_TRUE(QFileInfo(beside).fileName().startsWith("garden-"));
    EXPECT_TRUE(beside.endsWith(".jpg"));

    window.saveTo(beside);
    window.cancelSaving();
    ASSERT_TRUE(waitFor([this] { return !window.isBusy(); }));
    EXPECT_TRUE(window.lastSaved().isEmpty());
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{"garden.jpg"});

    window.saveTo(beside);
    ASSERT_TRUE(waitFor([this] { return !window.isBusy(); }));
    EXPECT_EQ(window.lastSaved(), beside) << window.errorText().toStdString();
    int width = 0, height = 0;
    ASSERT_TRUE(readPhotoSize(beside, &width, &height, &error));
    EXPECT_EQ(width, 3000);
    EXPECT_EQ(height, 2000);
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files).size(), 2);
}

TEST_F(Editor, ADamagedPhotoShowsAnErrorAndTheEditorStaysUsable)
{
    QTemporaryDir dir;
    QString const broken = dir.filePath("broken.jpg");
    QFile file(broken);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("\xff\xd8\xff\xe0 this is not really a photo");
    file.close();
    openAndSettle(broken);
    EXPECT_FALSE(window.isPhotoOpen());
    EXPECT_TRUE(window.errorText().contains("broken.jpg")) << window.errorText().toStdString();

    openAndSettle(samplePhoto());
    EXPECT_TRUE(window.isPhotoOpen());
    EXPECT_TRUE(window.errorText().isEmpty());
    click(2);
    settle();
    EXPECT_TRUE(samePixels(window.shownPicture(), sessionRender(1)));
}

} // namespace

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    // Listing the tests (as the build does) needs no windows.
    if (::testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS();
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
