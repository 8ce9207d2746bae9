#include "mods/output/ImageModSize2.h"

#include <algorithm>
#include <cmath>

namespace {

// The whole part of a size variable, within what a picture side can be.
int wholePixels(float value)
{
    if (!(value > 0.0f))
        return 0;
    return value < 1.0e9f ? int(value) : 1000000000;
}

} // namespace

ImageModSize2::ImageModSize2(GrowString const& name, GrowString const& displayName) : ImageMod(name, displayName) {}

ImageMod* ImageModSize2::createCopy() const
{
    auto* copy = new ImageModSize2(name, displayName);
    static_cast<ImageMod&>(*copy) = *this;
    return copy;
}

int ImageModSize2::getOutputHeight(int, int height)
{
    return height;
}

int ImageModSize2::getOutputWidth(int width, int)
{
    return width;
}

ImageModConstrainSize::ImageModConstrainSize(int version)
    : ImageModSize2("Output Size", "Maximum Size"), sizeLock(createNewOVThreadLock())
{
    addVar(ImageModVariable::makeFloat("Width", 1200.0f, 0.0f, 0.0f))->setDisplayName("Max Width");
    addVar(ImageModVariable::makeFloat("Height", 1200.0f, 0.0f, 0.0f))->setDisplayName("Max Height");
    addVar(ImageModVariable::makeFloat("Maximum Side", 0.0f, 0.0f, 0.0f))->setDisplayName("Longest Side");
    addVar(ImageModVariable::makeFloat("Quality", 85.0f, 0.0f, 100.0f))->setDisplayName("Quality");
    description = "Specify width and height constraints for the output image. Note that this will only affect "
                  "image size upon saving, after all filters have been applied.";
    setVersion(version);
    setDefaultVarsToCurrent();
}

ImageModConstrainSize::~ImageModConstrainSize()
{
    delete sizeLock;
}

ImageMod* ImageModConstrainSize::createCopy() const
{
    auto* copy = new ImageModConstrainSize(version);
    static_cast<ImageMod&>(*copy) = *this;
    return copy;
}

void ImageModConstrainSize::updateToImageSized(int width, int height)
{
    sizeLock->lock();
    int maxWidth = wholePixels(floatVar(Width)) > 0 ? wholePixels(floatVar(Width)) : width;
    int maxHeight = wholePixels(floatVar(Height)) > 0 ? wholePixels(floatVar(Height)) : height;
    int const side = wholePixels(floatVar(MaximumSide));
    if (side > 0) {
        maxWidth = std::min(maxWidth, side);
        maxHeight = std::min(maxHeight, side);
    }
    if (width <= 0 || height <= 0 || maxWidth <= 0 || maxHeight <= 0) {
        // No picture or no box: nothing to fit.
        outputWidth = float(std::max(width, 0));
        outputHeight = float(std::max(height, 0));
    } else {
        float const ratio = float(width) / float(height);
        if (ratio <= float(maxWidth) / float(maxHeight)) {
            outputHeight = float(maxHeight);
            outputWidth = std::trunc(ratio * float(maxHeight) + 0.5f);
        } else {
            outputWidth = float(maxWidth);
            outputHeight = std::trunc(float(maxWidth) / ratio + 0.5f);
        }
    }
    sizeLock->unlock();
}

int ImageModConstrainSize::getOutputWidth(int width, int height)
{
    updateToImageSized(width, height);
    sizeLock->lock();
    int const result = int(outputWidth);
    sizeLock->unlock();
    return result;
}

int ImageModConstrainSize::getOutputHeight(int width, int height)
{
    updateToImageSized(width, height);
    sizeLock->lock();
    int const result = int(outputHeight);
    sizeLock->unlock();
    return result;
}

void ImageModConstrainSize::clearVariable(int index)
{
    if (index >= vars.count)
        return;
    if (!vars[index]->floatData())
        vars[index]->setData(new ImageModVariableDataFloat(0.0f, 0.0f, 1.0f));
    vars[index]->floatData()->value = 0.0f;
}

void ImageModConstrainSize::notifyVarChanged(int index)
{
    ImageModVariableDataFloat const* changed = index >= 0 && index < vars.count ? vars[index]->floatData() : nullptr;
    if (!changed || !(changed->value > 0.0f))
        return;
    if (index == MaximumSide) {
        clearVariable(Width);
        clearVariable(Height);
    } else if (index == Width || index == Height) {
        // Quality is no constraint: it leaves the longest side alone.
        clearVariable(MaximumSide);
    }
}

void ImageModConstrainSize::setVersion(int v)
{
    ImageMod::setVersion(v);
    if (MaximumSide < vars.count)
        vars[MaximumSide]->setShown(v == 1);
}

ImageModExactSize::ImageModExactSize() : ImageModSize2("Output Size Exact", "Exact Size")
{
    addVar(ImageModVariable::makeFloat("Width", 1200.0f, 1.0f, 0.0f));
    addVar(ImageModVariable::makeFloat("Height", 1200.0f, 1.0f, 0.0f));
    description = "Specify exact width and height for the output image. Note that this will only affect image "
                  "size upon saving, after all filters have been applied.";
    setDefaultVarsToCurrent();
}

ImageMod* ImageModExactSize::createCopy() const
{
    auto* copy = new ImageModExactSize();
    static_cast<ImageMod&>(*copy) = *this;
    return copy;
}

int ImageModExactSize::getOutputWidth(int, int)
{
    return std::max(wholePixels(floatVar(Width)), 1);
}

int ImageModExactSize::getOutputHeight(int, int)
{
    return std::max(wholePixels(floatVar(Height)), 1);
}
