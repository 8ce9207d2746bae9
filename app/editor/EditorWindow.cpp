#include "app/editor/EditorWindow.h"

#include <cmath>

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QProgressDialog>
#include <QPushButton>
#include <QSlider>
#include <QStatusBar>
#include <QStyle>
#include <QToolBar>
#include <QVBoxLayout>

#include "app/editor/PreviewView.h"
#include "app/editor/ThumbnailStrip.h"
#include "core/XmlPrefs.h"
#include "extension/FileNames.h"
#include "extension/ImageBridge.h"

namespace {

constexpr char const* originalName = "Original";

// Where the editor keeps its own settings in the preferences file.
XmlNode* editorSettings(XmlPrefs* prefs)
{
    if (!prefs)
        return nullptr;
    if (XmlNode* node = prefs->root.findSubnode("editor"))
        return node;
    XmlNode node;
    node.name = "editor";
    prefs->root.subnodes.add(node);
    return prefs->root.findSubnode("editor");
}

// A preset's name as part of a file name: characters that file systems or
// shells trip over become dashes.
QString fileNamePart(QString name)
{
    for (QChar& c : name)
        if (c == '/' || c == '\\' || c == ':' || c == '*' || c == '?' || c == '"' || c == '<' || c == '>' ||
            c == '|' || c.isSpace())
            c = '-';
    return name;
}

} // namespace

EditorWindow::EditorWindow(XmlPrefs* prefs, QWidget* parent)
    : QMainWindow(parent)
    , prefs(prefs)
{
    session.loadStandardPresets();
    session.thumbnailScale = std::clamp(int(std::ceil(qApp->devicePixelRatio())), 1, 4);
    buildWindow();
    buildMenus();
    previewPoll.setInterval(15);
    connect(&previewPoll, &QTimer::timeout, this, &EditorWindow::pollPreview);
    saveProgressPoll.setInterval(100);
    setAcceptDrops(true);
    setWindowTitle("Quillmere");
    updateActions();
}

EditorWindow::~EditorWindow()
{
    cancelSave = true;
    if (saver.joinable())
        saver.join();
    stopThumbnailer();
    previewRender.cancelAll();
    if (opener.joinable())
        opener.join();
}

void EditorWindow::buildWindow()
{
    auto* central = new QWidget(this);
    central->setFocusPolicy(Qt::StrongFocus);
    auto* column = new QVBoxLayout(central);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);

    banner = new QLabel(central);
    banner->setWordWrap(true);
    banner->setTextInteractionFlags(Qt::TextSelectableByMouse);
    banner->setStyleSheet("QLabel { background: #7a2630; color: white; padding: 8px 12px; }");
    banner->hide();
    column->addWidget(banner);

    preview = new PreviewView(central);
    column->addWidget(preview, 1);

    auto* controls = new QHBoxLayout;
    controls->setContentsMargins(12, 6, 12, 2);
    controls->setSpacing(8);
    controls->addWidget(new QLabel("Amount", central));
    amount = new QSlider(Qt::Horizontal, central);
    amount->setRange(0, 100);
    amount->setValue(100);
    amount->setFocusPolicy(Qt::NoFocus);
    amount->setMaximumWidth(260);
    controls->addWidget(amount);
    amountValue = new QLabel("100", central);
    amountValue->setMinimumWidth(28);
    controls->addWidget(amountValue);
    controls->addSpacing(16);
    remixLabel = new QLabel("Remix", central);
    controls->addWidget(remixLabel);
    remix = new QSlider(Qt::Horizontal, central);
    remix->setRange(0, 100);
    remix->setFocusPolicy(Qt::NoFocus);
    remix->setMaximumWidth(260);
    controls->addWidget(remix);
    controls->addStretch();
    compare = new QPushButton("Compare", central);
    compare->setToolTip("Shows the original while held (or hold Space)");
    compare->setFocusPolicy(Qt::NoFocus);
    controls->addWidget(compare);
    column->addLayout(controls);

    strip = new ThumbnailStrip(central);
    column->addWidget(strip);
    setCentralWidget(central);
    central->setFocus();

    photoName = new QLabel(this);
    statusBar()->addPermanentWidget(photoName);
    statusBar()->setSizeGripEnabled(false);

    connect(strip, &ThumbnailStrip::entryClicked, this, &EditorWindow::chooseLook);
    connect(amount, &QSlider::valueChanged, this, [this](int value) {
        amountValue->setText(QString::number(value));
        requestPreview();
    });
    connect(remix, &QSlider::valueChanged, this, &EditorWindow::requestPreview);
    connect(compare, &QPushButton::pressed, this, [this] {
        comparing = true;
        showPicture();
    });
    connect(compare, &QPushButton::released, this, [this] {
        comparing = false;
        showPicture();
    });
    updateRemixSlider();
    resize(1180, 820);
}

void EditorWindow::buildMenus()
{
    QMenu* file = menuBar()->addMenu("&File");
    QAction* open = file->addAction("&Open...", this, &EditorWindow::chooseAndOpen, QKeySequence::Open);
    saveAction = file->addAction("&Save", this, &EditorWindow::saveBeside, QKeySequence::Save);
    saveAsAction = file->addAction("Save &As...", this, &EditorWindow::chooseAndSave, QKeySequence::SaveAs);
    file->addSeparator();
    file->addAction("&Quit", this, &QWidget::close, QKeySequence::Quit);

    QToolBar* tools = addToolBar("File");
    tools->setMovable(false);
    tools->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    open->setIcon(style()->standardIcon(QStyle::SP_DialogOpenButton));
    saveAction->setIcon(style()->standardIcon(QStyle::SP_DialogSaveButton));
    tools->addAction(open);
    tools->addAction(saveAction);
    tools->addAction(saveAsAction);
}

void EditorWindow::updateActions()
{
    bool const ready = isPhotoOpen() && !saving;
    saveAction->setEnabled(ready);
    saveAsAction->setEnabled(ready);
    amount->setEnabled(ready && look > 0);
    remix->setEnabled(ready);
    compare->setEnabled(ready);
}

// Opening --------------------------------------------------------------

void EditorWindow::openPhoto(QString const& path)
{
    if (opening) {
        openAfter = path;
        return;
    }
    if (opener.joinable())
        opener.join();
    opening = true;
    statusBar()->showMessage("Opening " + QFileInfo(path).fileName() + "...");
    double const limit = session.maxMegapixels;
    int const scale = session.thumbnailScale;
    opener = std::thread([this, path, limit, scale] {
        auto opened = std::make_shared<Opened>();
        QString error;
        if (EditingSession::readForDisplay(path, previewLongSide, limit, scale, &opened->photo, &error))
            opened->picture = QImageFromFlexImage(&opened->photo.display);
        else
            opened.reset();
        QMetaObject::invokeMethod(
            this, [this, path, opened, error] { openFinished(path, opened, error); }, Qt::QueuedConnection);
    });
}

void EditorWindow::openFinished(QString const& path, std::shared_ptr<Opened> const& opened, QString const& error)
{
    opening = false;
    statusBar()->clearMessage();
    if (!opened) {
        showError(QString("Could not open \"%1\": %2").arg(QFileInfo(path).fileName(), error));
    } else {
        clearError();
        // Nothing may read the old display image while it changes.
        stopThumbnailer();
        previewRender.cancelAll();
        session.startWith(&opened->photo);
        original = opened->picture;
        rendered = QImage();
        look = 0;
        setWindowTitle(QFileInfo(path).fileName() + " - Quillmere");
        photoName->setText(QString("%1 x %2 preview").arg(original.width()).arg(original.height()));
        if (XmlNode* settings = editorSettings(prefs))
            settings->addParameter("lastFolder", QFileInfo(path).absolutePath().toUtf8().constData());
        startThumbnails();
        strip->setCurrent(0);
        updateRemixSlider();
        showPicture();
        updateActions();
        emit photoOpened();
    }
    if (!openAfter.isEmpty())
        openPhoto(std::exchange(openAfter, QString()));
}

void EditorWindow::chooseAndOpen()
{
    QString folder;
    if (XmlNode* settings = editorSettings(prefs))
        folder = QString::fromUtf8(settings->getParameterVal("lastFolder").c_str());
    QString const path = QFileDialog::getOpenFileName(this, "Open Photo", folder,
                                                      "Photos (*.jpg *.jpeg *.png *.tif *.tiff *.webp);;All files (*)");
    if (!path.isEmpty())
        openPhoto(path);
}

// Thumbnails -----------------------------------------------------------

void EditorWindow::startThumbnails()
{
    stopThumbnailer();
    ++thumbnailGeneration;
    thumbnailsShown = 0;
    QStringList names{originalName};
    // Copies, so that the strip renders without touching what the preview
    // and the save copy from.
    auto copies = std::make_shared<std::vector<std::unique_ptr<ImageMod>>>();
    copies->emplace_back(nullptr);
    for (int i = 0; i < session.presetCount(); ++i) {
        names << QString::fromUtf8(session.preset(i)->name.c_str());
        copies->emplace_back(EditingSession::adjustedCopy(*session.preset(i), 1.0f));
    }
    strip->reset(names, QSize(EditingSession::thumbnailWidth, EditingSession::thumbnailHeight));
    stopThumbnails = false;
    int const generation = thumbnailGeneration;
    FlexImage<float>* source = &session.thumbImageOriginal;
    thumbnailer = std::thread([this, copies, generation, source] {
        for (size_t i = 0; i < copies->size() && !stopThumbnails; ++i) {
            FlexImage<float> thumbnail;
            EditingSession::render((*copies)[i].get(), source, &thumbnail);
            QImage picture = QImageFromFlexImage(&thumbnail);
            QMetaObject::invokeMethod(
                this, [this, generation, i, picture] { thumbnailReady(generation, int(i), picture); },
                Qt::QueuedConnection);
        }
    });
}

void EditorWindow::stopThumbnailer()
{
    stopThumbnails = true;
    if (thumbnailer.joinable())
        thumbnailer.join();
}

void EditorWindow::thumbnailReady(int generation, int index, QImage const& picture)
{
    if (generation != thumbnailGeneration)
        return;
    strip->setThumbnail(index, picture);
    if (++thumbnailsShown == strip->count())
        emit thumbnailsDone();
}

bool EditorWindow::allThumbnailsShown() const
{
    return strip->count() > 0 && thumbnailsShown == strip->count();
}

// Choosing and previewing ----------------------------------------------

void EditorWindow::chooseLook(int index)
{
    if (!isPhotoOpen() || index < 0 || index >= strip->count())
        return;
    look = index;
    strip->setCurrent(index);
    {
        QSignalBlocker blockAmount(amount);
        amount->setValue(100);
        amountValue->setText("100");
    }
    updateRemixSlider();
    updateActions();
    requestPreview();
}

void EditorWindow::updateRemixSlider()
{
    double variation = 0.0;
    bool const hasRemix = look > 0 && EditingSession::hasRemix(session.preset(look - 1), &variation);
    QSignalBlocker blockRemix(remix);
    remix->setValue(int(std::lround(std::clamp(variation, 0.0, 1.0) * 100.0)));
    remix->setVisible(hasRemix);
    remixLabel->setVisible(hasRemix);
}

ImageMod* EditorWindow::adjustedLook() const
{
    if (look <= 0 || look > session.presetCount())
        return nullptr;
    double const variation = remix->value() / 100.0;
    return EditingSession::adjustedCopy(*session.preset(look - 1), amount->value() / 100.0f,
                                        !remix->isHidden() ? &variation : nullptr);
}

void EditorWindow::requestPreview()
{
    if (!isPhotoOpen())
        return;
    previewRender.request(adjustedLook(), &session.displayImageOriginal, ++ticket);
    previewPoll.start();
}

void EditorWindow::pollPreview()
{
    QImage picture;
    int done = 0;
    if (previewRender.poll(&picture, &done)) {
        rendered = picture;
        showPicture();
        emit previewShown();
    }
    if (!previewRender.busy())
        previewPoll.stop();
}

void EditorWindow::showPicture()
{
    preview->setPicture(comparing || rendered.isNull() ? original : rendered);
}

QImage EditorWindow::shownPicture() const
{
    return preview->picture();
}

bool EditorWindow::isBusy() const
{
    return opening || previewRender.busy() || saving ||
           (isPhotoOpen() && !allThumbnailsShown());
}

// Saving ---------------------------------------------------------------

QString EditorWindow::suggestedSavePath() const
{
    QFileInfo const photo(session.fullImagePath);
    QString const lookName = look > 0 ? fileNamePart(strip->name(look)) : QString(originalName);
    return photo.absoluteDir().filePath(photo.completeBaseName() + "-" + lookName + ".jpg");
}

void EditorWindow::saveBeside()
{
    if (!isPhotoOpen() || saving)
        return;
    QString const path = suggestedSavePath();
    if (pathExists(path) &&
        QMessageBox::question(this, "Replace File?",
                              QString("\"%1\" already exists. Replace it?").arg(QFileInfo(path).fileName()),
                              QMessageBox::Yes | QMessageBox::Cancel, QMessageBox::Cancel) != QMessageBox::Yes)
        return;
    saveTo(path);
}

void EditorWindow::chooseAndSave()
{
    if (!isPhotoOpen() || saving)
        return;
    // The dialog asks before replacing a file.
    QString const path = QFileDialog::getSaveFileName(this, "Save Photo As", suggestedSavePath(),
                                                      "JPEG (*.jpg *.jpeg);;PNG (*.png);;TIFF (*.tif *.tiff);;WebP (*.webp)");
    if (!path.isEmpty())
        saveTo(path);
}

void EditorWindow::saveTo(QString const& path)
{
    if (!isPhotoOpen() || saving)
        return;
    if (saver.joinable())
        saver.join();
    saving = true;
    savedPath.clear();
    cancelSave = false;
    saveProgress = 0.0f;
    savedLook.reset(adjustedLook());
    session.currentMod = savedLook.get();
    updateActions();

    saveDialog = new QProgressDialog("Saving " + QFileInfo(path).fileName() + "...", "Cancel", 0, 1000, this);
    saveDialog->setWindowModality(Qt::WindowModal);
    saveDialog->setMinimumDuration(300);
    saveDialog->setAutoClose(false);
    saveDialog->setAutoReset(false);
    connect(saveDialog, &QProgressDialog::canceled, this, [this] { cancelSave = true; });
    connect(&saveProgressPoll, &QTimer::timeout, saveDialog, [this] {
        saveDialog->setValue(int(saveProgress * 1000.0f));
    });
    saveProgressPoll.start();

    saver = std::thread([this, path] {
        RenderFailure failure;
        bool const saved = session.finish(path, PhotoWriteOptions(), nullptr, &failure, [this](float share) {
            saveProgress = share;
            return !cancelSave;
        });
        QMetaObject::invokeMethod(
            this, [this, saved, path, reason = failure.reason] { saveFinishedWith(saved, path, reason); },
            Qt::QueuedConnection);
    });
}

void EditorWindow::saveFinishedWith(bool saved, QString const& path, QString const& error)
{
    if (saver.joinable())
        saver.join();
    saving = false;
    saveProgressPoll.stop();
    saveProgressPoll.disconnect();
    saveDialog->deleteLater();
    saveDialog = nullptr;
    session.currentMod = nullptr;
    savedLook.reset();
    if (saved) {
        savedPath = path;
        clearError();
        statusBar()->showMessage("Saved " + QDir::toNativeSeparators(path), 8000);
    } else if (cancelSave) {
        statusBar()->showMessage("Save cancelled; nothing was written.", 8000);
    } else {
        showError(QString("Could not save \"%1\": %2").arg(QFileInfo(path).fileName(), error));
    }
    updateActions();
    emit saveFinished(saved);
}

// Messages and input ---------------------------------------------------

void EditorWindow::showError(QString const& message)
{
    banner->setText(message);
    banner->show();
}

void EditorWindow::clearError()
{
    banner->clear();
    banner->hide();
}

QString EditorWindow::errorText() const
{
    return banner->isHidden() ? QString() : banner->text();
}

void EditorWindow::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Left:
        chooseLook(look - 1);
        break;
    case Qt::Key_Right:
        chooseLook(look + 1);
        break;
    case Qt::Key_Space:
        if (!event->isAutoRepeat()) {
            comparing = true;
            showPicture();
        }
        break;
    default:
        QMainWindow::keyPressEvent(event);
    }
}

void EditorWindow::keyReleaseEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Space && !event->isAutoRepeat()) {
        comparing = false;
        showPicture();
        return;
    }
    QMainWindow::keyReleaseEvent(event);
}

void EditorWindow::dragEnterEvent(QDragEnterEvent* event)
{
    if (event->mimeData()->hasUrls() && event->mimeData()->urls().first().isLocalFile())
        event->acceptProposedAction();
}

void EditorWindow::dropEvent(QDropEvent* event)
{
    QList<QUrl> const urls = event->mimeData()->urls();
    if (!urls.isEmpty() && urls.first().isLocalFile())
        openPhoto(urls.first().toLocalFile());
}

void EditorWindow::closeEvent(QCloseEvent* event)
{
    // A save under way finishes or is cancelled first: never a partial file.
    if (saving) {
        cancelSave = true;
        event->ignore();
        connect(this, &EditorWindow::saveFinished, this, &QWidget::close, Qt::QueuedConnection);
        return;
    }
    QMainWindow::closeEvent(event);
}
