// Damaged files from the builder: a file cut at every length, and sizes of more than 32 bits.
// Tables and links that are broken are read by both stacks in tests/malformed.

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
