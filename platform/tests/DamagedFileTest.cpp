// Damaged files from the builder: every open ends with a status, every walk ends, and nothing
// reads more than the file holds.

#include "CfbBuilder.h"
#include "StgTestSupport.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <functional>

using stgtest::Ref;
using namespace tovxtest;

namespace {

// Walks every storage and reads every stream to its end; gives the bytes read.
uint64_t walkAll(IStorage* storage, int depth = 0) {
    uint64_t total = 0;
    Ref<IEnumSTATSTG> children;
    if (depth > 40 || storage->EnumElements(0, nullptr, 0, children.out()) != S_OK) return 0;
    STATSTG stat;
    while (children->Next(1, &stat, nullptr) == S_OK) {
        if (stat.type == STGTY_STORAGE) {
            Ref<IStorage> child;
            if (storage->OpenStorage(stat.pwcsName, nullptr, 0x10, nullptr, 0, child.out()) == S_OK) {
                total += walkAll(child.get(), depth + 1);
            }
        } else {
            Ref<IStream> stream;
            if (storage->OpenStream(stat.pwcsName, nullptr, 0x10, 0, stream.out()) == S_OK) {
                std::vector<uint8_t> chunk(65536);
                ULONG got = 0;
                uint64_t read = 0;
                while (stream->Read(chunk.data(), static_cast<ULONG>(chunk.size()), &got) == S_OK && got > 0) {
                    read += got;
                }
                EXPECT_LE(read, stat.cbSize.QuadPart);
                total += read;
            }
        }
        CoTaskMemFree(stat.pwcsName);
    }
    return total;
}

CfbBuilder sample(uint16_t shift = 9) {
    CfbBuilder builder(shift);
    builder.addStream(CfbBuilder::kRoot, u"Small", patternBytes(300, 1));
    builder.addStream(CfbBuilder::kRoot, u"Large", patternBytes(9000, 2));
    const int storage = builder.addStorage(CfbBuilder::kRoot, u"Folder");
    builder.addStream(storage, u"Inside", patternBytes(100, 3));
    return builder;
}

struct Damage {
    const char* what;
    std::function<void(CfbImage&)> change;
    HRESULT open;
};

TEST(StgDamagedFiles, BrokenTablesGiveAStatusOrShortDataAndNothingHangs) {
    const Damage cases[] = {
        {"intact", [](CfbImage&) {}, S_OK},
        {"a stream's chain loops to itself", [](CfbImage& image) { image.fat[image.entries[2].start] = image.entries[2].start; }, S_OK},
        {"a stream's chain leaves the table", [](CfbImage& image) { image.fat[image.entries[2].start] = 0x00FFFFFF; }, S_OK},
        {"a stream claims 4 GiB", [](CfbImage& image) { image.entries[2].size = 0xFFFFFFFF; }, S_OK},
        {"the mini stream claims 4 GiB", [](CfbImage& image) { image.entries[0].size = 0xFFFFFFF0; }, S_OK},
        {"the directory chain loops", [](CfbImage& image) { image.fat[image.directorySectorIds[0]] = image.directorySectorIds[0]; }, S_OK},
        {"a storage holds itself", [](CfbImage& image) { image.entries[3].child = 3; }, S_OK},
        {"siblings link in a circle", [](CfbImage& image) { image.entries[1].left = 0; image.entries[2].right = 1; image.entries[1].right = 2; }, S_OK},
        {"links out of range", [](CfbImage& image) { image.entries[0].child = 4000; }, S_OK},
        {"the mini FAT loops", [](CfbImage& image) { image.fat[image.miniFatSectorIds[0]] = image.miniFatSectorIds[0]; }, S_OK},
        {"the header counts 4 billion FAT sectors", [](CfbImage& image) { image.header.fatSectorCount = 0xFFFFFFFF; }, S_OK},
        {"the DIFAT chain loops", [](CfbImage& image) { image.header.fatSectorCount = 500; image.header.firstDifSector = image.fatSectorIds[0]; }, S_OK},
        {"the directory starts past the file", [](CfbImage& image) { image.header.firstDirectorySector = 100000; }, STG_E_DOCFILECORRUPT},
        {"the root is a stream", [](CfbImage& image) { image.entries[0].type = 2; }, STG_E_DOCFILECORRUPT},
        {"a sector shift of 10", [](CfbImage& image) { image.header.sectorShift = 10; }, STG_E_FILEALREADYEXISTS},
        {"the byte order reversed", [](CfbImage& image) { image.header.byteOrder = 0xFEFF; }, STG_E_FILEALREADYEXISTS},
    };
    for (const Damage& damage : cases) {
        SCOPED_TRACE(damage.what);
        CfbImage image = sample().layout();
        damage.change(image);
        const std::vector<uint8_t> bytes = image.serialize();
        const ScratchFile file(bytes);
        Ref<IStorage> root;
        ASSERT_EQ(stgtest::openFile(file.path(), 0x20, root), damage.open);
        if (root.get() == nullptr) continue;
        EXPECT_LE(walkAll(root.get()), bytes.size()) << "no stream gives more than its chain holds";
    }
}

TEST(StgDamagedFiles, AFileCutAnywhereOpensOrNotButNeverCrashes) {
    for (const uint16_t shift : {9, 12}) {
        const std::vector<uint8_t> whole = sample(shift).build();
        const uint64_t complete = 9000 + 300 + 100;
        for (size_t length = 0; length <= whole.size(); length += shift == 9 ? 97 : 997) {
            SCOPED_TRACE(testing::Message() << "sector shift " << shift << ", cut at " << length);
            const ScratchFile file(std::vector<uint8_t>(whole.begin(), whole.begin() + length));
            Ref<IStorage> root;
            const HRESULT status = stgtest::openFile(file.path(), 0x20, root);
            EXPECT_TRUE(status == S_OK || status == STG_E_DOCFILECORRUPT || status == STG_E_FILEALREADYEXISTS)
                << std::hex << status;
            if (root.get() != nullptr) {
                EXPECT_LE(walkAll(root.get()), complete);
            }
        }
    }
}

TEST(StgDamagedFiles, HugeSizesOfLargeSectorFilesAreReportedNotBelieved) {
    CfbImage image = sample(12).layout();
    image.entries[2].propertyType = 0x4000;  // the high half of the size: read whole with 4096-byte sectors
    const uint64_t size = (uint64_t(0x4000) << 32) | 9000;
    const ScratchFile file(image.serialize());
    Ref<IStorage> root;
    ASSERT_EQ(stgtest::openFile(file.path(), 0x20, root), S_OK);
    Ref<IStream> stream;
    ASSERT_EQ(root->OpenStream(stgtest::wide("Large").data(), nullptr, 0x10, 0, stream.out()), S_OK);
    STATSTG stat;
    ASSERT_EQ(stream->Stat(&stat, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(stat.cbSize.QuadPart, size);
    LARGE_INTEGER move;
    move.QuadPart = (1ll << 40) + 5;
    ULARGE_INTEGER position;
    ASSERT_EQ(stream->Seek(move, STREAM_SEEK_SET, &position), S_OK);
    EXPECT_EQ(position.QuadPart, (1ull << 40) + 5);
    uint8_t byte = 0;
    ULONG got = 9;
    EXPECT_EQ(stream->Read(&byte, 1, &got), S_OK);
    EXPECT_EQ(got, 0u) << "far past the chain's end there is nothing to read";
}

}  // namespace
