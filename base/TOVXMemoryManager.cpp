#include "TOVXMemoryManager.h"

#include <cstdint>
#include <cstdlib>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace {

TOVXMemoryManager::Gate gate = nullptr;

#if defined(__linux__)
// Middle-sized blocks (a FAT of a few megabytes) are aligned to the huge-page size and offered
// to the kernel for huge pages: their first touch then costs a fault per 2 MiB rather than one
// per 4 KiB, which in a short run is most of the time of the load. Larger blocks (a whole
// stream) keep ordinary pages: finding hundreds of huge pages can make the kernel compact
// memory first, and the first touch of 1 GiB swung from 0.16 s to 2 s.
constexpr std::size_t kHugePage = std::size_t(2) << 20;
constexpr std::size_t kLargestHugeBlock = std::size_t(64) << 20;

void* allocateHuge(unsigned int size) {
    const std::size_t rounded = (std::size_t(size) + kHugePage - 1) & ~(kHugePage - 1);
    void* block = nullptr;
    if (posix_memalign(&block, kHugePage, rounded) != 0) return nullptr;
    (void)madvise(block, rounded, MADV_HUGEPAGE);  // a refusal leaves ordinary pages, which work as well
    return block;
}
#endif

}  // namespace

void* TOVXMemoryManager::Allocate(unsigned int size) {
    if (gate != nullptr && !gate()) return nullptr;
#if defined(__linux__)
    if (size >= kHugePage && size < kLargestHugeBlock) return allocateHuge(size);
#endif
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
