#include "core/SampleMemory.h"

#include <sys/mman.h>

#include <cstdlib>
#include <new>

namespace {

constexpr size_t hugePage = size_t(2) << 20;
constexpr size_t largeBuffer = size_t(4) << 20;

} // namespace

void* allocateSampleMemory(size_t bytes)
{
    if (bytes == 0)
        bytes = 1;
    void* memory = nullptr;
    size_t const alignment = bytes >= largeBuffer ? hugePage : alignof(std::max_align_t);
    if (posix_memalign(&memory, alignment, bytes) != 0)
        throw std::bad_alloc();
#ifdef MADV_HUGEPAGE
    if (bytes >= largeBuffer)
        madvise(memory, bytes, MADV_HUGEPAGE);
#endif
    return memory;
}

void freeSampleMemory(void* memory)
{
    std::free(memory);
}
