#include <gtest/gtest.h>

#include <vector>

#include "ImageTestSupport.h"
#include "TOVIStorage.h"
#include "TOVStStorageConstants.h"
#include "TOVXMemoryManager.h"

using imagetest::expectTablesBoundedByFileSize;
using imagetest::loadImage;
using tovxtest::CfbBuilder;
using tovxtest::CfbImage;
using tovxtest::patternBytes;

namespace {

// Enough entries for a directory of three sectors, a mini FAT of two sectors and a
// mini stream of several sectors, with 512-byte sectors.
CfbImage manySectors() {
    CfbBuilder builder(9);
    for (int i = 0; i < 10; ++i)
        builder.addStream(CfbBuilder::kRoot, u"S" + std::u16string(1, u'0' + i), patternBytes(700 + i, static_cast<uint8_t>(i)));
    for (int i = 0; i < 120; ++i) builder.addStream(CfbBuilder::kRoot, u"T" + std::u16string(1, u'A' + i % 26) + std::u16string(1, u'a' + i / 26), patternBytes(10, 1));
    CfbImage layout = builder.layout();
    return layout;
}

}  // namespace

TEST(ImageDamage, LayoutForTheseTestsHasLongChains) {
    const CfbImage layout = manySectors();
    EXPECT_GE(layout.directorySectorIds.size(), 3u);
    EXPECT_GE(layout.miniFatSectorIds.size(), 2u);
    EXPECT_GE(layout.entries[0].size, 3 * 512u);
}

// A chain through the FAT that comes back to a sector it passed ends there.
TEST(ImageDamage, DirectoryChainThatLoopsEnds) {
    struct Case {
        const char* what;
        size_t loopFrom;  // index in the directory's sectors whose FAT entry is changed
        size_t loopTo;
        size_t sectorsRead;
    };
    const Case cases[] = {
        {"last back to first", 2, 0, 3},
        {"last back to itself", 2, 2, 3},
        {"first to itself", 0, 0, 1},
        {"second back to first", 1, 0, 2},
    };
    for (const Case& c : cases) {
        CfbImage layout = manySectors();
        const std::vector<uint32_t>& dir = layout.directorySectorIds;
        layout.fat[dir[c.loopFrom]] = dir[c.loopTo];
        const std::vector<uint8_t> bytes = layout.serialize();
        TOVStStorageFileInfo image = loadImage(bytes);
        ASSERT_TRUE(image.checkValidity()) << c.what;
        EXPECT_EQ(static_cast<size_t>(image.dirTable().Count()), c.sectorsRead * 4) << c.what;
        expectTablesBoundedByFileSize(image, bytes.size(), 512);
    }
}

TEST(ImageDamage, MiniFatChainThatLoopsEnds) {
    CfbImage layout = manySectors();
    const std::vector<uint32_t>& miniFat = layout.miniFatSectorIds;
    layout.fat[miniFat.back()] = miniFat.front();
    const std::vector<uint8_t> bytes = layout.serialize();
    TOVStStorageFileInfo image = loadImage(bytes);
    ASSERT_TRUE(image.checkValidity());
    EXPECT_EQ(static_cast<size_t>(image.miniFatTable().Count()), miniFat.size() * 128);
    expectTablesBoundedByFileSize(image, bytes.size(), 512);
}

TEST(ImageDamage, MiniStreamChainThatLoopsEnds) {
    CfbImage layout = manySectors();
    const uint32_t start = layout.entries[0].start;
    layout.fat[start + 1] = start;  // the second sector leads back to the first
    const std::vector<uint8_t> bytes = layout.serialize();
    TOVStStorageFileInfo image = loadImage(bytes);
    ASSERT_TRUE(image.checkValidity());
    EXPECT_EQ(image.miniStreamBytes().Count(), 2 * 512);  // shorter than the root's size: the chain ended early
    expectTablesBoundedByFileSize(image, bytes.size(), 512);
}

// A next sector beyond the FAT ends the chain: what the first sector holds stays, and
// nothing beyond the named sector is read (it lies past the file's end, so it could only add empty slots).
TEST(ImageDamage, SectorOutsideTheFatEndsTheChain) {
    for (uint32_t outside : {uint32_t(128), uint32_t(0x00FFFFFF), uint32_t(0x7FFFFFFF)}) {
        CfbImage layout = manySectors();
        layout.fat[layout.directorySectorIds[0]] = outside;
        const std::vector<uint8_t> bytes = layout.serialize();
        TOVStStorageFileInfo image = loadImage(bytes);
        ASSERT_TRUE(image.checkValidity()) << outside;
        const int count = image.dirTable().Count();
        EXPECT_TRUE(count == 4 || count == 8) << outside << ": " << count;
        EXPECT_TRUE(image.dirTable().At(0)->isRoot());
        EXPECT_TRUE(image.dirTable().At(3)->isValid());
        for (int i = 4; i < count; ++i) EXPECT_FALSE(image.dirTable().At(i)->isValid()) << outside;
        expectTablesBoundedByFileSize(image, bytes.size(), 512);
    }
}

TEST(ImageDamage, SpecialValuesEndChains) {
    for (uint32_t special : {tovxtest::kFreeSect, tovxtest::kEndOfChain, tovxtest::kFatSect, tovxtest::kDifSect}) {
        CfbImage layout = manySectors();
        layout.fat[layout.directorySectorIds[0]] = special;
        layout.fat[layout.entries[0].start] = special;
        TOVStStorageFileInfo image = loadImage(layout.serialize());
        ASSERT_TRUE(image.checkValidity());
        EXPECT_EQ(image.dirTable().Count(), 4) << special;
        EXPECT_EQ(image.miniStreamBytes().Count(), 512) << special;
    }
}

TEST(ImageDamage, DifatChainThatLoopsEnds) {
    CfbBuilder builder(9);
    builder.addStream(CfbBuilder::kRoot, u"S", patternBytes(100, 1));
    builder.minimumFatSectors(109 + 127 * 2 + 5);
    const CfbImage layout = builder.layout();
    ASSERT_EQ(layout.difatSectorIds.size(), 3u);
    constexpr int kEnd = -1;  // the link is ENDOFCHAIN
    struct Case {
        const char* what;
        uint32_t count;
        size_t linkOf;  // DIFAT sector whose link is changed
        int linkTo;     // index of the DIFAT sector it then names
    };
    const Case cases[] = {
        {"second back to first", 3, 1, 0},
        {"first to itself", 3, 0, 0},
        {"count far too large, looping", 0xFFFFFFFFu, 2, 0},
        {"count far too large, chain ends", 0xFFFFFFFFu, 2, kEnd},
    };
    for (const Case& c : cases) {
        CfbImage changed = layout;
        changed.header.difSectorCount = c.count;
        std::vector<uint8_t> bytes = changed.serialize();
        const uint32_t link = c.linkTo == kEnd ? tovxtest::kEndOfChain : changed.difatSectorIds[c.linkTo];
        changed.putWord(bytes, changed.difatSectorIds[c.linkOf], 127, link);
        TOVStStorageFileInfo image = loadImage(bytes);
        ASSERT_TRUE(image.checkValidity()) << c.what;
        EXPECT_LE(image.difTable().Count(), 3 * 128) << c.what;
        EXPECT_EQ(image.dirTable().Count(), 4) << c.what;  // FAT sectors of the header list still serve
        expectTablesBoundedByFileSize(image, bytes.size(), 512);
    }
}

TEST(ImageDamage, DifatCountBeyondTheFile) {
    CfbBuilder builder(9);
    builder.addStream(CfbBuilder::kRoot, u"S", patternBytes(100, 1));
    CfbImage layout = builder.layout();
    // No DIFAT at all, but the header claims one at a sector of the file, and far too many of them.
    layout.header.firstDifSector = 0;
    layout.header.difSectorCount = 0x10000000u;
    const std::vector<uint8_t> bytes = layout.serialize();
    TOVStStorageFileInfo image = loadImage(bytes);
    ASSERT_TRUE(image.checkValidity());
    expectTablesBoundedByFileSize(image, bytes.size(), 512);
    EXPECT_TRUE(image.dirTable().At(0)->isRoot());
}

TEST(ImageDamage, FirstDifatSectorEndOfChainReadsNoDifat) {
    CfbBuilder builder(9);
    CfbImage layout = builder.layout();
    layout.header.difSectorCount = 50;
    TOVStStorageFileInfo image = loadImage(layout.serialize());
    ASSERT_TRUE(image.checkValidity());
    EXPECT_EQ(image.difTable().Count(), 0);
}

TEST(ImageDamage, RootSizeBeyondTheFileCannotGrowTheMiniStream) {
    for (uint32_t size : {uint32_t(100000), uint32_t(0x7FFFFFFF), uint32_t(0x80000000), uint32_t(0xFFFFFFFF)}) {
        CfbImage layout = manySectors();
        layout.entries[0].size = size;
        // The mini stream's last sector links on to every other sector of the file.
        const uint32_t last = layout.entries[0].start + 10;
        for (uint32_t s = last; s + 1 < layout.sectors.size(); ++s) layout.fat[s] = s + 1;
        const std::vector<uint8_t> bytes = layout.serialize();
        TOVStStorageFileInfo image = loadImage(bytes);
        ASSERT_TRUE(image.checkValidity()) << size;
        EXPECT_LE(static_cast<size_t>(image.miniStreamBytes().Count()), bytes.size()) << size;
        EXPECT_GT(image.miniStreamBytes().Count(), 0) << size;
        expectTablesBoundedByFileSize(image, bytes.size(), 512);
    }
}

TEST(ImageDamage, EverySectorNumberOfTheHeaderOutsideTheFile) {
    CfbImage layout = manySectors();
    layout.header.firstDirectorySector = 0x00ABCDEF;
    layout.header.firstMiniFatSector = 0x7FFFFFF0;
    layout.header.fatList.assign(109, 0x0FFFFFFF);
    const std::vector<uint8_t> bytes = layout.serialize();
    TOVStStorageFileInfo image = loadImage(bytes);
    ASSERT_TRUE(image.checkValidity());
    EXPECT_EQ(image.dirTable().Count(), 4);  // one sector of zeros
    EXPECT_FALSE(image.dirTable().At(0)->isValid());
    EXPECT_EQ(image.miniStreamBytes().Count(), 0);
    expectTablesBoundedByFileSize(image, bytes.size(), 512);
}

// A mini FAT that loops is the stream reader's to cut: the stream ends, no bigger than its size.
TEST(ImageDamage, StreamWhoseMiniChainLoopsIsRead) {
    CfbBuilder builder(9);
    builder.addStream(CfbBuilder::kRoot, u"S", patternBytes(1000, 3));
    CfbImage layout = builder.layout();
    layout.miniFat[1] = 0;  // back to the stream's first mini sector
    layout.entries[1].size = 4000;
    const tovxtest::ScratchFile file(layout.serialize());
    TOVIStorage* root = nullptr;
    ASSERT_EQ(TOVStgOpenStorage(TOVXFilePath(file.path()), &root), 0);
    TOVIStream* stream = nullptr;
    root->openStream(TOVXString::FromUtf8("S"), &stream);
    ASSERT_NE(stream, nullptr);
    EXPECT_LE(stream->length(), 4000u);
    ASSERT_GT(stream->length(), 128u);
    EXPECT_EQ(stream->data()[128], patternBytes(1000, 3)[0]);  // the third mini sector read is the first again
    tovxDelete(stream);
    tovxDelete(root);
}
