// The main job on a 24-megapixel photo (the sample photo scaled to
// 6000 x 4000 and saved as JPEG at quality 95): decode, render and encode
// timed separately, for a tone-only preset and for one with blur and grain,
// beside a plain decode plus encode of the same photo (the floor). Also the
// thumbnail strip: every shipped preset over the 80 x 50 source.
#include <benchmark/benchmark.h>

#include <QBuffer>
#include <QImageReader>
#include <QImageWriter>
#include <QTemporaryDir>

#include <memory>
#include <string>

#include "core/XmlNode.h"
#include "extension/EditingSession.h"
#include "extension/ImageBridge.h"
#include "extension/ImageFiles.h"
#include "extension/ImageModRegistry.h"
#include "mods/ImageModXML.h"
#include "mods/ImageModderMulti.h"

namespace {

QString const& largePhoto()
{
    static QTemporaryDir folder;
    static QString const path = [] {
        QImageReader reader(QUILLMERE_SOURCE_RESOURCES "/samples/seeding.jpg");
        QImage const photo = reader.read().scaled(6000, 4000, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        QString const file = folder.filePath("large.jpg");
        QImageWriter writer(file, "jpeg");
        writer.setQuality(95);
        writer.write(photo);
        return file;
    }();
    return path;
}

QByteArray encodeJpeg(QImage const& image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(100);
    writer.write(image);
    return bytes;
}

FlexImage<float>& decodedPhoto()
{
    static FlexImage<float> photo;
    if (!photo.pixels) {
        QImage image;
        QString error;
        readImageFile(largePhoto(), defaultMaxMegapixels, &image, &error);
        flexImageFromQImage(image, &photo);
    }
    return photo;
}

// A preset built from its XML text, as the library builds one.
std::unique_ptr<ImageMod> presetFrom(std::string const& body)
{
    static GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    std::string const text = "<filter version=\"1\">\n" + body + "</filter>\n";
    XmlNode root;
    root.loadSubnodesFromBuffer(text.data(), long(text.size()));
    GrowArray<ImageMod*> compounds;
    int error = 0;
    auto preset = std::make_unique<ImageModCompound>("File Filter");
    for (ImageMod* mod : createModsFromXML(root.findSubnode("filter"), &compounds, prototypes, &error))
        preset->addSubMod(mod);
    deleteMods(compounds);
    return preset;
}

std::string const tonePreset = "<mod name=\"Brightness\"><var name=\"Amount\" type=\"float\">1.1</var></mod>\n"
                               "<mod name=\"Contrast\"><var name=\"Amount\" type=\"float\">1.2</var></mod>\n"
                               "<mod name=\"Saturation\" version=\"2\"><var name=\"Amount\" type=\"float\">1.15</var></mod>\n";
std::string const blurGrainPreset = "<mod name=\"Blur\"><var name=\"Amount\" type=\"float\">25</var>\n"
                                    "<var name=\"Mix\" type=\"float\">40</var></mod>\n"
                                    "<mod name=\"Noise\"><var name=\"Amount\" type=\"float\">20</var></mod>\n";

void BM_FloorDecodeAndEncode(benchmark::State& state)
{
    qsizetype bytes = 0;
    for (auto _ : state) {
        QImage image;
        QString error;
        readImageFile(largePhoto(), defaultMaxMegapixels, &image, &error);
        bytes = encodeJpeg(image).size();
    }
    state.counters["MB"] = double(bytes) / 1e6;
}

void BM_FloorDecodeOnly(benchmark::State& state)
{
    for (auto _ : state) {
        QImage image;
        QString error;
        readImageFile(largePhoto(), defaultMaxMegapixels, &image, &error);
        benchmark::DoNotOptimize(image.bits());
    }
}

void BM_Decode(benchmark::State& state)
{
    for (auto _ : state) {
        QImage image;
        QString error;
        readImageFile(largePhoto(), defaultMaxMegapixels, &image, &error);
        FlexImage<float> photo;
        flexImageFromQImage(image, &photo);
        benchmark::DoNotOptimize(photo.pixels);
    }
}

void BM_Render(benchmark::State& state, std::string const* body)
{
    std::unique_ptr<ImageMod> preset = presetFrom(*body);
    GrowArray<ImageMod*> chain;
    chain.add(preset.get());
    FlexImage<float> out;
    for (auto _ : state) {
        ImageModderMulti renderer;
        renderer.setKeepCache(false);
        renderer.applyMods(chain, &decodedPhoto(), &out);
    }
}

void BM_Encode(benchmark::State& state)
{
    qsizetype bytes = 0;
    for (auto _ : state)
        bytes = encodeJpeg(QImageFromFlexImage(&decodedPhoto())).size();
    state.counters["MB"] = double(bytes) / 1e6;
}

void BM_ThumbnailStrip(benchmark::State& state)
{
    EditingSession session;
    session.loadStandardPresets();
    QString error;
    session.startWithPhoto(QUILLMERE_SOURCE_RESOURCES "/samples/seeding.jpg", 1280, &error);
    for (auto _ : state)
        for (int i = 0; i < session.presetCount(); ++i)
            benchmark::DoNotOptimize(session.renderThumbnail(i).bits());
    state.counters["presets"] = session.presetCount();
}

} // namespace

BENCHMARK(BM_FloorDecodeAndEncode)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_FloorDecodeOnly)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Decode)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(BM_Render, ToneOnly, &tonePreset)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(BM_Render, BlurAndGrain, &blurGrainPreset)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Encode)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_ThumbnailStrip)->Unit(benchmark::kMillisecond);
