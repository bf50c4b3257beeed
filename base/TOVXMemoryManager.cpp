#include "TOVXMemoryManager.h"

#include <cstdint>
#include <cstdlib>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace {

TOVXMemoryManager::Gate gate = nullptr;

}  // namespace

void* TOVXMemoryManager::Allocate(unsigned int size) {
    if (gate != nullptr && !gate()) return nullptr;
    return std::malloc(size);
}

void TOVXMemoryManager::Deallocate(void* block) { std::free(block); }

void TOVXMemoryManager::SetGateForTesting(Gate test) { gate = test; }

void tovxPrefault(void* start, std::size_t bytes) {
#if defined(__linux__) && defined(MADV_POPULATE_WRITE)
    // Only whole pages inside the range; below a megabyte the faults cost too little to matter.
    constexpr std::size_t kPage = 4096;
    if (start == nullptr || bytes < (std::size_t(1) << 20)) return;
    const std::uintptr_t first = (reinterpret_cast<std::uintptr_t>(start) + kPage - 1) & ~(std::uintptr_t(kPage) - 1);
    const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(start) + bytes) & ~(std::uintptr_t(kPage) - 1);
    if (end > first) (void)madvise(reinterpret_cast<void*>(first), end - first, MADV_POPULATE_WRITE);
#else
    (void)start;
    (void)bytes;
#endif
}
