// What opening a crafted file may cost: a fixed amount beside a small multiple of its size,
// whatever sizes and counts it declares.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "ImageTestSupport.h"
#include "TOVIStorage.h"
#include "TOVXMemoryManager.h"

#if defined(__linux__) && defined(__GLIBC__)
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#if defined(__SANITIZE_ADDRESS__)
#define TOVX_UNDER_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TOVX_UNDER_SANITIZER 1
#endif
#endif

using tovxtest::CfbBuilder;
using tovxtest::CfbImage;
using tovxtest::patternBytes;
using tovxtest::ScratchFile;
using Bytes = std::vector<uint8_t>;

namespace {

constexpr long kMiB = 1024 * 1024;

struct Cost {
    long residentGrowth = -1;  // bytes by which the peak resident size rose
    long addressGrowth = -1;   // bytes by which the peak address space rose: reserved memory counts, touched or not
    uint64_t result = 0;       // what the work gave, for the test to check
};

#if defined(__linux__) && defined(__GLIBC__) && !defined(TOVX_UNDER_SANITIZER)
long statusBytes(const char* key) {
    FILE* status = std::fopen("/proc/self/status", "r");
    if (status == nullptr) return -1;
    char line[256];
    long kib = -1;
    while (std::fgets(line, sizeof line, status) != nullptr)
        if (std::strncmp(line, key, std::strlen(key)) == 0) kib = std::atol(line + std::strlen(key));
    std::fclose(status);
    return kib < 0 ? -1 : kib * 1024;
}

// Gives the pages of free heap memory back and starts the resident peak anew; false when the system refuses.
bool startPeaksHere() {
    malloc_trim(0);
    FILE* reset = std::fopen("/proc/self/clear_refs", "w");
    if (reset == nullptr) return false;
    const bool done = std::fputs("5", reset) >= 0;
    return std::fclose(reset) == 0 && done;
}

// Runs `work` in a child process and gives how far its peaks rose. The child starts from a heap whose
// free pages are given back, so that the work's memory cannot hide in memory that the test process had
// freed before. A sanitizer's allocator keeps freed memory, so none is measured there.
Cost measured(const std::function<uint64_t()>& work) {
    int channel[2];
    if (pipe(channel) != 0) return {};
    const pid_t child = fork();
    if (child == 0) {
        close(channel[0]);
        Cost cost;
        if (startPeaksHere()) {
            const long residentBefore = statusBytes("VmHWM:");
            const long addressBefore = statusBytes("VmPeak:");
            cost.result = work();
            cost.residentGrowth = statusBytes("VmHWM:") - residentBefore;
            cost.addressGrowth = statusBytes("VmPeak:") - addressBefore;
        }
        const bool sent = write(channel[1], &cost, sizeof cost) == static_cast<ssize_t>(sizeof cost);
        _exit(sent ? 0 : 1);
    }
    close(channel[1]);
    Cost cost;
    if (child < 0 || read(channel[0], &cost, sizeof cost) != static_cast<ssize_t>(sizeof cost)) cost = Cost{};
    close(channel[0]);
    if (child > 0) waitpid(child, nullptr, 0);
    return cost;
}
#else
Cost measured(const std::function<uint64_t()>&) { return {}; }
#endif

constexpr const char* kUnmeasured =
    "peak memory is measured on Linux with glibc, without sanitizers, where the peak resident size can be reset";

// The work gave `result`, and both peaks rose, by less than `limit`; false when nothing could be measured here.
bool expectCostBelow(const Cost& cost, uint64_t result, long limit) {
    if (cost.residentGrowth < 0) return false;
    EXPECT_EQ(cost.result, result);
    EXPECT_GT(cost.residentGrowth, 0);
    EXPECT_LT(cost.residentGrowth, limit);
    EXPECT_LT(cost.addressGrowth, limit);
    return true;
}

// Opens `path`, lists the root, reads every stream of it; gives the bytes read.
uint64_t openListAndRead(const std::string& path) {
    TOVIStorage* root = nullptr;
    if (TOVStgOpenStorage(TOVXFilePath(path), &root) != 0) return 0;
    uint64_t total = 0;
    TOVXDynamicArray<TOVStStorageDirEntry> children;
    root->enumElements(children);
    for (int i = 0; i < children.Count(); ++i) {
        TOVIStream* stream = nullptr;
        root->openStream(children.At(i)->getName(), &stream);
        if (stream != nullptr) total += stream->length();
        tovxDelete(stream);
    }
    tovxDelete(root);
    return total;
}

}  // namespace

// However many DIFAT sectors a file claims, and however they link, the walk stops at its fixed bound: with
// 512-byte sectors the FAT then holds at most (109 + 259 x 128) sectors' words, about 17 MB, for the tiniest file.
TEST(ImageBounds, TenMillionDifatSectorsCostAFixedAmount) {
    struct Case { const char* what; uint16_t sectorShift; bool loopInFile; int difatWords; };
    const Case cases[] = {
        {"512: a DIFAT sector past the file, all zeros", 9, false, 258 * 127 + 128},
        {"512: a DIFAT sector of the file that links to itself", 9, true, 258 * 127 + 128},
        {"4096: a DIFAT sector of the file that links to itself", 12, true, 1024},
    };
    bool measuredAll = true;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        CfbBuilder builder(c.sectorShift);
        builder.addStream(CfbBuilder::kRoot, u"S", patternBytes(100, 1));
        CfbImage layout = builder.layout();
        const uint32_t added = static_cast<uint32_t>(layout.sectors.size());
        layout.header.difSectorCount = 10000000;
        layout.header.firstDifSector = c.loopInFile ? added : 50;
        if (c.loopInFile) layout.sectors.emplace_back(layout.sectorSize(), 0);
        Bytes bytes = layout.serialize();
        if (c.loopInFile) layout.putWord(bytes, added, layout.wordsPerSector() - 1, added);
        const ScratchFile file(bytes);

        const auto started = std::chrono::steady_clock::now();
        const TOVStStorageFileInfo image{TOVXFilePath(file.path())};
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
        ASSERT_EQ(image.difTable().Count(), c.difatWords);
        EXPECT_LT(seconds, 5.0);
        EXPECT_TRUE(image.dirTable().At(0)->isRoot());  // the header's own FAT sector still serves
        imagetest::expectTablesBoundedByFileSize(image, bytes.size(), layout.sectorSize());

        const Cost cost = measured([&] { return static_cast<uint64_t>(TOVStStorageFileInfo(TOVXFilePath(file.path())).fatTable().Count()); });
        measuredAll &= expectCostBelow(cost, static_cast<uint64_t>(image.fatTable().Count()), 24 * kMiB);
    }
    if (!measuredAll) GTEST_SKIP() << kUnmeasured;
}

// A 1 MB file whose root claims a mini stream of 2 GiB and whose streams claim 2 and 4 GiB opens, lists and
// reads with a peak a few MB above its size, whichever walk reads the streams.
TEST(ImageBounds, SizesOfGigabytesCostNoMoreThanTheFileHolds) {
    CfbBuilder builder(9);
    builder.addStream(CfbBuilder::kRoot, u"small", patternBytes(100, 1));
    builder.addStream(CfbBuilder::kRoot, u"a", patternBytes(500000, 2));
    builder.addStream(CfbBuilder::kRoot, u"b", patternBytes(500000, 3));
    const CfbImage laidOut = builder.layout();
    const auto lastOf = [&](uint32_t sector) {
        while (laidOut.fat[sector] != tovxtest::kEndOfChain) sector = laidOut.fat[sector];
        return sector;
    };
    const uint64_t sectorsOfA = lastOf(laidOut.entries[2].start) - laidOut.entries[2].start + 1;
    const uint64_t sectorsOfB = lastOf(laidOut.entries[3].start) - laidOut.entries[3].start + 1;
    bool measuredAll = true;
    for (const bool asMiniStreams : {false, true}) {
        SCOPED_TRACE(asMiniStreams ? "streams read as mini streams" : "streams read through the FAT");
        CfbImage layout = laidOut;
        // The root's chain runs on through both streams, and so does the chain of "a".
        layout.fat[lastOf(layout.entries[0].start)] = layout.entries[2].start;
        layout.fat[lastOf(layout.entries[2].start)] = layout.entries[3].start;
        layout.entries[0].size = 0x7FFFFFF0u;  // just below 2 GiB, which could still be reserved
        layout.entries[2].size = 0x7FFFFFF0u;
        layout.entries[3].size = 0xFFFFFFF0u;  // below even the largest cutoff
        if (asMiniStreams) {  // "a" and "b" start on the two mini sectors of "small", which loop
            layout.header.miniStreamCutoff = 0xFFFFFFFFu;
            layout.miniFat[1] = 0;
            layout.entries[2].start = layout.entries[3].start = 0;
        }
        const Bytes bytes = layout.serialize();
        ASSERT_GT(bytes.size(), 1000000u);
        const ScratchFile file(bytes);
        const uint64_t read = openListAndRead(file.path());
        // A walk through the FAT gives what the chain holds, a looping mini walk as many mini sectors as the file holds.
        const uint64_t expected = asMiniStreams ? 100 + 2 * static_cast<uint64_t>(bytes.size()) : 100 + (2 * sectorsOfB + sectorsOfA) * 512;
        EXPECT_EQ(read, expected);

        const Cost cost = measured([&] { return openListAndRead(file.path()); });
        measuredAll &= expectCostBelow(cost, read, static_cast<long>(bytes.size()) + 4 * kMiB);
    }
    if (!measuredAll) GTEST_SKIP() << kUnmeasured;
}
