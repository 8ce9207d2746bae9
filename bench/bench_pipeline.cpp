// The main job on a 24-megapixel photo (the sample photo scaled to
// 6000 x 4000 and saved as JPEG at quality 95): decode, render (8-bit, in
// tiles) and encode timed separately, for a tone-only preset and for one
// with blur and grain; the whole finish as the tool does it, plain,
// resampled and straightened. Also the thumbnail strip: every shipped preset over
// the 80 x 50 source. The whole tool against its peers is bench/peers.sh.
#include <benchmark/benchmark.h>

#include <QTemporaryDir>

#include <memory>
#include <string>

#include "core/XmlNode.h"
#include "extension/EditingSession.h"
#include "extension/ImageBridge.h"
#include "extension/ImageFiles.h"
#include "extension/ImageModRegistry.h"
#include "extension/PhotoRender.h"
#include "mods/ImageModXML.h"
#include "mods/ImageModderMulti.h"

namespace {

QString const& largePhoto()
{
    static QTemporaryDir folder;
    static QString const path = [] {
        Photo sample;
        QString error;
        readPhoto(QUILLMERE_SOURCE_RESOURCES "/samples/seeding.jpg", PhotoReadOptions(), &sample, &error);
        QImage const scaled = QImage(sample.bytes.pixels, sample.bytes.width, sample.bytes.height,
                                     sample.bytes.width * 3, QImage::Format_RGB888)
                                  .scaled(6000, 4000, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        FlexImage<unsigned char> large;
        flexImageFromQImage(scaled, &large);
        QString const file = folder.filePath("large.jpg");
        PhotoWriteOptions writing;
        writing.quality = 95;
        writePhoto(large, PhotoMetadata(), file, writing, &error);
        return file;
    }();
    return path;
}

Photo& decodedPhoto()
{
    static Photo photo;
    if (!photo.bytes.pixels) {
        QString error;
        readPhoto(largePhoto(), PhotoReadOptions(), &photo, &error);
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

// The tone preset finished three ways: as it is, resampled to a longest
// side of 2048, and straightened by 3 degrees.
std::string const resampledPreset =
    tonePreset + "<mod name=\"Output Size\"><var name=\"Width\" type=\"float\">0</var>"
                 "<var name=\"Height\" type=\"float\">0</var>"
                 "<var name=\"Maximum Side\" type=\"float\">2048</var></mod>\n";
std::string const straightenedPreset =
    tonePreset + "<mod name=\"Crop/Straighten\"><var name=\"Straighten\" type=\"float\">3</var></mod>\n";

QString const& outputFile()
{
    static QTemporaryDir folder;
    static QString const path = folder.filePath("out.jpg");
    return path;
}

void BM_Decode(benchmark::State& state)
{
    for (auto _ : state) {
        Photo photo;
        QString error;
        readPhoto(largePhoto(), PhotoReadOptions(), &photo, &error);
        benchmark::DoNotOptimize(photo.bytes.pixels);
    }
}

void BM_Render(benchmark::State& state, std::string const* body)
{
    std::unique_ptr<ImageMod> preset = presetFrom(*body);
    GrowArray<ImageMod*> chain;
    chain.add(preset.get());
    FlexImage<unsigned char> out;
    for (auto _ : state) {
        ImageModderMulti renderer;
        renderer.setKeepCache(false);
        renderer.applyMods(chain, &decodedPhoto().bytes, &out);
    }
}

void BM_Encode(benchmark::State& state)
{
    PhotoWriteOptions writing;
    for (auto _ : state) {
        QString error;
        writePhoto(decodedPhoto().bytes, PhotoMetadata(), outputFile(), writing, &error);
    }
}

void BM_ThumbnailStrip(benchmark::State& state)
{
    EditingSession session;
    session.loadStandardPresets();
    QString error;
    session.openPhoto(QUILLMERE_SOURCE_RESOURCES "/samples/seeding.jpg", 1280, &error);
    for (auto _ : state)
        for (int i = 0; i < session.presetCount(); ++i)
            benchmark::DoNotOptimize(session.renderThumbnail(i).bits());
    state.counters["presets"] = session.presetCount();
}

// The whole finish of the tool: decode, crop and turn, render, resample and
// encode, streamed.
void BM_Finish(benchmark::State& state, std::string const* body)
{
    std::unique_ptr<ImageMod> preset = presetFrom(*body);
    for (auto _ : state) {
        RenderFailure failure;
        renderPhotoFile(largePhoto(), preset.get(), outputFile(), PhotoWriteOptions(), defaultMaxMegapixels,
                        &failure);
    }
}

} // namespace

BENCHMARK_CAPTURE(BM_Finish, ToneOnly, &tonePreset)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(BM_Finish, ResampledTo2048, &resampledPreset)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(BM_Finish, Straightened3Degrees, &straightenedPreset)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Decode)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(BM_Render, ToneOnly, &tonePreset)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(BM_Render, BlurAndGrain, &blurGrainPreset)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Encode)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_ThumbnailStrip)->Unit(benchmark::kMillisecond);
