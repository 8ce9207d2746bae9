#include "extension/PreviewRender.h"

#include "extension/ImageBridge.h"

PreviewRender::~PreviewRender()
{
    cancelAll();
}

void PreviewRender::request(ImageMod* mod, FlexImage<float> const* source, int ticket)
{
    auto next = std::make_unique<Request>();
    next->mod.reset(mod);
    next->source = source;
    next->ticket = ticket;
    if (running) {
        renderer.cancel();
        pending = std::move(next);
        return;
    }
    start(std::move(next));
}

void PreviewRender::start(std::unique_ptr<Request> next)
{
    running = std::move(next);
    auto* source = const_cast<FlexImage<float>*>(running->source);
    if (!running->mod) {
        result.copyFromImage(*source, true);
        return;
    }
    chain.count = 0;
    chain.add(running->mod.get());
    renderer.setKeepCache(false);
    renderer.applyModsAsync(chain, source, &result);
}

bool PreviewRender::poll(QImage* picture, int* ticket)
{
    if (!running)
        return false;
    if (running->mod && !renderer.isFinished())
        return false;
    if (running->mod)
        renderer.waitUntilFinished();
    bool const completed = !running->mod || renderer.isCompleted();
    std::unique_ptr<Request> done = std::move(running);
    if (pending) {
        start(std::move(pending));
        return false;
    }
    if (!completed)
        return false;
    *picture = QImageFromFlexImage(&result);
    *ticket = done->ticket;
    return true;
}

void PreviewRender::cancelAll()
{
    pending.reset();
    if (running && running->mod) {
        renderer.cancel();
        renderer.waitUntilFinished();
    }
    running.reset();
}
