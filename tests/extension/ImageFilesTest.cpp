// libvips first: GLib names a struct member "signals", a keyword to Qt.
#include <vips/vips.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <memory>
#include <vector>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "extension/EditingSession.h"
#include "extension/ImageFiles.h"
#include "extension/PhotoRender.h"
#include "extension/ImageModRegistry.h"
#include "mods/ImageModTemplate.h"
#include "mods/basic/ImageModBrightness.h"
#include "mods/output/ImageModCrop.h"
#include "support/PhotoFiles.h"
#include "support/RenderCheck.h"

// The files here are made with libvips directly, not through the code under
// test, and the expected pixels are worked out by hand.

namespace {

struct VipsImageDeleter
{
    void operator()(VipsImage* image) const { g_object_unref(image); }
};
using Made = std::unique_ptr<VipsImage, VipsImageDeleter>;

// An image of the given samples (row by row, bands interleaved).
template <typename T>
Made imageOf(std::vector<T> const& samples, int width, int height, int bands, VipsBandFormat format,
             VipsInterpretation kind)
{
    VipsImage* memory = vips_image_new_from_memory_copy(samples.data(), samples.size() * sizeof(T), width, height,
                                                        bands, format);
    VipsImage* tagged = nullptr;
    vips_copy(memory, &tagged, "interpretation", kind, nullptr);
    g_object_unref(memory);
    return Made(tagged);
}

Made rgb(std::vector<unsigned char> const& samples, int width, int height)
{
    return imageOf(samples, width, height, 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB);
}

bool save(VipsImage* image, QString const& path)
{
    return vips_image_write_to_file(image, path.toUtf8().constData(), nullptr) == 0;
}

// Reads the photo whole, or shrunk to fit within a square of side fitWithin.
std::unique_ptr<Photo> read(QString const& path, int fitWithin = 0)
{
    auto photo = std::make_unique<Photo>();
    PhotoReadOptions options;
    options.fitWithin = fitWithin;
    QString error;
    EXPECT_TRUE(readPhoto(path, options, photo.get(), &error)) << error.toStdString();
    return photo;
}

void expectRgb(unsigned char const* p, int r, int g, int b, int tolerance = 0)
{
    EXPECT_NEAR(p[0], r, tolerance);
    EXPECT_NEAR(p[1], g, tolerance);
    EXPECT_NEAR(p[2], b, tolerance);
}

// Pixels rendered by CountingFilter, over all its copies.
std::atomic<long> pixelsRendered{0};

// Leaves the picture as it is and counts the pixels of every tile.
class CountingFilter : public ImageModTemplate<CountingFilter, ImageModBrightness>
{
public:
    CountingFilter() : ImageModTemplate(1.0f) {}
    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo*)
    {
        pixelsRendered += long(image->width) * image->height;
    }
};

class ImageFiles : public ::testing::Test
{
protected:
    QTemporaryDir dir;
    QString path(char const* name) const { return dir.filePath(name); }

    // Renders through the streaming path (no filter unless given).
    bool render(QString const& from, QString const& to, ImageMod* mod = nullptr,
                PhotoWriteOptions const& options = PhotoWriteOptions(), RenderFailure* failure = nullptr,
                RenderProgress const& progress = nullptr)
    {
        RenderFailure ignored;
        return renderPhotoFile(from, mod, to, options, defaultMaxMegapixels, failure ? failure : &ignored, progress);
    }
    // Files in the folder, temporaries included.
    QStringList files() const { return QDir(dir.path()).entryList(QDir::Files | QDir::Hidden); }
};

} // namespace

// Stored [A B; C D] with orientation 6 (turn a quarter clockwise to view)
// is seen as [C A; D B]; orientation 2 mirrors it to [B A; D C]. Both the
// whole read and the streamed render turn it.
TEST_F(ImageFiles, OrientationIsAppliedOnReading)
{
    std::vector<unsigned char> const stored = {10, 0, 0, 0, 20, 0, 0, 0, 30, 40, 40, 40};
    for (int orientation : {6, 2}) {
        SCOPED_TRACE(orientation);
        Made image = rgb(stored, 2, 2);
        vips_image_set_int(image.get(), VIPS_META_ORIENTATION, orientation);
        ASSERT_TRUE(save(image.get(), path("turned.tif")));
        ASSERT_TRUE(render(path("turned.tif"), path("upright.png")));
        for (QString const& file : {path("turned.tif"), path("upright.png")}) {
            std::unique_ptr<Photo> photo = read(file);
            ASSERT_EQ(photo->bytes.width, 2);
            unsigned char const* a = &stored[0];
            unsigned char const* b = &stored[3];
            unsigned char const* c = &stored[6];
            unsigned char const* d = &stored[9];
            bool const quarter = orientation == 6;
            unsigned char const* expected[4] = {quarter ? c : b, a, d, quarter ? b : c};
            for (int i = 0; i < 4; ++i)
                expectRgb(photo->bytes.pixelAt(i % 2, i / 2), expected[i][0], expected[i][1], expected[i][2]);
        }
    }
}

// A chain without a halo renders every pixel of the photo once, turned
// upright or not: turning a photo makes libvips ask for small tiles, and a
// band across the whole width was rendered for each of them.
TEST_F(ImageFiles, EveryPixelIsRenderedOnceTurnedOrNot)
{
    auto source = patternImage<unsigned char>(600, 400, 3, 5);
    std::vector<unsigned char> samples(source->pixels, source->pixels + source->sampleCount());
    CountingFilter counting;
    for (int orientation : {1, 6}) {
        SCOPED_TRACE(orientation);
        Made image = rgb(samples, 600, 400);
        vips_image_set_int(image.get(), VIPS_META_ORIENTATION, orientation);
        ASSERT_TRUE(save(image.get(), path("photo.tif")));
        pixelsRendered = 0;
        ASSERT_TRUE(render(path("photo.tif"), path("out.png"), &counting));
        EXPECT_EQ(pixelsRendered.load(), 600L * 400L);
    }
}

// Grey becomes three equal channels; alpha stays a fourth and, in a JPEG
// (which has none), the picture lies on white: 50% black over white is 128.
TEST_F(ImageFiles, GreyAndAlphaSources)
{
    ASSERT_TRUE(save(imageOf<unsigned char>({0, 90, 255}, 3, 1, 1, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_B_W).get(),
                     path("grey.png")));
    std::unique_ptr<Photo> grey = read(path("grey.png"));
    ASSERT_EQ(grey->bytes.channels, 3);
    expectRgb(grey->bytes.pixelAt(1, 0), 90, 90, 90);

    std::vector<unsigned char> const rgba = {200, 10, 10, 255, 0, 0, 0, 128};
    ASSERT_TRUE(save(imageOf(rgba, 2, 1, 4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB).get(), path("alpha.png")));
    std::unique_ptr<Photo> alpha = read(path("alpha.png"));
    ASSERT_EQ(alpha->bytes.channels, 4);
    EXPECT_EQ(alpha->bytes.pixelAt(1, 0)[3], 128);

    ASSERT_TRUE(render(path("alpha.png"), path("kept.png")));
    EXPECT_EQ(read(path("kept.png"))->bytes.pixelAt(1, 0)[3], 128);
    ASSERT_TRUE(render(path("alpha.png"), path("flat.jpg")));
    std::unique_ptr<Photo> flat = read(path("flat.jpg"));
    ASSERT_EQ(flat->bytes.channels, 3);
    expectRgb(flat->bytes.pixelAt(1, 0), 128, 128, 128, 3);
}

// 16-bit samples keep their precision through a render into a 16-bit file:
// 257 x 100 + 128 is 100.498 on the 0..255 scale and comes back exactly.
TEST_F(ImageFiles, SixteenBitSourcesStayDeep)
{
    std::vector<unsigned short> const samples = {257 * 100 + 128, 20 * 257, 65535};
    ASSERT_TRUE(save(imageOf(samples, 1, 1, 3, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_RGB16).get(),
                     path("deep.png")));
    std::unique_ptr<Photo> deep = read(path("deep.png"));
    ASSERT_TRUE(deep->isDeep());
    EXPECT_NEAR(deep->deep.pixels[0], 100.0f + 128.0f / 257.0f, 1e-4);

    ASSERT_TRUE(render(path("deep.png"), path("again.png")));
    VipsImage* again = vips_image_new_from_file(path("again.png").toUtf8().constData(), nullptr);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(vips_image_get_format(again), VIPS_FORMAT_USHORT);
    double* point = nullptr;
    int bands = 0;
    ASSERT_EQ(vips_getpoint(again, &point, &bands, 0, 0, nullptr), 0);
    double const value = point[0];
    g_free(point);
    g_object_unref(again);
    EXPECT_EQ(value, 257 * 100 + 128);
}

// A photo in another colour space comes in as sRGB: pure sRGB red stored in
// the wider P3 space reads as (234, 51, 35) there, and must read back as
// red. CMYK cyan without a profile goes through a generic one: blue-green
// with no red.
TEST_F(ImageFiles, ProfiledAndCmykPhotosArriveInSrgb)
{
    Made red = rgb({255, 0, 0}, 1, 1);
    VipsImage* inP3 = nullptr;
    ASSERT_EQ(vips_icc_transform(red.get(), &inP3, "p3", "input_profile", "srgb", "embedded", FALSE, nullptr), 0);
    Made p3(inP3);
    double* stored = nullptr;
    int bands = 0;
    ASSERT_EQ(vips_getpoint(p3.get(), &stored, &bands, 0, 0, nullptr), 0);
    EXPECT_GT(std::fabs(stored[0] - 255.0) + stored[1] + stored[2], 30.0); // the file really differs
    g_free(stored);
    ASSERT_TRUE(save(p3.get(), path("p3.png")));
    // Whole, and shrunk as for the display image.
    for (int fit : {0, 1}) {
        SCOPED_TRACE(fit);
        expectRgb(read(path("p3.png"), fit)->bytes.pixels, 255, 0, 0, 3);
        Made cyan = imageOf<unsigned char>({255, 0, 0, 0}, 1, 1, 4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_CMYK);
        ASSERT_TRUE(save(cyan.get(), path("cyan.tif")));
        std::unique_ptr<Photo> const cmyk = read(path("cyan.tif"), fit);
        ASSERT_EQ(cmyk->bytes.channels, 3);
        unsigned char const* c = cmyk->bytes.pixels;
        EXPECT_LT(c[0], 60);
        EXPECT_GT(c[1], 120);
        EXPECT_GT(c[2], 180);
    }
}

// A result keeps the photo's EXIF (upright now), XMP and profile by
// default; stripping leaves none.
TEST_F(ImageFiles, MetadataIsKeptOrStripped)
{
    Made image = rgb(std::vector<unsigned char>(16 * 16 * 3, 100), 16, 16);
    vips_image_set_string(image.get(), "exif-ifd0-Artist", "Quill Tester");
    vips_image_set_int(image.get(), VIPS_META_ORIENTATION, 1);
    char const xmp[] = "<x:xmpmeta xmlns:x='adobe:ns:meta/'/>";
    vips_image_set_blob_copy(image.get(), VIPS_META_XMP_NAME, xmp, sizeof xmp - 1);
    ASSERT_TRUE(save(image.get(), path("tagged.jpg")));

    PhotoWriteOptions keep;
    ASSERT_TRUE(render(path("tagged.jpg"), path("kept.jpg"), nullptr, keep));
    PhotoWriteOptions strip;
    strip.keepMetadata = false;
    ASSERT_TRUE(render(path("tagged.jpg"), path("stripped.jpg"), nullptr, strip));

    VipsImage* kept = vips_image_new_from_file(path("kept.jpg").toUtf8().constData(), nullptr);
    VipsImage* stripped = vips_image_new_from_file(path("stripped.jpg").toUtf8().constData(), nullptr);
    ASSERT_TRUE(kept && stripped);
    char const* artist = nullptr;
    ASSERT_EQ(vips_image_get_string(kept, "exif-ifd0-Artist", &artist), 0);
    EXPECT_TRUE(QString(artist).startsWith("Quill Tester"));
    EXPECT_TRUE(vips_image_get_typeof(kept, VIPS_META_XMP_NAME));
    EXPECT_FALSE(vips_image_get_typeof(stripped, VIPS_META_EXIF_NAME));
    EXPECT_FALSE(vips_image_get_typeof(stripped, VIPS_META_XMP_NAME));
    g_object_unref(kept);
    g_object_unref(stripped);
}

// The limit is judged from the header: a file claiming 20000 x 20000 whose
// pixels are missing altogether is refused for its size, not as damaged.
TEST_F(ImageFiles, OversizedPhotosAreRefusedBeforeDecoding)
{
    QFile file(path("wide.ppm"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("P6\n20000 20000\n255\n\x01\x02\x03");
    file.close();

    RenderFailure failure;
    EXPECT_FALSE(render(path("wide.ppm"), path("out.jpg"), nullptr, PhotoWriteOptions(), &failure));
    EXPECT_TRUE(failure.photoAtFault);
    EXPECT_TRUE(failure.reason.contains("20000 x 20000 (400.0 megapixels), more than the limit"))
        << failure.reason.toStdString();
    EXPECT_FALSE(QFile::exists(path("out.jpg")));
}

// Streamed band by band, a render equals the whole photo rendered at once;
// Amount 100 reaches 22 rows, so each band's rows of context come in
// several reads.
TEST_F(ImageFiles, StreamedRenderEqualsTheWholePhotoRendered)
{
    auto source = patternImage<unsigned char>(640, 720, 3, 9);
    std::vector<unsigned char> samples(source->pixels, source->pixels + source->sampleCount());
    ASSERT_TRUE(save(rgb(samples, 640, 720).get(), path("photo.png")));

    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    std::unique_ptr<ImageMod> blur(findPrototype(prototypes, "Blur")->createCopy());
    deleteMods(prototypes);
    for (float amount : {30.0f, 100.0f}) {
        blur->setFloatVar(0, amount);
        ASSERT_TRUE(render(path("photo.png"), path("streamed.png"), blur.get()));
        std::unique_ptr<Photo> whole = read(path("photo.png"));
        EditingSession::render(blur.get(), &whole->bytes, static_cast<FlexImage<unsigned char>*>(nullptr));
        EXPECT_TRUE(sameColours(read(path("streamed.png"))->bytes, whole->bytes)) << "Amount " << amount;
    }
}

// A photo that breaks off while streaming is blamed, and nothing is left;
// so is a render the caller cancels. Both with and without a halo: a chain
// with one renders its bands behind a cache, for one worker of the saver.
TEST_F(ImageFiles, BrokenOrCancelledRendersLeaveNothing)
{
    auto source = patternImage<unsigned char>(800, 800, 3, 4);
    std::vector<unsigned char> samples(source->pixels, source->pixels + source->sampleCount());
    ASSERT_TRUE(save(rgb(samples, 800, 800).get(), path("whole.jpg")));
    ASSERT_TRUE(writeFirstHalf(path("whole.jpg"), path("cut.jpg")));

    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    std::unique_ptr<ImageMod> blur(findPrototype(prototypes, "Blur")->createCopy());
    deleteMods(prototypes);
    blur->setFloatVar(0, 50.0f);
    for (ImageMod* chain : {static_cast<ImageMod*>(nullptr), blur.get()}) {
        SCOPED_TRACE(chain ? "a blur" : "no filter");
        RenderFailure failure;
        EXPECT_FALSE(render(path("cut.jpg"), path("out.jpg"), chain, PhotoWriteOptions(), &failure));
        EXPECT_TRUE(failure.photoAtFault);
        EXPECT_TRUE(failure.reason.startsWith("damaged or truncated image data")) << failure.reason.toStdString();

        int calls = 0;
        EXPECT_FALSE(render(path("whole.jpg"), path("out.jpg"), chain, PhotoWriteOptions(), &failure, [&](float) {
            ++calls;
            return false;
        }));
        EXPECT_GT(calls, 0);
        EXPECT_FALSE(failure.photoAtFault);
        EXPECT_EQ(failure.reason, "cancelled; nothing was saved");
        EXPECT_EQ(files(), QStringList({"cut.jpg", "whole.jpg"}));
    }
}

// Straightening turns clockwise about the centre and keeps the largest
// rectangle of the picture's proportions: for 200 x 100 by 10 degrees the
// fit is min(200 / (200 cos + 100 sin), 100 / (200 sin + 100 cos)) =
// 0.75070, so 150 x 75 less a pixel each side. A level band through the
// middle then falls to the right: tan 10 x 64 = 11.3 rows either way of the
// middle at 64 columns from it.
TEST_F(ImageFiles, StraighteningTurnsClockwiseAndLeavesNoEmptyCorner)
{
    std::vector<unsigned char> samples(200 * 100 * 3, 255);
    for (int y = 48; y < 52; ++y)
        std::fill_n(&samples[size_t(y) * 200 * 3], 200 * 3, 0);
    ASSERT_TRUE(save(rgb(samples, 200, 100).get(), path("level.png")));
    ImageModCrop crop;
    crop.setFloatVar(ImageModCrop::Straighten, 10.0f);
    ASSERT_TRUE(render(path("level.png"), path("turned.png"), &crop));
    std::unique_ptr<Photo> turned = read(path("turned.png"));
    FlexImage<unsigned char> const& p = turned->bytes;
    ASSERT_EQ(p.width, 148);
    ASSERT_EQ(p.height, 73);
    auto const darkestRow = [&](int x) {
        int best = 0;
        for (int y = 1; y < p.height; ++y)
            if (p.pixelAt(x, y)[0] < p.pixelAt(x, best)[0])
                best = y;
        return best;
    };
    EXPECT_NEAR(darkestRow(74 - 64), 36 - 11, 2);
    EXPECT_NEAR(darkestRow(74 + 64), 36 + 11, 2);
    for (int corner : {0, 147})
        for (int row : {0, 72})
            EXPECT_GT(p.pixelAt(corner, row)[0], 200) << "no empty corner at " << corner << "," << row;
}
