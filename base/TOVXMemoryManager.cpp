#include "TOVXMemoryManager.h"

#include <cstdint>
#include <cstdlib>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace {

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
#if defined(__linux__)
    if (size >= kHugeBlock) return allocateHuge(size);
#endif
    return std::malloc(size);
}

void TOVXMemoryManager::Deallocate(void* block) { std::free(block); }
