#pragma once

#include <functional>

#include <QByteArray>
#include <QImage>
#include <QString>

#include "core/GrowArray.h"
#include "extension/PresetLibrary.h"
#include "imaging/FlexImage.h"
#include "mods/ImageMod.h"

// What a finished edit hands back beside the rendered photo. Nothing is
// stored that would let the edit be reopened: every session starts from the
// unedited photo.
struct AdjustmentData
{
    QString formatIdentifier = "AdjustmentDataIdentifier";
    QString formatVersion = "1.0";
    QByteArray data;
};

// One editing session, everything but the window: the presets shown as
// thumbnails over a small copy of the photo, the chosen preset shown on the
// display image, and the chosen preset rendered over the full-size photo
// and saved as a JPEG. Hosts (the command-line tool) drive this object and
// only sequence it.
class EditingSession
{
public:
    static constexpr int thumbnailWidth = 80;
    static constexpr int thumbnailHeight = 50;

    GrowArray<ImageMod*> prototypes;
    PresetLibrary library;
    // The preset last chosen (one of library's), or null for the unedited photo.
    ImageMod* currentMod = nullptr;
    FlexImage<float> thumbImageOriginal;
    FlexImage<float> thumbImageFiltered;
    FlexImage<float> displayImageOriginal;
    FlexImage<float> displayImageFiltered;
    FlexImage<float> fullImageOriginal;
    FlexImage<float> fullImageFiltered;
    QString fullImagePath;
    double maxMegapixels;
    // When false, finishing renders over the full-size original in place
    // (which then holds the result) instead of into a second full-size
    // image: half the memory, for callers done with the original.
    bool keepOriginalAfterFinish = true;

    EditingSession();
    ~EditingSession();
    EditingSession(EditingSession const&) = delete;
    EditingSession& operator=(EditingSession const&) = delete;

    // Loads the presets of the standard folders (shipped, then the user's).
    void loadStandardPresets();
    int presetCount() const { return library.entries.count; }
    ImageModCompound* preset(int index) const { return library.entries[index].preset; }

    // Starts from a display image and the full-size photo's file, which is
    // decoded here. Fails with a reason when the photo cannot be read.
    bool start(QImage const& display, QString const& fullPath, QString* error);
    // The same when only the photo is at hand: the display image is a copy
    // scaled to fit displayLongSide (none, and no thumbnail source, when it
    // is 0).
    bool startWithPhoto(QString const& fullPath, int displayLongSide, QString* error);

    // Renders preset index over the thumbnail source.
    QImage renderThumbnail(int index);
    // Makes preset index current and renders it over the display image.
    QImage choosePreset(int index);
    // Renders the current preset over the full-size photo and writes it as
    // JPEG (atomically) to outputPath. progress, when given, is called now
    // and then during the render with the finished share (0 to 1).
    bool finish(QString const& outputPath, int quality, AdjustmentData* adjustment, QString* error,
                std::function<void(float)> const& progress = nullptr);

    // The thumbnail source: nearest samples at float positions plus 0.01.
    static void makeThumbnailSource(FlexImage<float> const& display, FlexImage<float>* thumb, int width,
                                    int height);

private:
    // Renders mod over source into destination, or in place when it is null.
    static void render(ImageMod* mod, FlexImage<float>* source, FlexImage<float>* destination,
                       std::function<void(float)> const& progress = nullptr);
};
