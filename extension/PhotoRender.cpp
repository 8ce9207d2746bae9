#include "extension/ImageLibrary.h"

#include "extension/PhotoRender.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

#include "core/SampleMemory.h"
#include "core/ScratchPool.h"
#include "extension/WindowAhead.h"
#include "mods/ImageModCompound.h"
#include "mods/ImageModderBands.h"
#include "mods/output/ImageModCrop.h"
#include "mods/output/ImageModImageOverlay.h"
#include "mods/output/ImageModSize2.h"

using namespace imageLibrary;

namespace {

// One render of a chain over a photo as libvips pulls it through: the image
// the saver reads is made band by band from the decoded photo.
struct StreamedRender
{
    ImageModderBands* bands;
    VipsImage* photo;
    // One worker of the saver asks for the bands, in order: each band's
    // window is read while the band before it renders.
    bool readsAhead = false;
    // The saver's workers ask for small bands side by side, each rendered
    // on the worker's own thread: nesting a parallel loop in theirs only
    // made threads compete for the same cores.
    bool bandsSideBySide = false;
    std::atomic<int> rowsDone{0};
    std::atomic<bool> cancelled{false};
    std::atomic<bool> photoFailed{false};
    std::mutex firstMessageLock;
    QString firstPhotoMessage;
    // Windows that must be copied (taller than one read) go into memory
    // kept from band to band: made anew, a window of a thousand rows would
    // be faulted in anew for every band.
    ScratchPool<SampleBuffer<unsigned char>> byteWindows;
    ScratchPool<SampleBuffer<float>> floatWindows;
    // Last, so that a read still under way ends before the rest goes.
    std::unique_ptr<WindowAhead<unsigned char>> bytesAhead;
    std::unique_ptr<WindowAhead<float>> floatsAhead;

    template <typename T>
    ScratchPool<SampleBuffer<T>>& windows()
    {
        if constexpr (std::is_same_v<T, float>)
            return floatWindows;
        else
            return byteWindows;
    }

    // The reader ahead for samples of type T, made on first use.
    template <typename T>
    WindowAhead<T>& ahead();
};

template <typename T>
void wrapRows(VipsRegion* region, VipsRect const& area, FlexImage<T>* image)
{
    image->viewOf(reinterpret_cast<T*>(VIPS_REGION_ADDR(region, area.left, area.top)), area.width, area.height,
                  region->im->Bands);
}

bool isContiguous(VipsRegion* region, VipsRect const& area)
{
    return size_t(VIPS_REGION_LSKIP(region)) == size_t(area.width) * VIPS_IMAGE_SIZEOF_PEL(region->im);
}

// Windows taller than this are read a strip at a time: one request for a
// tall window makes every stage of the decoding pipeline hold a buffer that
// tall (a wide blur's window is over a thousand rows).
constexpr int windowStripRows = 128;

bool prepare(VipsRegion* in, VipsRect const& area, StreamedRender* render)
{
    if (vips_region_prepare(in, &area) == 0)
        return true;
    std::lock_guard<std::mutex> guard(render->firstMessageLock);
    if (!render->photoFailed.exchange(true))
        render->firstPhotoMessage = QString::fromUtf8(vips_error_buffer()).trimmed();
    return false;
}

// The photo's rows of context copied into memory, as window; prepared: in
// holds them already.
template <typename T>
bool copyWindow(VipsRegion* in, VipsRect const& context, StreamedRender* render, bool prepared,
                SampleBuffer<T>* memory, FlexImage<T>* window)
{
    int const channels = in->im->Bands;
    window->viewOf(memory->atLeast(size_t(context.width) * size_t(context.height) * size_t(channels)), context.width,
                   context.height, channels);
    size_t const rowBytes = size_t(context.width) * VIPS_IMAGE_SIZEOF_PEL(in->im);
    for (int first = 0; first < context.height; first += windowStripRows) {
        int const rows = std::min(windowStripRows, context.height - first);
        VipsRect const strip{0, context.top + first, context.width, rows};
        if (!prepared && !prepare(in, strip, render))
            return false;
        for (int y = first; y < first + rows; ++y)
            std::memcpy(window->pixelAt(0, y), VIPS_REGION_ADDR(in, 0, context.top + y), rowBytes);
    }
    return true;
}

template <typename T>
WindowAhead<T>& StreamedRender::ahead()
{
    std::unique_ptr<WindowAhead<T>>* held;
    if constexpr (std::is_same_v<T, float>)
        held = &floatsAhead;
    else
        held = &bytesAhead;
    if (!*held)
        *held = std::make_unique<WindowAhead<T>>(
            photo, [this](VipsRegion* region, VipsRect const& context, SampleBuffer<T>* memory, FlexImage<T>* window) {
                return copyWindow(region, context, this, false, memory, window);
            });
    return **held;
}

// The photo's rows of context into window: in place when they come in one
// piece, else copied into memory.
template <typename T>
bool readWindow(VipsRegion* in, VipsRect const& context, StreamedRender* render, SampleBuffer<T>* memory,
                FlexImage<T>* window)
{
    bool const inOneRead = context.height <= windowStripRows;
    if (inOneRead) {
        if (!prepare(in, context, render))
            return false;
        if (isContiguous(in, context)) {
            wrapRows(in, context, window);
            return true;
        }
    }
    return copyWindow(in, context, render, inOneRead, memory, window);
}

// The photo's rows that rows [first, first + count) are rendered from: the
// halo's rows more on each side, within the photo.
VipsRect contextOf(int first, int count, StreamedRender const* render)
{
    int const halo = render->bands->haloRadius();
    int const top = std::max(0, first - halo);
    int const bottom = std::min(render->photo->Ysize, first + count + halo);
    return VipsRect{0, top, render->photo->Xsize, bottom - top};
}

// The window of context for a band: read ahead, or read in place when the
// bands may come in any order.
template <typename T>
bool windowFor(VipsRegion* in, VipsRect const& context, StreamedRender* render, SampleBuffer<T>* memory,
               FlexImage<T>* window)
{
    if (render->readsAhead)
        return render->ahead<T>().take(context, window);
    return readWindow(in, context, render, memory, window);
}

// With one worker the band after wanted comes next: its window is read
// while wanted renders.
template <typename T>
void readNextWindow(VipsRect const& wanted, StreamedRender* render)
{
    int const nextTop = wanted.top + wanted.height;
    if (!render->readsAhead || nextTop >= render->photo->Ysize || render->cancelled)
        return;
    render->ahead<T>().readAhead(contextOf(nextTop, wanted.height, render));
}

template <typename T>
int renderRows(VipsRegion* out, VipsRegion* in, StreamedRender* render)
{
    VipsRect const& wanted = out->valid;
    int const width = render->photo->Xsize;
    VipsRect const context = contextOf(wanted.top, wanted.height, render);
    auto const windowMemory = render->windows<T>().lease();
    FlexImage<T> window;
    if (render->cancelled || !windowFor(in, context, render, &*windowMemory, &window))
        return -1;
    readNextWindow<T>(wanted, render);
    // The band is rendered across the whole width; a narrower request (the
    // savers ask for whole rows) takes its part of it.
    VipsRect const rows{0, wanted.top, width, wanted.height};
    FlexImage<T> band;
    bool const direct = wanted.left == 0 && wanted.width == width && isContiguous(out, rows);
    if (direct)
        wrapRows(out, rows, &band);
    else
        band.reshape(width, wanted.height, window.channels);
    render->bands->renderBand(window, context.top, wanted.top, &band, render->bandsSideBySide);
    if (!direct)
        for (int y = 0; y < wanted.height; ++y)
            std::memcpy(VIPS_REGION_ADDR(out, wanted.left, wanted.top + y), band.pixelAt(wanted.left, y),
                        size_t(wanted.width) * VIPS_IMAGE_SIZEOF_PEL(out->im));
    render->rowsDone.fetch_add(wanted.height, std::memory_order_relaxed);
    return 0;
}

int generateRows(VipsRegion* out, void* sequence, void*, void* renderArgument, gboolean*)
{
    auto* in = static_cast<VipsRegion*>(sequence);
    auto* render = static_cast<StreamedRender*>(renderArgument);
    return vips_image_get_format(render->photo) == VIPS_FORMAT_FLOAT ? renderRows<float>(out, in, render)
                                                                     : renderRows<unsigned char>(out, in, render);
}

// The rendered photo as an image the saver can pull, in bands of the
// renderer's height (a line cache hands the saver's smaller strips out of
// them). A chain without a halo renders any strip asked for at no extra
// cost, so when every row is read once (no resize after it), the saver's
// strips are rendered as they are asked for, into the saver's own buffers:
// a cache of bands would only be more memory to fault in.
bool renderedImage(StreamedRender* render, bool rowsReadOnce, VipsRef* result)
{
    VipsRef generated(vips_image_new());
    if (vips_image_pipelinev(generated.get(), VIPS_DEMAND_STYLE_FATSTRIP, render->photo, nullptr) != 0)
        return false;
    // Asked for in strips of whole rows, whatever the steps before it would
    // rather be asked for: a band is rendered across the whole width. A
    // photo turned upright (or straightened) would have it asked for in
    // small tiles, and a whole band was rendered for each of them: a
    // portrait photo from a phone took 9 s, where it takes 0.8.
    generated.get()->dhint = VIPS_DEMAND_STYLE_FATSTRIP;
    if (vips_image_generate(generated.get(), vips_start_one, generateRows, vips_stop_one, render->photo, render) != 0)
        return false;
    if (rowsReadOnce && render->bands->haloRadius() == 0) {
        render->bandsSideBySide = true;
        result->replaceWith(generated);
        return true;
    }
    return vips_linecache(generated.get(), result->out(), "tile_height", render->bands->bandHeight(), "access",
                          VIPS_ACCESS_SEQUENTIAL, "threaded", TRUE, nullptr) == 0;
}

// Reports progress on the calling thread: libvips signals its evaluation
// there while the saver's workers pull the bands.
void reportProgress(VipsImage*, VipsProgress*, gpointer data)
{
    auto* context = static_cast<std::pair<StreamedRender*, RenderProgress const*>*>(data);
    StreamedRender* render = context->first;
    float const done = float(render->rowsDone.load(std::memory_order_relaxed)) / float(render->photo->Ysize);
    if (!(*context->second)(std::min(done, 1.0f)))
        render->cancelled = true;
}

// Opens the photo for streaming: upright, in sRGB, as 8-bit samples or, for
// deeper sources, floats on the 0..255 scale. outOfOrder: the photo will be
// turned, so it is decoded whole first.
bool openForStreaming(QByteArray const& path, bool outOfOrder, VipsRef* image, bool* deep)
{
    if (!openUpright(path, image, outOfOrder))
        return false;
    *deep = isDeepSource(image->get());
    if (!toSrgb(*image, *deep))
        return false;
    if (*deep) {
        VipsRef scaled;
        if (vips_linear1(image->get(), scaled.out(), 1.0 / 257.0, 0.0, nullptr) != 0)
            return false;
        image->replaceWith(scaled);
    }
    return true;
}

// --- geometry --------------------------------------------------------------

// What a chain asks of the finished picture's shape: the first crop and the
// last output size in it, looking into compounds; a disabled filter asks
// for nothing.
struct OutputGeometry
{
    ImageModCrop const* crop = nullptr;
    ImageModSize2* size = nullptr;
};

void findGeometry(ImageMod* mod, OutputGeometry* geometry)
{
    if (!mod || !mod->enabled)
        return;
    if (auto* compound = dynamic_cast<ImageModCompound*>(mod)) {
        for (ImageMod* sub : compound->subMods)
            findGeometry(sub, geometry);
    } else if (auto const* crop = dynamic_cast<ImageModCrop const*>(mod)) {
        if (!geometry->crop)
            geometry->crop = crop;
    } else if (auto* size = dynamic_cast<ImageModSize2*>(mod)) {
        geometry->size = size;
    }
}

// The crop's straightening angle within (-180, 180] degrees; 0 for none.
double straighteningAngle(ImageModCrop const* crop)
{
    double angle = std::fmod(crop->straightenDegrees(), 360.0);
    if (angle > 180.0)
        angle -= 360.0;
    else if (angle <= -180.0)
        angle += 360.0;
    return angle;
}

// Turns the picture clockwise by degrees about its centre (bicubic), then
// keeps the largest rectangle of its own proportions that the turned
// picture fills, as photo editors do: no empty corner shows. A picture of
// w x h turned by a fits a rectangle scaled by
// min(w / (w |cos a| + h |sin a|), h / (w |sin a| + h |cos a|)).
bool straighten(VipsRef& image, double degrees)
{
    double const width = image.get()->Xsize;
    double const height = image.get()->Ysize;
    double const radians = degrees * M_PI / 180.0;
    double const c = std::fabs(std::cos(radians));
    double const s = std::fabs(std::sin(radians));
    double const fit = std::min(width / (width * c + height * s), height / (width * s + height * c));
    VipsInterpolate* bicubic = vips_interpolate_new("bicubic");
    VipsRef turned;
    int const rotated = vips_rotate(image.get(), turned.out(), degrees, "interpolate", bicubic, nullptr);
    g_object_unref(bicubic);
    if (rotated != 0)
        return false;
    // A pixel less on each side: the edge pixels of the fit blend with the
    // empty corners.
    int const keptWidth = std::max(1, int(std::floor(width * fit)) - 2);
    int const keptHeight = std::max(1, int(std::floor(height * fit)) - 2);
    int const left = std::max(0, (turned.get()->Xsize - keptWidth) / 2);
    int const top = std::max(0, (turned.get()->Ysize - keptHeight) / 2);
    return vips_crop(turned.get(), image.out(), left, top, std::min(keptWidth, turned.get()->Xsize - left),
                     std::min(keptHeight, turned.get()->Ysize - top), nullptr) == 0;
}

// Keeps the crop's rectangle of the picture; nothing to do without one.
bool crop(VipsRef& image, ImageModCrop const* cropFilter)
{
    double left, top, right, bottom;
    if (!cropFilter->cropRectangle(&left, &top, &right, &bottom))
        return true;
    int const width = image.get()->Xsize;
    int const height = image.get()->Ysize;
    int const x0 = std::min(width - 1, int(std::lround(left * width)));
    int const y0 = std::min(height - 1, int(std::lround(top * height)));
    int const x1 = std::max(x0 + 1, int(std::lround(right * width)));
    int const y1 = std::max(y0 + 1, int(std::lround(bottom * height)));
    VipsRef cropped;
    if (vips_crop(image.get(), cropped.out(), x0, y0, std::min(x1, width) - x0, std::min(y1, height) - y0,
                  nullptr) != 0)
        return false;
    image.replaceWith(cropped);
    return true;
}

// Resamples to width x height with the Lanczos-3 kernel (antialiased when
// shrinking); exact to the pixel.
bool resize(VipsRef& image, int width, int height)
{
    int const fromWidth = image.get()->Xsize;
    int const fromHeight = image.get()->Ysize;
    if (width == fromWidth && height == fromHeight)
        return true;
    VipsRef resized;
    if (vips_resize(image.get(), resized.out(), double(width) / fromWidth, "vscale", double(height) / fromHeight,
                    "kernel", VIPS_KERNEL_LANCZOS3, nullptr) != 0)
        return false;
    image.replaceWith(resized);
    if (image.get()->Xsize == width && image.get()->Ysize == height)
        return true;
    // Rounding may leave a pixel more or less: repeat the edge or trim it.
    VipsRef exact;
    if (vips_embed(image.get(), exact.out(), 0, 0, width, height, "extend", VIPS_EXTEND_COPY, nullptr) != 0)
        return false;
    image.replaceWith(exact);
    return true;
}

// The quality to save with: the user's when chosen, else the output-size
// filter's "Quality" when it has one, else the default.
int qualityFor(PhotoWriteOptions const& options, ImageModSize2* size)
{
    auto const* constrain = dynamic_cast<ImageModConstrainSize const*>(size);
    if (options.qualityChosen || !constrain)
        return options.quality;
    float const quality = constrain->floatVar(ImageModConstrainSize::Quality, float(options.quality));
    return int(std::clamp(quality, 1.0f, 100.0f));
}

} // namespace

bool renderPhotoFile(QString const& photoPath, ImageMod* mod, QString const& outputPath,
                     PhotoWriteOptions const& options, double maxMegapixels, RenderFailure* failure,
                     RenderProgress const& progress)
{
    ImageModImageOverlay::setOverlayLoader(loadOverlayImage);
    failure->photoAtFault = true;
    if (!checkPhotoSize(photoPath, maxMegapixels, &failure->reason))
        return false;
    failure->photoAtFault = false;
    ImageFormat format;
    if (!checkDestination(outputPath, &format, &failure->reason))
        return false;

    OutputGeometry geometry;
    findGeometry(mod, &geometry);
    double const angle = geometry.crop ? straighteningAngle(geometry.crop) : 0.0;
    vips_error_clear();
    CallWarnings warnings;
    VipsRef photo;
    bool deep = false;
    if (!openForStreaming(fileSystemPath(photoPath), angle != 0.0, &photo, &deep) ||
        (angle != 0.0 && !straighten(photo, angle)) || (geometry.crop && !crop(photo, geometry.crop))) {
        failure->photoAtFault = true;
        failure->reason = "damaged or truncated image data (" + libraryMessage(&warnings) + ")";
        return false;
    }
    int const width = photo.get()->Xsize;
    int const height = photo.get()->Ysize;
    int const outputWidth = geometry.size ? std::max(1, geometry.size->getOutputWidth(width, height)) : width;
    int const outputHeight = geometry.size ? std::max(1, geometry.size->getOutputHeight(width, height)) : height;
    if (!(double(outputWidth) * double(outputHeight) / 1e6 <= maxMegapixels)) {
        failure->reason = QString("the result would be %1 x %2 pixels, more than the limit of %3 megapixels")
                              .arg(outputWidth)
                              .arg(outputHeight)
                              .arg(maxMegapixels);
        return false;
    }

    GrowArray<ImageMod*> chain;
    if (mod)
        chain.add(mod);
    ImageModderBands bands(chain, width, height);
    StreamedRender render;
    render.bands = &bands;
    render.photo = photo.get();
    VipsRef ready;
    bool const resized = outputWidth != width || outputHeight != height;
    if (!renderedImage(&render, !resized, &ready) || !resize(ready, outputWidth, outputHeight) ||
        !prepareForFormat(ready, format, deep)) {
        failure->reason = "cannot encode: " + libraryMessage();
        return false;
    }
    if (options.keepMetadata)
        attachMetadata(ready.get(), metadataOf(photo.get()));
    // A chain with a halo renders each band on all cores, behind the line
    // cache. A second worker of the saver would only wait on the cache for
    // the band the first is making, or compete with its tiles for the same
    // cores: one worker saves in 5 to 10% less time. A resize after the
    // render keeps them all, for work of its own.
    // The next band's window is then read while a band renders, but not a
    // window over two bands tall (a wide halo's): a second one would be the
    // largest buffer of the render, and take it past 100 MiB on 24 MP.
    if (bands.haloRadius() > 0 && !resized) {
        vips_image_set_int(ready.get(), VIPS_META_CONCURRENCY, 1);
        render.readsAhead = 2 * bands.haloRadius() <= bands.bandHeight();
    }

    std::pair<StreamedRender*, RenderProgress const*> progressContext(&render, &progress);
    if (progress) {
        vips_image_set_progress(ready.get(), TRUE);
        g_signal_connect(ready.get(), "eval", G_CALLBACK(reportProgress), &progressContext);
    }
    // Why the render went wrong, or nothing. A band that could not be read
    // is checked for after a save that looked complete too: the line cache
    // between the bands and the saver can let a failed band go unnoticed.
    auto const renderFailure = [&]() -> QString {
        if (render.cancelled)
            return "cancelled; nothing was saved";
        if (!render.photoFailed)
            return QString();
        failure->photoAtFault = true;
        vips_error_clear();
        QString const message = render.firstPhotoMessage.section('\n', -1).trimmed();
        return "damaged or truncated image data (" + (message.isEmpty() ? libraryMessage(&warnings) : message) +
               ")";
    };
    auto const whyFailed = [&](FileTarget const& target) {
        QString const why = renderFailure();
        return why.isEmpty() ? saveFailure(target) : why;
    };
    PhotoWriteOptions writing = options;
    writing.quality = qualityFor(options, geometry.size);
    return saveAtomically(ready.get(), format, followedLink(fileSystemPath(outputPath)), writing, &failure->reason,
                          whyFailed, renderFailure);
}
