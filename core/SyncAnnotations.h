#pragma once

// Qt's mutex, semaphore and thread pool do their waiting inside the Qt
// library, which ThreadSanitizer does not see into. These marks tell it where
// one thread hands memory over to another, so that a TSan build reports real
// races only. They compile to nothing in other builds.
#if defined(__SANITIZE_THREAD__)
extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);
inline void syncAcquire(void* address) { __tsan_acquire(address); }
inline void syncRelease(void* address) { __tsan_release(address); }
#else
inline void syncAcquire(void*) {}
inline void syncRelease(void*) {}
#endif
