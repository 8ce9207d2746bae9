#include "extension/EditingSession.h"

#include <chrono>
#include <thread>

#include "extension/ImageBridge.h"
#include "extension/ImageFiles.h"
#include "extension/ImageModRegistry.h"
#include "mods/ImageModderMulti.h"

EditingSession::EditingSession()
    : prototypes(createPrototypeRegistry()), maxMegapixels(defaultMaxMegapixels)
{
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

bool EditingSession::start(QImage const& display, QString const& fullPath, QString* error)
{
    displayImageOriginal.channels = 3;
    flexImageFromQImage(display, &displayImageOriginal);
    makeThumbnailSource(displayImageOriginal, &thumbImageOriginal, thumbnailWidth, thumbnailHeight);
    fullImagePath = fullPath;
    QImage photo;
    if (!readImageFile(fullPath, maxMegapixels, &photo, error))
        return false;
    fullImageOriginal.channels = 3;
    return flexImageFromQImage(photo, &fullImageOriginal);
}

bool EditingSession::startWithPhoto(QString const& fullPath, int displayLongSide, QString* error)
{
    QImage photo;
    if (!readImageFile(fullPath, maxMegapixels, &photo, error))
        return false;
    fullImagePath = fullPath;
    fullImageOriginal.channels = 3;
    flexImageFromQImage(photo, &fullImageOriginal);
    if (displayLongSide <= 0)
        return true;
    QImage const display = photo.width() > displayLongSide || photo.height() > displayLongSide
                               ? photo.scaled(displayLongSide, displayLongSide, Qt::KeepAspectRatio,
                                              Qt::SmoothTransformation)
                               : photo;
    displayImageOriginal.channels = 3;
    flexImageFromQImage(display, &displayImageOriginal);
    makeThumbnailSource(displayImageOriginal, &thumbImageOriginal, thumbnailWidth, thumbnailHeight);
    return true;
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

void EditingSession::render(ImageMod* mod, FlexImage<float>* source, FlexImage<float>* destination,
                            std::function<void(float)> const& progress)
{
    if (!mod || !source->pixels) {
        if (destination)
            destination->copyFromImage(*source, true);
        return;
    }
    GrowArray<ImageMod*> chain;
    chain.add(mod);
    ImageModderMulti renderer;
    renderer.setKeepCache(false);
    if (progress)
        renderer.applyModsAsync(chain, source, destination);
    else
        renderer.applyMods(chain, source, destination);
    while (progress && !renderer.isFinished()) {
        progress(renderer.progress());
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    renderer.waitUntilFinished();
}

QImage EditingSession::renderThumbnail(int index)
{
    render(preset(index), &thumbImageOriginal, &thumbImageFiltered);
    return QImageFromFlexImage(&thumbImageFiltered);
}

QImage EditingSession::choosePreset(int index)
{
    currentMod = preset(index);
    render(currentMod, &displayImageOriginal, &displayImageFiltered);
    return QImageFromFlexImage(&displayImageFiltered);
}

bool EditingSession::finish(QString const& outputPath, int quality, AdjustmentData* adjustment, QString* error,
                            std::function<void(float)> const& progress)
{
    if (keepOriginalAfterFinish) {
        render(currentMod, &fullImageOriginal, &fullImageFiltered, progress);
    } else {
        render(currentMod, &fullImageOriginal, nullptr, progress);
        fullImageFiltered.swapWith(fullImageOriginal);
        fullImageOriginal.clear();
    }
    QImage const result = QImageFromFlexImage(&fullImageFiltered);
    if (result.isNull()) {
        *error = "nothing to save: the photo could not be read";
        return false;
    }
    if (!writeImageFile(result, outputPath, "jpeg", quality, error))
        return false;
    if (adjustment)
        *adjustment = AdjustmentData();
    return true;
}
