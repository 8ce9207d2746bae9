#include "mods/output/ImageModImageOverlay.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <type_traits>

namespace {

OverlayLoader installedLoader = nullptr;

class LockHeld
{
public:
    explicit LockHeld(OVThreadLock* held) : held(held) { held->lock(); }
    ~LockHeld() { held->unlock(); }
    LockHeld(LockHeld const&) = delete;
    LockHeld& operator=(LockHeld const&) = delete;

private:
    OVThreadLock* held;
};

// A box side from a picture side and a percentage, within int range for any
// stored number.
int boxSide(int pictureSide, float percent)
{
    double const side = double(pictureSide) * double(percent) * 0.01;
    return side > 0.0 ? int(std::min(side, double(pictureSide))) : 0;
}

// A blend worked in double, truncated to the sample type (straight from the
// double, so that 99.9999999 stays 99 in a byte).
template <typename T>
T blended(double v)
{
    if constexpr (std::is_same_v<T, float>)
        return float(v);
    else
        return static_cast<unsigned char>(int(std::clamp(v, 0.0, 255.0)));
}

} // namespace

OVThreadLock* ImageModImageOverlay::lock = createNewOVThreadLock();

ImageModImageOverlay::ImageModImageOverlay() : ImageModTemplate("Watermark", "")
{
    addVar(ImageModVariable::makeFile("File", {"png", "tif", "tiff", "jpg", "jpeg"}));
    addVar(ImageModVariable::makeChoice("Anchor",
                                        labelList({"Lower Right", "Lower Left", "Upper Right", "Upper Left", "Left",
                                                   "Right", "Top", "Bottom", "Center"}),
                                        LowerRight));
    addVar(ImageModVariable::makeFloat("Offset", 5.0f, 0.0f, 100.0f));
    addVar(ImageModVariable::makeFloat("Scale", 15.0f, 0.0f, 100.0f));
    addVar(ImageModVariable::makeFloat("Opacity", 1.0f, 0.0f, 1.0f));
    description = "Add a watermark or other overlay to your image.";
    setDefaultVarsToCurrent();
}

ImageModImageOverlay::~ImageModImageOverlay()
{
    delete cachedOverlay;
}

ImageMod& ImageModImageOverlay::operator=(ImageMod const& other)
{
    ImageMod::operator=(other);
    LockHeld held(lock);
    dropCache();
    return *this;
}

void ImageModImageOverlay::setOverlayLoader(OverlayLoader loader)
{
    LockHeld held(lock);
    installedLoader = loader;
}

void ImageModImageOverlay::dropCache()
{
    delete cachedOverlay;
    cachedOverlay = nullptr;
    cachedPath = GrowString();
    cachedBoxWidth = cachedBoxHeight = 0;
    cachedFailure = false;
}

GrowString ImageModImageOverlay::overlayPath() const
{
    if (vars.count <= File)
        return GrowString();
    if (ImageModVariableDataFile const* file = vars[File]->fileData())
        return file->path;
    // Another kind of value stands for a path by its whole number.
    if (ImageModVariableDataFloat const* number = vars[File]->floatData())
        return GrowString(std::to_string(long(std::clamp(double(number->value), -1e15, 1e15))).c_str());
    return GrowString();
}

FlexImage<unsigned char> const* ImageModImageOverlay::overlayFor(GrowString const& path, int boxWidth, int boxHeight)
{
    bool const cached = path == cachedPath && boxWidth == cachedBoxWidth && boxHeight == cachedBoxHeight;
    if (cached && (cachedOverlay || cachedFailure))
        return cachedOverlay;
    dropCache();
    cachedPath = path;
    cachedBoxWidth = boxWidth;
    cachedBoxHeight = boxHeight;
    auto* made = new FlexImage<unsigned char>();
    bool const worked = installedLoader && installedLoader(path, boxWidth, boxHeight, made) && made->pixels &&
                        made->width > 0 && made->height > 0 && made->channels >= 3;
    std::fprintf(stderr, "making new overlay image %s in %lu worked %i\n", path.c_str(),
                 static_cast<unsigned long>(reinterpret_cast<uintptr_t>(this)), worked ? 1 : 0);
    if (worked) {
        cachedOverlay = made;
    } else {
        delete made;
        cachedFailure = true;
    }
    return cachedOverlay;
}

void ImageModImageOverlay::overlayPosition(int width, int height, int overlayWidth, int overlayHeight, int* x,
                                           int* y) const
{
    int const margin = boxSide(std::min(width, height), floatVarInRange(Offset) * 0.5f);
    int const right = width - overlayWidth - margin;
    int const bottom = height - overlayHeight - margin;
    int const middleX = (width - overlayWidth) / 2;
    int const middleY = (height - overlayHeight) / 2;
    switch (choiceVar(Anchor, LowerRight)) {
    case LowerLeft: *x = margin, *y = bottom; break;
    case UpperRight: *x = right, *y = margin; break;
    case UpperLeft: *x = margin, *y = margin; break;
    case Left: *x = margin, *y = middleY; break;
    case Right: *x = right, *y = middleY; break;
    case Top: *x = middleX, *y = margin; break;
    case Bottom: *x = middleX, *y = bottom; break;
    case Center: *x = middleX, *y = middleY; break;
    default: *x = right, *y = bottom; break;
    }
}

template <typename T>
void ImageModImageOverlay::templateMod(FlexImage<T>* image, ImageModChunkInfo* info)
{
    LockHeld held(lock);
    GrowString const path = overlayPath();
    if (path.isEmpty())
        return;
    int const width = info ? info->fullWidth : image->width;
    int const height = info ? info->fullHeight : image->height;
    float const scale = floatVarInRange(Scale);
    int const boxWidth = boxSide(width, scale);
    int const boxHeight = boxSide(height, scale);
    if (boxWidth < 1 || boxHeight < 1)
        return;
    FlexImage<unsigned char> const* overlay = overlayFor(path, boxWidth, boxHeight);
    if (!overlay)
        return;
    int left = 0;
    int top = 0;
    overlayPosition(width, height, overlay->width, overlay->height, &left, &top);
    left -= info ? info->chunkX : 0;
    top -= info ? info->chunkY : 0;

    double const opacity = double(floatVarInRange(Opacity));
    int const colours = std::min(image->channels, 3);
    bool const hasAlpha = overlay->channels >= 4;
    int const firstRow = std::max(0, top);
    int const lastRow = std::min(image->height, top + overlay->height);
    int const firstColumn = std::max(0, left);
    int const lastColumn = std::min(image->width, left + overlay->width);
    for (int y = firstRow; y < lastRow; ++y)
        for (int x = firstColumn; x < lastColumn; ++x) {
            unsigned char const* over = overlay->pixelAt(x - left, y - top);
            T* p = image->pixelAt(x, y);
            double const alpha = hasAlpha ? opacity * double(over[3]) / 255.0 : opacity;
            for (int c = 0; c < colours; ++c)
                p[c] = blended<T>(double(p[c]) * (1.0 - alpha) + double(over[c]) * alpha);
        }
}

INSTANTIATE_TEMPLATE_MOD(ImageModImageOverlay);
