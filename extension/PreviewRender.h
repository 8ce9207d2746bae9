#pragma once

#include <memory>

#include <QImage>

#include "imaging/FlexImage.h"
#include "mods/ImageMod.h"
#include "mods/ImageModderMulti.h"

// The preview of an editing window: one render at a time over the display
// image, on the renderer's worker threads. A newer request cancels the
// render under way, and only the newest request's picture is ever handed
// back, so a quick run of clicks costs one render, not one each. The host
// polls (from a timer on its window's thread), which keeps every call here
// on that one thread.
class PreviewRender
{
public:
    PreviewRender() = default;
    ~PreviewRender();
    PreviewRender(PreviewRender const&) = delete;
    PreviewRender& operator=(PreviewRender const&) = delete;

    // Renders mod (owned from here on; null: the picture as it is) over
    // source, which must stay unchanged until the render is done or
    // cancelled; ticket names the request when it is handed back.
    void request(ImageMod* mod, FlexImage<float> const* source, int ticket);
    // True once the newest request has rendered: its picture and ticket.
    bool poll(QImage* picture, int* ticket);
    // Cancels everything and waits until no render runs.
    void cancelAll();
    // Whether a render runs or waits to.
    bool busy() const { return running || pending; }

private:
    struct Request
    {
        std::unique_ptr<ImageMod> mod;
        FlexImage<float> const* source = nullptr;
        int ticket = 0;
    };

    ImageModderMulti renderer;
    FlexImage<float> result;
    std::unique_ptr<Request> running;
    std::unique_ptr<Request> pending;
    // The renderer takes its chain by pointer list and its source as
    // writable; neither is written.
    GrowArray<ImageMod*> chain;

    void start(std::unique_ptr<Request> next);
};
