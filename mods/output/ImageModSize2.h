#pragma once

#include "core/OVThreading.h"
#include "mods/ImageMod.h"

// The output-size filters: how large the finished picture is to be saved.
// They change no pixels (the renderer always renders at its source's size);
// whoever saves the result asks them for its width and height. A chain
// holds at most one, standing last.
class ImageModSize2 : public ImageMod
{
public:
    ImageModSize2(GrowString const& name, GrowString const& displayName);

    ImageMod* createCopy() const override;
    int getPositionReq() const override { return PositionLast; }
    int getSingletonID() const override { return SingletonOutputSize; }

    // The saved size of a picture of width x height: its own size here.
    virtual int getOutputHeight(int width, int height);
    virtual int getOutputWidth(int width, int height);
};

// Fits the picture to a box: "Width" and "Height" (0: no limit on that
// side), or, in version 1, a longest side. The two ways exclude each other.
// The picture is scaled up as well as down to touch the box. "Quality" is
// the JPEG quality to save with.
class ImageModConstrainSize : public ImageModSize2
{
public:
    enum Variable { Width = 0, Height = 1, MaximumSide = 2, Quality = 3 };

    explicit ImageModConstrainSize(int version = 1);
    ~ImageModConstrainSize() override;

    ImageMod* createCopy() const override;
    int getOutputHeight(int width, int height) override;
    int getOutputWidth(int width, int height) override;
    // Setting a width or height clears the longest side, and the other way
    // round.
    void notifyVarChanged(int index) override;
    // Only version 1 shows the longest side.
    void setVersion(int v) override;

    // Fits width x height into the limits and keeps the result (under the
    // filter's lock: several threads may ask at once).
    void updateToImageSized(int width, int height);

private:
    float outputWidth = 1200.0f;
    float outputHeight = 1200.0f;
    OVThreadLock* sizeLock;

    void clearVariable(int index);
};

// Sets both sides outright; a side below 1 gives 1 pixel.
class ImageModExactSize : public ImageModSize2
{
public:
    enum Variable { Width = 0, Height = 1 };

    ImageModExactSize();

    ImageMod* createCopy() const override;
    int getOutputHeight(int width, int height) override;
    int getOutputWidth(int width, int height) override;
};
