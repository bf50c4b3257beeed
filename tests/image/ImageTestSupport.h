#ifndef TOVX_IMAGE_TEST_SUPPORT_H
#define TOVX_IMAGE_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "CfbBuilder.h"
#include "TOVStStorageFileInfo.h"
#include "TestFiles.h"

namespace imagetest {

// Loads `bytes` as a file; the image keeps nothing of the file once built.
inline TOVStStorageFileInfo loadImage(const std::vector<uint8_t>& bytes) {
    const tovxtest::ScratchFile file(bytes);
    return TOVStStorageFileInfo(TOVXFilePath(file.path()));
}

template <typename T>
std::vector<T> vectorOf(const TOVXDynamicArray<T>& array) {
    return std::vector<T>(array.begin(), array.end());
}

// The DIFAT walk visits at most this many sectors, whatever the header claims.
inline uint32_t difatSectorBound(uint32_t sectorSize) { return sectorSize == 512 ? 259 : 1; }

// No table of an image may grow past what the file's size allows, beside the fixed amount
// that the bound on the DIFAT allows the FAT: every chain visits at most the sectors behind
// the header (at least one).
inline void expectTablesBoundedByFileSize(const TOVStStorageFileInfo& image, size_t fileBytes, uint32_t sectorSize) {
    const uint64_t sectors = std::max<uint64_t>(1, (fileBytes + sectorSize - 1) / sectorSize);
    const uint64_t words = sectorSize / 4;
    const uint64_t headerList = (sectorSize - 76) / 4;
    const uint64_t difatWords = difatSectorBound(sectorSize) * words;
    EXPECT_LE(static_cast<uint64_t>(image.difTable().Count()), difatWords);
    EXPECT_LE(static_cast<uint64_t>(image.fatTable().Count()), (headerList + difatWords) * words);
    EXPECT_LE(static_cast<uint64_t>(image.miniFatTable().Count()), sectors * words);
    EXPECT_LE(static_cast<uint64_t>(image.dirTable().Count()), sectors * (sectorSize / 128));
    EXPECT_LE(static_cast<uint64_t>(image.miniStreamBytes().Count()), static_cast<uint64_t>(fileBytes));
    // Nor may room be reserved for more than that: a root may claim any mini stream length.
    EXPECT_LE(static_cast<uint64_t>(image.miniStreamBytes().header->capacity), static_cast<uint64_t>(fileBytes) + sectorSize);
}

}  // namespace imagetest

#endif
