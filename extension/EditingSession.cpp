#include "extension/EditingSession.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "extension/FileNames.h"
#include "extension/ImageBridge.h"
#include "extension/ImageModRegistry.h"
#include "mods/ImageModderMulti.h"
#include "mods/output/ImageModImageOverlay.h"

namespace {

// An 8-bit photo as the float display image the previews render over.
template <typename T>
void widenInto(FlexImage<T> const& from, FlexImage<float>* to)
{
    to->reshape(from.width, from.height, from.channels);
    for (size_t i = 0; i < from.sampleCount(); ++i)
        to->pixels[i] = float(from.pixels[i]);
}

} // namespace

EditingSession::EditingSession()
    : prototypes(createPrototypeRegistry())
{
    // Watermarks read their pictures through the image files of this host.
    ImageModImageOverlay::setOverlayLoader(loadOverlayImage);
}

EditingSession::~EditingSession()
{
    deleteMods(prototypes);
}

void EditingSession::loadStandardPresets()
{
    GrowArray<GrowString> folders;
    GrowArray<GrowString> origins;
    standardPresetFolders(&folders, &origins);
    for (int i = 0; i < folders.count; ++i)
        library.loadFolder(folders[i], origins[i], prototypes);
}

PresetLibrary::Entry const* EditingSession::findPreset(QString const& preset, QString* subject, QString* reason)
{
    *subject = preset;
    bool const isFile = preset.endsWith(".qmf", Qt::CaseInsensitive) || isRegularFile(preset);
    if (isFile) {
        if (!pathExists(preset)) {
            *reason = "no such preset file";
            return nullptr;
        }
        if (!library.loadFile(fileNameToSystem(preset).constData(), "file", prototypes)) {
            *reason = library.refused.last().reason.c_str();
            return nullptr;
        }
        return &library.entries.last();
    }
    if (library.entries.count == 0)
        loadStandardPresets();
    PresetLibrary::Entry const* entry = library.find(preset.toUtf8().constData());
    if (!entry)
        *reason = "no preset of that name (see 'quillmere presets')";
    return entry;
}

void EditingSession::setDisplayImage(FlexImage<float> const& display)
{
    displayImageOriginal.copyFromImage(display, true);
    makeThumbnailSource(displayImageOriginal, &thumbImageOriginal, thumbnailScale);
}

bool EditingSession::start(QImage const& display, QString const& fullPath, QString* error)
{
    FlexImage<float> shown;
    shown.channels = 3;
    flexImageFromQImage(display, &shown);
    setDisplayImage(shown);
    fullImagePath = fullPath;
    return checkPhotoSize(fullPath, maxMegapixels, error);
}

bool EditingSession::openPhoto(QString const& fullPath, int displayLongSide, QString* error)
{
    fullImagePath = fullPath;
    if (displayLongSide <= 0)
        return checkPhotoSize(fullPath, maxMegapixels, error);
    OpenedPhoto photo;
    if (!readForDisplay(fullPath, displayLongSide, maxMegapixels, thumbnailScale, &photo, error))
        return false;
    startWith(&photo);
    return true;
}

bool EditingSession::readForDisplay(QString const& fullPath, int displayLongSide, double maxMegapixels,
                                    int thumbnailScale, OpenedPhoto* opened, QString* error)
{
    if (!checkPhotoSize(fullPath, maxMegapixels, error))
        return false;
    PhotoReadOptions options;
    options.maxMegapixels = maxMegapixels;
    options.fitWithin = displayLongSide;
    Photo photo;
    if (!readPhoto(fullPath, options, &photo, error))
        return false;
    opened->path = fullPath;
    widenInto(photo.bytes, &opened->display);
    makeThumbnailSource(opened->display, &opened->thumbnailSource, thumbnailScale);
    return true;
}

void EditingSession::startWith(OpenedPhoto* photo)
{
    fullImagePath = photo->path;
    currentMod = nullptr;
    displayImageOriginal.swapWith(photo->display);
    thumbImageOriginal.swapWith(photo->thumbnailSource);
}

void EditingSession::makeThumbnailSource(FlexImage<float> const& display, FlexImage<float>* thumb, int scale)
{
    scale = std::clamp(scale, 1, 4);
    makeThumbnailSource(display, thumb, thumbnailWidth * scale, thumbnailHeight * scale);
}

void EditingSession::makeThumbnailSource(FlexImage<float> const& display, FlexImage<float>* thumb, int width,
                                         int height)
{
    thumb->reshape(width, height, display.channels > 0 ? display.channels : 3);
    if (!display.pixels || display.width <= 0 || display.height <= 0)
        return;
    if (display.width == width && display.height == height) {
        thumb->copyFromImage(display, true);
        return;
    }
    float const stepX = float(display.width) / float(width);
    float const stepY = float(display.height) / float(height);
    for (int y = 0; y < height; ++y) {
        int const sy = std::min(int(float(y) * stepY + 0.01f), display.height - 1);
        for (int x = 0; x < width; ++x) {
            int const sx = std::min(int(float(x) * stepX + 0.01f), display.width - 1);
            std::copy_n(display.pixelAt(sx, sy), thumb->channels, thumb->pixelAt(x, y));
        }
    }
}

template <typename T>
bool EditingSession::render(ImageMod* mod, FlexImage<T>* source, FlexImage<T>* destination,
                            RenderProgress const& progress)
{
    if (!mod || !source->pixels) {
        if (destination)
            destination->copyFromImage(*source, true);
        return true;
    }
    GrowArray<ImageMod*> chain;
    chain.add(mod);
    ImageModderMulti renderer;
    renderer.setKeepCache(false);
    if (!progress) {
        renderer.applyMods(chain, source, destination);
        return true;
    }
    renderer.applyModsAsync(chain, source, destination);
    while (!renderer.isFinished()) {
        if (!progress(renderer.progress()))
            renderer.cancel();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    renderer.waitUntilFinished();
    return renderer.isCompleted();
}

template bool EditingSession::render(ImageMod*, FlexImage<float>*, FlexImage<float>*, RenderProgress const&);
template bool EditingSession::render(ImageMod*, FlexImage<unsigned char>*, FlexImage<unsigned char>*,
                                     RenderProgress const&);

QImage EditingSession::renderThumbnail(int index)
{
    render(preset(index), &thumbImageOriginal, &thumbImageFiltered);
    return QImageFromFlexImage(&thumbImageFiltered);
}

QImage EditingSession::choosePreset(int index)
{
    currentMod = index >= 0 && index < presetCount() ? preset(index) : nullptr;
    return renderDisplay(currentMod);
}

QImage EditingSession::renderDisplay(ImageMod* mod)
{
    render(mod, &displayImageOriginal, &displayImageFiltered);
    return QImageFromFlexImage(&displayImageFiltered);
}

bool EditingSession::finish(QString const& outputPath, int quality, AdjustmentData* adjustment, QString* error,
                            RenderProgress const& progress)
{
    PhotoWriteOptions options;
    options.quality = quality;
    RenderFailure failure;
    bool const saved = finish(outputPath, options, adjustment, &failure, progress);
    *error = failure.reason;
    return saved;
}

bool EditingSession::finish(QString const& outputPath, PhotoWriteOptions const& options, AdjustmentData* adjustment,
                            RenderFailure* failure, RenderProgress const& progress)
{
    bool const saved =
        renderPhotoFile(fullImagePath, currentMod, outputPath, options, maxMegapixels, failure, progress);
    if (saved && adjustment)
        *adjustment = AdjustmentData();
    return saved;
}

ImageMod* EditingSession::adjustedCopy(ImageModCompound const& preset, float amount, double const* remix)
{
    ImageMod* copy = preset.duplicate();
    copy->setFloatVar(0, amount);
    if (remix)
        setRemix(copy, *remix);
    return copy;
}

bool EditingSession::setRemix(ImageMod* mod, double variation)
{
    GrowArray<ImageModVariable*> const remix = mod->getRemixVars();
    for (ImageModVariable* v : remix)
        if (ImageModVariableDataFloat* f = v->floatData())
            f->value = float(variation);
    return remix.count > 0;
}

bool EditingSession::hasRemix(ImageMod* mod, double* variation)
{
    GrowArray<ImageModVariable*> const remix = mod->getRemixVars();
    if (remix.count == 0)
        return false;
    if (variation)
        *variation = remix[0]->floatData() ? double(remix[0]->floatData()->value) : 0.0;
    return true;
}
