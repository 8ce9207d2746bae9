#pragma once

// libvips first (see ImageLibrary.h).
#include <vips/vips.h>

#include <condition_variable>
#include <functional>
#include <mutex>

#include "core/SampleMemory.h"
#include "imaging/FlexImage.h"

// The next window of a photo's rows, read while the band before it
// renders. When one worker of the saver asks for the bands one after
// another, a window read in between them leaves the other cores idle while
// the photo decodes (and is turned upright, or converted from its colour
// profile). Two sets of memory take turns: a band renders from one while
// the next window is read into the other.
//
// The reads run on a thread of their own, which keeps one region of the
// photo (libvips lets a region be used only by the thread that made it). It
// is one of libvips's threads: only those keep a pipeline's buffers from
// read to read, where others allocated (and cleared) them for every read.
template <typename T>
class WindowAhead
{
public:
    // Reads the rows of context through region into memory, as window;
    // false when the photo cannot be read.
    using Reader = std::function<bool(VipsRegion* region, VipsRect const& context, SampleBuffer<T>* memory,
                                      FlexImage<T>* window)>;

    WindowAhead(VipsImage* photo, Reader read);
    // A read under way is waited for: it uses the photo.
    ~WindowAhead();
    WindowAhead(WindowAhead const&) = delete;
    WindowAhead& operator=(WindowAhead const&) = delete;

    // The window of context (valid until the next call): the one read ahead
    // when it was for this context, else one read now; false when the read
    // failed.
    bool take(VipsRect const& context, FlexImage<T>* window);
    // Starts reading the window of context.
    void readAhead(VipsRect const& context);

private:
    VipsImage* photo;
    Reader read;
    std::mutex lock;
    std::condition_variable readAsked;
    std::condition_variable readDone;
    bool reading = false;
    bool readStarted = false;
    bool readSucceeded = false;
    bool stopping = false;
    VipsRect aheadContext{};
    int aheadTurn = 0;
    int turn = 0; // the memory the next window goes into
    SampleBuffer<T> memory[2];
    FlexImage<T> windows[2];
    GThread* reader = nullptr;

    void readWhenAsked();
    static gpointer readOnThread(gpointer self);
};
