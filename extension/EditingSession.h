#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

#include "core/GrowArray.h"
#include "extension/ImageFiles.h"
#include "extension/PhotoRender.h"
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
// and saved. Hosts (the command-line tool, the desktop editor) drive this
// object and only sequence it.
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
    // The full-size photo's file. It is read while finishing, streamed
    // through the render band by band, never held whole.
    QString fullImagePath;
    double maxMegapixels = defaultMaxMegapixels;
    // Thumbnails render at this multiple of their size, so that screens of
    // several device pixels a point show them sharp.
    int thumbnailScale = 1;

    EditingSession();
    ~EditingSession();
    EditingSession(EditingSession const&) = delete;
    EditingSession& operator=(EditingSession const&) = delete;

    // Loads the presets of the standard folders (shipped, then the user's).
    void loadStandardPresets();
    // A preset by name (from the standard folders, loaded here if need be)
    // or as a .qmf file: its library entry, or null with the file or name
    // at fault and the reason.
    PresetLibrary::Entry const* findPreset(QString const& nameOrFile, QString* subject, QString* reason);
    int presetCount() const { return library.entries.count; }
    ImageModCompound* preset(int index) const { return library.entries[index].preset; }

    // Starts from a display image and the full-size photo's file, whose
    // header is checked here. Fails with a reason when the photo cannot be
    // read or is over the size limit.
    bool start(QImage const& display, QString const& fullPath, QString* error);
    // Opens a photo: its display image (decoded shrunk to fit
    // displayLongSide, which is fast for a JPEG) and the thumbnail source
    // made from it; with displayLongSide 0 only the header is checked.
    bool openPhoto(QString const& fullPath, int displayLongSide, QString* error);
    // openPhoto in two steps, for hosts that read off their window's
    // thread: the photo's pictures, read and made touching no session (so
    // safe on any thread), then handed over to the session without a copy.
    struct OpenedPhoto
    {
        QString path;
        FlexImage<float> display;
        FlexImage<float> thumbnailSource;
    };
    static bool readForDisplay(QString const& fullPath, int displayLongSide, double maxMegapixels,
                               int thumbnailScale, OpenedPhoto* photo, QString* error);
    void startWith(OpenedPhoto* photo);

    // Renders preset index over the thumbnail source.
    QImage renderThumbnail(int index);
    // Makes preset index current (-1: none) and renders it over the display
    // image.
    QImage choosePreset(int index);
    // Renders mod over the display image, without changing the current
    // preset.
    QImage renderDisplay(ImageMod* mod);

    // Renders the current preset over the full-size photo and writes it
    // (atomically, in the format outputPath's extension names, keeping the
    // photo's metadata unless told not to). A failure names its reason and
    // whether the photo or the output is at fault.
    bool finish(QString const& outputPath, PhotoWriteOptions const& options, AdjustmentData* adjustment,
                RenderFailure* failure, RenderProgress const& progress = nullptr);
    bool finish(QString const& outputPath, int quality, AdjustmentData* adjustment, QString* error,
                RenderProgress const& progress = nullptr);

    // A copy of preset as the user set it: blended by amount (0 to 1) and,
    // when remix is given, with that Remix for its camera styles. The
    // caller owns it; rendering it leaves the library's preset untouched,
    // so renders on other threads may use the copies freely.
    static ImageMod* adjustedCopy(ImageModCompound const& preset, float amount, double const* remix = nullptr);

    // Sets the Remix (variation) of every camera style in mod; false when it
    // holds none.
    static bool setRemix(ImageMod* mod, double variation);
    // Whether mod holds a camera style, and its first style's Remix.
    static bool hasRemix(ImageMod* mod, double* variation = nullptr);

    // The thumbnail source: nearest samples at float positions plus 0.01.
    static void makeThumbnailSource(FlexImage<float> const& display, FlexImage<float>* thumb, int width,
                                    int height);
    // The same at the thumbnails' size times scale (1 to 4).
    static void makeThumbnailSource(FlexImage<float> const& display, FlexImage<float>* thumb, int scale);

    // Renders mod over source into destination, or in place when it is
    // null; false when progress cancelled it.
    template <typename T>
    static bool render(ImageMod* mod, FlexImage<T>* source, FlexImage<T>* destination,
                       RenderProgress const& progress = nullptr);

private:
    void setDisplayImage(FlexImage<float> const& display);
};
