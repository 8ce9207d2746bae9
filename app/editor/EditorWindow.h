#pragma once

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include <QImage>
#include <QMainWindow>
#include <QString>
#include <QTimer>

#include "extension/EditingSession.h"
#include "extension/PreviewRender.h"

class QAction;
class QLabel;
class QProgressDialog;
class QPushButton;
class QSlider;
class PreviewView;
class ThumbnailStrip;
class XmlPrefs;

// The desktop editor's window: a preview, the strip of looks under it, an
// Amount and a Remix slider, Compare, Open and Save. Everything that
// touches pixels happens in the editing session and the engine on other
// threads; the window only sequences them and shows what comes back.
class EditorWindow : public QMainWindow
{
    Q_OBJECT

public:
    // The long side the preview is decoded to (device pixels).
    static constexpr int previewLongSide = 1600;

    // prefs keeps the last folder opened from; may be null.
    explicit EditorWindow(XmlPrefs* prefs, QWidget* parent = nullptr);
    ~EditorWindow() override;

    // Opens a photo (read off this thread; the result shows when ready).
    void openPhoto(QString const& path);
    // Shows look index of the strip (0: "Original", k: preset k - 1).
    void chooseLook(int index);
    // Saves the chosen look at full size to path, with progress and a
    // Cancel button; the outcome shows when done.
    void saveTo(QString const& path);
    // Cancels a save under way, as its Cancel button does.
    void cancelSaving() { cancelSave = true; }
    // The file Save writes to: NAME-LOOK.jpg beside the photo.
    QString suggestedSavePath() const;

    // What the window shows, for its tests and its screenshot.
    EditingSession& editingSession() { return session; }
    ThumbnailStrip* thumbnailStrip() const { return strip; }
    QSlider* amountSlider() const { return amount; }
    QSlider* remixSlider() const { return remix; }
    QImage shownPicture() const;
    QString errorText() const;
    QString photoPath() const { return session.fullImagePath; }
    bool isPhotoOpen() const { return !original.isNull(); }
    // True while anything renders, reads, saves or waits to.
    bool isBusy() const;
    bool allThumbnailsShown() const;
    // The last save's outcome: the path written, or empty with errorText.
    QString lastSaved() const { return savedPath; }

signals:
    void photoOpened();
    void previewShown();
    void thumbnailsDone();
    void saveFinished(bool saved);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    EditingSession session;
    XmlPrefs* prefs;

    PreviewView* preview;
    ThumbnailStrip* strip;
    QSlider* amount;
    QSlider* remix;
    QLabel* remixLabel;
    QLabel* amountValue;
    QPushButton* compare;
    QLabel* banner;
    QLabel* photoName;
    QAction* saveAction;
    QAction* saveAsAction;

    QImage original;   // the display image as it is
    QImage rendered;   // the chosen look over it, once rendered
    bool comparing = false;
    int look = 0;
    int ticket = 0;
    PreviewRender previewRender;
    QTimer previewPoll;

    // Reading a photo: one at a time; a newer request waits its turn.
    std::thread opener;
    bool opening = false;
    QString openAfter;

    // Thumbnails: rendered one by one on their own thread from copies of
    // the presets; each generation belongs to one photo.
    std::thread thumbnailer;
    std::atomic<bool> stopThumbnails{false};
    int thumbnailGeneration = 0;
    int thumbnailsShown = 0;

    // Saving.
    std::thread saver;
    std::atomic<bool> cancelSave{false};
    std::atomic<float> saveProgress{0.0f};
    bool saving = false;
    QProgressDialog* saveDialog = nullptr;
    QTimer saveProgressPoll;
    std::unique_ptr<ImageMod> savedLook;
    QString savedPath;

    void buildWindow();
    void buildMenus();
    void applyTheme();
    struct Opened
    {
        EditingSession::OpenedPhoto photo;
        QImage picture; // photo.display as the window draws it
    };
    void openFinished(QString const& path, std::shared_ptr<Opened> const& opened, QString const& error);
    void startThumbnails();
    void stopThumbnailer();
    void thumbnailReady(int generation, int index, QImage const& picture);
    ImageMod* adjustedLook() const;
    void requestPreview();
    void pollPreview();
    void showPicture();
    void updateRemixSlider();
    void saveFinishedWith(bool saved, QString const& path, QString const& error);
    void showError(QString const& message);
    void clearError();
    void chooseAndOpen();
    void saveBeside();
    void chooseAndSave();
    void updateActions();
};
