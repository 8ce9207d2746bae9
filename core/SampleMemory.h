#pragma once

#include <algorithm>
#include <cstddef>

// Memory for image samples. Large buffers (full-size photos) are aligned to
// 2 MB and, where the system offers it, backed by huge pages: first touching
// a 24-megapixel float image then costs a few hundred page faults instead of
// tens of thousands. The memory is not initialised.
void* allocateSampleMemory(size_t bytes);
void freeSampleMemory(void* memory);

template <typename T>
T* allocateSamples(size_t count)
{
    return static_cast<T*>(allocateSampleMemory(count * sizeof(T)));
}

// Scratch samples reused from task to task: grows, without copying or
// clearing (what a scratch plane holds is written before it is read), to
// at least twice what it held, and keeps that size. Tasks ask for a few
// different sizes (tiles at a picture's edges are smaller), and every new
// buffer is faulted in anew; pages never written are never made resident,
// so the room to spare costs no memory.
template <typename T>
class SampleBuffer
{
public:
    SampleBuffer() = default;
    SampleBuffer(SampleBuffer const&) = delete;
    SampleBuffer& operator=(SampleBuffer const&) = delete;
    ~SampleBuffer() { freeSampleMemory(memory); }

    T* atLeast(size_t count)
    {
        if (count > capacity) {
            size_t const grown = std::max(count, 2 * capacity);
            freeSampleMemory(memory);
            memory = nullptr;
            capacity = 0;
            memory = allocateSamples<T>(grown);
            capacity = grown;
        }
        return memory;
    }

private:
    T* memory = nullptr;
    size_t capacity = 0;
};
