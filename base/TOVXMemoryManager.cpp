#include "TOVXMemoryManager.h"

#include <cstdint>
#include <cstdlib>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace {

TOVXMemoryManager::Gate gate = nullptr;

#if defined(__linux__)
// Blocks of at least this size (a whole stream of a large file, a large table) are aligned to
// the huge-page size and offered to the kernel for huge pages, so that their first touch
// costs one fault per 2 MiB rather than one per 4 KiB.
constexpr unsigned int kHugeBlock = 4u << 20;
constexpr std::size_t kHugePage = std::size_t(2) << 20;

void* allocateHuge(unsigned int size) {
    void* block = nullptr;
    if (posix_memalign(&block, kHugePage, size) != 0) return nullptr;
    // Only the whole huge pages inside the block; a refusal leaves ordinary pages, which work as well.
    const std::uintptr_t start = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t end = (start + size) & ~(std::uintptr_t(kHugePage) - 1);
    if (end > start) (void)madvise(block, end - start, MADV_HUGEPAGE);
    return block;
}
#endif

}  // namespace

void* TOVXMemoryManager::Allocate(unsigned int size) {
    if (gate != nullptr && !gate()) return nullptr;
#if defined(__linux__)
    if (size >= kHugeBlock) return allocateHuge(size);
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
