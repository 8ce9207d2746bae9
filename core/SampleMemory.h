#pragma once

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
