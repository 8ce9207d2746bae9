#include "extension/WindowAhead.h"

#include <utility>

template <typename T>
WindowAhead<T>::WindowAhead(VipsImage* photo, Reader read) : photo(photo), read(std::move(read))
{
}

template <typename T>
WindowAhead<T>::~WindowAhead()
{
    {
        std::unique_lock<std::mutex> guard(lock);
        readDone.wait(guard, [this] { return !reading; });
        stopping = true;
        readAsked.notify_one();
    }
    if (reader)
        g_thread_join(reader);
}

template <typename T>
bool WindowAhead<T>::take(VipsRect const& context, FlexImage<T>* window)
{
    std::unique_lock<std::mutex> guard(lock);
    readDone.wait(guard, [this] { return !reading; });
    bool const wasReadAhead = readStarted && vips_rect_equalsrect(&aheadContext, &context);
    readStarted = false;
    if (!wasReadAhead) {
        // Read now, by the same thread: one reader keeps the rows in order.
        guard.unlock();
        readAhead(context);
        guard.lock();
        readDone.wait(guard, [this] { return !reading; });
        readStarted = false;
    }
    if (!readSucceeded)
        return false;
    FlexImage<T> const& made = windows[turn];
    window->viewOf(made.pixels, made.width, made.height, made.channels);
    turn = 1 - turn;
    return true;
}

template <typename T>
void WindowAhead<T>::readAhead(VipsRect const& context)
{
    std::lock_guard<std::mutex> guard(lock);
    reading = true;
    readStarted = true;
    aheadContext = context;
    aheadTurn = turn;
    if (!reader)
        reader = vips_g_thread_new("window ahead", readOnThread, this);
    readAsked.notify_one();
}

template <typename T>
gpointer WindowAhead<T>::readOnThread(gpointer self)
{
    static_cast<WindowAhead*>(self)->readWhenAsked();
    return nullptr;
}

template <typename T>
void WindowAhead<T>::readWhenAsked()
{
    VipsRegion* region = vips_region_new(photo);
    std::unique_lock<std::mutex> guard(lock);
    for (;;) {
        readAsked.wait(guard, [this] { return stopping || reading; });
        if (stopping)
            break;
        VipsRect const context = aheadContext;
        int const into = aheadTurn;
        guard.unlock();
        bool const succeeded = read(region, context, &memory[into], &windows[into]);
        guard.lock();
        readSucceeded = succeeded;
        reading = false;
        readDone.notify_all();
    }
    guard.unlock();
    g_object_unref(region);
}

template class WindowAhead<unsigned char>;
template class WindowAhead<float>;
