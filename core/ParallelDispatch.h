#pragma once

#include <cstddef>
#include <functional>

// Parallel work on the process-wide work queues. On Apple this is libdispatch
// itself; elsewhere it runs on Qt's global thread pool. Nothing else in the
// engine names a thread pool.
enum class DispatchPriority { Background, Low, Default, High };

// Runs work(i) for every i in [0, count) and returns when all are done. The
// calling thread takes part, so an apply made from inside a pool worker
// finishes even when every other worker is busy.
void dispatchApply(size_t count, DispatchPriority priority, std::function<void(size_t)> const& work);

// Runs work once on a background worker and returns at once.
void dispatchAsync(DispatchPriority priority, std::function<void()> work);
