#include "base/HeapMemory.h"

#include <malloc.h>

namespace korvane {

void limitHeaps()
{
    constexpr int maxHeaps = 2;
    constexpr int largeBlock = 512 * 1024;
    ::mallopt(M_ARENA_MAX, maxHeaps);
    // Left alone, the limit would grow with the first large block that is freed.
    ::mallopt(M_MMAP_THRESHOLD, largeBlock);
}

void returnFreeMemory()
{
    ::malloc_trim(0);
}

} // namespace korvane
