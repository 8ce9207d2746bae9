#include "core/ParallelDispatch.h"

#if defined(__APPLE__)

#include <dispatch/dispatch.h>

namespace {

dispatch_queue_t globalQueue(DispatchPriority priority)
{
    switch (priority) {
    case DispatchPriority::Background: return dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_BACKGROUND, 0);
    case DispatchPriority::Low: return dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_LOW, 0);
    case DispatchPriority::High: return dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_HIGH, 0);
    default: return dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0);
    }
}

void applyTrampoline(void* context, size_t i)
{
    (*static_cast<std::function<void(size_t)> const*>(context))(i);
}

void asyncTrampoline(void* context)
{
    auto* work = static_cast<std::function<void()>*>(context);
    (*work)();
    delete work;
}

} // namespace

void dispatchApply(size_t count, DispatchPriority priority, std::function<void(size_t)> const& work)
{
    dispatch_apply_f(count, globalQueue(priority), const_cast<std::function<void(size_t)>*>(&work), applyTrampoline);
}

void dispatchAsync(DispatchPriority priority, std::function<void()> work)
{
    dispatch_async_f(globalQueue(priority), new std::function<void()>(std::move(work)), asyncTrampoline);
}

#else

#include <QRunnable>
#include <QThreadPool>
#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

#include "core/OVThreading.h"
#include "core/SyncAnnotations.h"

namespace {

int poolPriority(DispatchPriority priority)
{
    switch (priority) {
    case DispatchPriority::Background: return 0;
    case DispatchPriority::Low: return 1;
    case DispatchPriority::High: return 3;
    default: return 2;
    }
}

// Shared by the caller and the helpers of one apply. Helpers that start after
// the apply has returned find no index left and touch only this state, which
// they keep alive.
struct ApplyState
{
    std::function<void(size_t)> const* work = nullptr;
    size_t count = 0;
    std::atomic<size_t> next{0};
    std::mutex doneLock;
    std::condition_variable allDone;
    size_t completed = 0;

    void runIndices()
    {
        size_t finished = 0;
        for (size_t i = next.fetch_add(1); i < count; i = next.fetch_add(1)) {
            (*work)(i);
            ++finished;
        }
        if (finished == 0)
            return;
        std::lock_guard<std::mutex> guard(doneLock);
        completed += finished;
        if (completed == count)
            allDone.notify_all();
    }
};

class Runnable : public QRunnable
{
public:
    explicit Runnable(std::function<void()> body) : body(std::move(body)) { setAutoDelete(true); }
    void run() override
    {
        syncAcquire(this);
        body();
    }

private:
    std::function<void()> body;
};

void startOnPool(std::function<void()> body, DispatchPriority priority)
{
    prepareForWorkerThreads();
    auto* runnable = new Runnable(std::move(body));
    syncRelease(runnable);
    QThreadPool::globalInstance()->start(runnable, poolPriority(priority));
}

} // namespace

void dispatchApply(size_t count, DispatchPriority priority, std::function<void(size_t)> const& work)
{
    if (count == 0)
        return;
    if (count == 1) {
        work(0);
        return;
    }
    auto state = std::make_shared<ApplyState>();
    state->work = &work;
    state->count = count;
    size_t const helpers = std::min(count - 1, size_t(std::max(1, QThreadPool::globalInstance()->maxThreadCount() - 1)));
    for (size_t h = 0; h < helpers; ++h)
        startOnPool([state] { state->runIndices(); }, priority);
    state->runIndices();
    std::unique_lock<std::mutex> wait(state->doneLock);
    state->allDone.wait(wait, [&] { return state->completed == count; });
}

void dispatchAsync(DispatchPriority priority, std::function<void()> work)
{
    startOnPool(std::move(work), priority);
}

#endif
