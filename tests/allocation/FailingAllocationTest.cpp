// Memory that runs out at every allocation in turn, through a whole reading of a corpus file by
// both stacks: no exception leaves the library, and nothing is leaked (the sanitizer preset's
// leak check sees every block at exit). The program replaces the global operator new, and sets
// the memory manager's gate, so that both kinds of allocation fail alike.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstdio>
#include <new>

#include "FailingAllocation.h"
#include "TOVXMemoryManager.h"
#include "TestFiles.h"

namespace {

std::atomic<bool> armedNow{false};
int64_t allowance = -1;  // allocations still allowed while armed; -1 for no limit
uint64_t madeArmed = 0;  // allocations asked for while armed

bool takeOne() {
    if (!armedNow.load(std::memory_order_relaxed)) return true;
    ++madeArmed;
    if (allowance < 0) return true;
    if (allowance == 0) return false;
    --allowance;
    return true;
}

void* allocate(std::size_t size) {
    if (!takeOne()) return nullptr;
    return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

void* operator new(std::size_t size) {
    void* block = allocate(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete[](void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete[](void* block, std::size_t) noexcept { std::free(block); }

namespace failing {

void arm() { armedNow = true; }
void disarm() { armedNow = false; }
void noteEscape(Outcome& outcome) { ++outcome.escaped; }

}  // namespace failing

namespace {

using Reader = failing::Outcome (*)(const std::string&);

// Reads the file once with no limit, then once for every allowance from 0 to what the whole
// reading takes: every reading ends, none lets an exception out, and one with room enough reads
// all that the unlimited one did.
void sweep(const char* stack, Reader read, const std::string& path) {
    SCOPED_TRACE(stack);
    TOVXMemoryManager::SetGateForTesting(&takeOne);
    allowance = -1;
    madeArmed = 0;
    const failing::Outcome whole = read(path);
    const uint64_t needed = madeArmed;
    ASSERT_EQ(whole.escaped, 0u);
    ASSERT_GT(whole.succeeded, 10u) << "the reading must reach streams and properties";
    ASSERT_GT(needed, 100u);
    uint64_t failedReadings = 0;
    for (uint64_t limit = 0; limit <= needed; ++limit) {
        allowance = static_cast<int64_t>(limit);
        const failing::Outcome outcome = read(path);
        EXPECT_EQ(outcome.escaped, 0u) << "an exception left the library with " << limit << " allocations allowed";
        EXPECT_LE(outcome.succeeded, whole.succeeded);
        failedReadings += outcome.succeeded < whole.succeeded ? 1 : 0;
        if (limit == needed) {
            EXPECT_EQ(outcome.succeeded, whole.succeeded);
        }
    }
    EXPECT_GT(failedReadings, needed / 2) << "most allowances must make some call fail";
    std::printf("%s: %llu allocations in a whole reading, %llu calls\n", stack, static_cast<unsigned long long>(needed),
                static_cast<unsigned long long>(whole.succeeded));
    allowance = -1;
    TOVXMemoryManager::SetGateForTesting(nullptr);
}

TEST(FailingAllocation, EveryAllocationOfAWholeReadingFailsInTurn) {
    if (tovxtest::corpusDir().empty()) GTEST_SKIP() << "the shared corpus is not there";
    // Streams in and out of the mini stream, a storage within a storage, and property sets in both.
    const std::string path = tovxtest::corpusDir() + "/files/lo-writer-embedded-calc-object.doc";
    sweep("native stack", &failing::readNative, path);
#if TOVX_HOST_OVER_STAND_IN
    sweep("host stack over the stand-in", &failing::readHost, path);
#endif
}

}  // namespace
