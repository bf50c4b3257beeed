#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ImageTestSupport.h"
#include "TOVStStorageConstants.h"

using imagetest::bytesOf;
using imagetest::loadImage;
using imagetest::tableOf;
using tovxtest::CfbBuilder;
using tovxtest::CfbImage;
using tovxtest::patternBytes;

namespace {

// A tree with every kind of content: mini and regular streams, one just below the
// cutoff, an empty one, and a storage with children of its own.
CfbBuilder sampleTree(uint16_t sectorShift) {
    CfbBuilder builder(sectorShift);
    const int sub = builder.addStorage(CfbBuilder::kRoot, u"Sub");
    builder.addStream(CfbBuilder::kRoot, u"\x05SummaryInformation", patternBytes(300, 1));
    builder.addStream(CfbBuilder::kRoot, u"Big", patternBytes(10000, 2));
    builder.addStream(CfbBuilder::kRoot, u"BelowCutoff", patternBytes(4095, 3));
    builder.addStream(sub, u"Inner", patternBytes(64, 4));
    builder.addStream(sub, u"Empty", {});
    for (int i = 0; i < 6; ++i) builder.addStream(sub, u"Item" + std::u16string(1, u'A' + i), patternBytes(100 * i + 1, 10 + i));
    return builder;
}

// The mini stream as laid out: the root's sectors, cut to the root's size.
std::vector<uint8_t> expectedMiniStream(const CfbImage& layout) {
    std::vector<uint8_t> bytes;
    const tovxtest::CfbEntry& root = layout.entries[0];
    for (uint32_t s = root.start; bytes.size() < root.size; ++s) {
        std::vector<uint8_t> sector = layout.sectors[s];
        sector.resize(layout.sectorSize(), 0);
        bytes.insert(bytes.end(), sector.begin(), sector.end());
    }
    bytes.resize(root.size);
    return bytes;
}

std::string narrow(const TOVXString& text) {
    std::string out;
    for (int i = 0; i < text.length(); ++i) out += static_cast<char>(text.At(i));
    return out;
}

// Every slot of the directory as laid out, and empty slots up to the end of the last sector.
void expectDirectoryMatches(const TOVStStorageFileInfo& image, const CfbImage& layout) {
    const uint32_t slots = layout.sectorSize() / 128;
    ASSERT_EQ(static_cast<size_t>(image.dirTable().Count()), layout.directorySectorIds.size() * slots);
    for (int i = 0; i < image.dirTable().Count(); ++i) {
        TOVStStorageDirEntry entry = *image.dirTable().At(i);
        if (static_cast<size_t>(i) >= layout.entries.size()) {
            EXPECT_FALSE(entry.isValid()) << i;
            continue;
        }
        const tovxtest::CfbEntry& expected = layout.entries[i];
        EXPECT_EQ(narrow(entry.getName()), std::string(expected.name.begin(), expected.name.end())) << i;
        EXPECT_EQ(entry.getType(), expected.type) << i;
        EXPECT_EQ(entry.getLeftSib(), expected.left) << i;
        EXPECT_EQ(entry.getRightSib(), expected.right) << i;
        EXPECT_EQ(entry.getChild(), expected.child) << i;
        EXPECT_EQ(entry.getStartSect(), expected.start) << i;
        EXPECT_EQ(entry.getSize(), expected.size) << i;
        EXPECT_TRUE(entry.isValid()) << i;
    }
}

void expectLoadedAsLaidOut(const TOVStStorageFileInfo& image, const CfbImage& layout) {
    const uint32_t words = layout.wordsPerSector();
    std::vector<unsigned int> fat = layout.fat;
    fat.resize(layout.fatSectorIds.size() * words, tovxtest::kFreeSect);
    EXPECT_EQ(tableOf(image.fatTable()), fat);
    std::vector<unsigned int> miniFat = layout.miniFat;
    miniFat.resize(layout.miniFatSectorIds.size() * words, tovxtest::kFreeSect);
    EXPECT_EQ(tableOf(image.miniFatTable()), miniFat);
    expectDirectoryMatches(image, layout);
    EXPECT_EQ(bytesOf(image.miniStreamBytes()), expectedMiniStream(layout));
}

}  // namespace

class WellFormedImage : public ::testing::TestWithParam<uint16_t> {};

TEST_P(WellFormedImage, LoadsEveryTableAsWritten) {
    const CfbImage layout = sampleTree(GetParam()).layout();
    TOVStStorageFileInfo image = loadImage(layout.serialize());
    ASSERT_TRUE(image.checkValidity());
    EXPECT_TRUE(image.isLittleEndian());
    EXPECT_EQ(image.difTable().Count(), 0);
    expectLoadedAsLaidOut(image, layout);

    const TOVStStorageHeader header = image.getHeader();
    EXPECT_EQ(header.sectorShift, GetParam());
    EXPECT_EQ(header.miniStreamCutoff, 4096u);
    EXPECT_EQ(header.firstDirectorySector, layout.header.firstDirectorySector);
    EXPECT_EQ(header.headerFatBytes, layout.sectorSize() - 76);
    EXPECT_EQ(header.headerFatSectors, nullptr);  // the header's list lives during the load only
    EXPECT_TRUE(image.getRootDirEntry().isRoot());
    EXPECT_EQ(image.getMiniStreamLength(), layout.entries[0].size);
    EXPECT_EQ(image.getMiniStreamStartSect(), layout.entries[0].start);
}

TEST_P(WellFormedImage, SectorPositions) {
    TOVStStorageFileInfo image = loadImage(sampleTree(GetParam()).build());
    const uint32_t size = 1u << GetParam();
    EXPECT_EQ(image.getEquivalentFatBytePos(0), size);  // sector 0 follows the whole first sector
    EXPECT_EQ(image.getEquivalentFatBytePos(3), 4 * size);
    EXPECT_EQ(image.getEquivalentMiniFatBytePos(0), 0u);
    EXPECT_EQ(image.getEquivalentMiniFatBytePos(3), 192u);
}

TEST_P(WellFormedImage, CopiesAreIndependentOfTheFile) {
    std::unique_ptr<TOVStStorageFileInfo> original;
    {
        const tovxtest::ScratchFile file(sampleTree(GetParam()).build());
        original.reset(new TOVStStorageFileInfo(TOVXFilePath(file.path())));
    }
    TOVStStorageFileInfo copy(*original);
    TOVStStorageFileInfo assigned;
    assigned = copy;
    original.reset();
    EXPECT_TRUE(copy.checkValidity());
    EXPECT_TRUE(assigned.checkValidity());
    EXPECT_EQ(copy.getDirArray().Count(), assigned.dirTable().Count());
    EXPECT_EQ(bytesOf(copy.getMiniStream()), bytesOf(assigned.miniStreamBytes()));
}

INSTANTIATE_TEST_SUITE_P(SectorSizes, WellFormedImage, ::testing::Values(9, 12),
                         [](const ::testing::TestParamInfo<uint16_t>& info) { return std::to_string(1 << info.param); });

TEST(ImageLoad, SiblingTreesOfEitherShapeLoadTheSameEntries) {
    CfbBuilder builder = sampleTree(9);
    builder.shape(CfbBuilder::Shape::RightChain);
    const CfbImage layout = builder.layout();
    TOVStStorageFileInfo image = loadImage(layout.serialize());
    ASSERT_TRUE(image.checkValidity());
    expectDirectoryMatches(image, layout);
}

TEST(ImageLoad, DirectoryOfOneSectorHoldsFourOrThirtyTwoSlots) {
    for (uint16_t shift : {uint16_t(9), uint16_t(12)}) {
        TOVStStorageFileInfo image = loadImage(CfbBuilder(shift).build());
        ASSERT_TRUE(image.checkValidity());
        EXPECT_EQ(image.dirTable().Count(), shift == 9 ? 4 : 32);
        EXPECT_EQ(image.miniStreamBytes().Count(), 0);
        EXPECT_EQ(image.miniFatTable().Count(), 0);  // no mini FAT: its first sector is ENDOFCHAIN
    }
}

TEST(ImageLoad, DifatOfSeveralSectors) {
    CfbBuilder builder(9);
    builder.addStream(CfbBuilder::kRoot, u"Small", patternBytes(500, 1));
    builder.minimumFatSectors(109 + 127 * 2 + 5);  // three DIFAT sectors
    CfbImage layout = builder.layout();
    ASSERT_EQ(layout.difatSectorIds.size(), 3u);
    // Marks in FAT sectors that only the DIFAT lists: they must land at their index.
    layout.fat.resize(layout.fatSectorIds.size() * 128, tovxtest::kFreeSect);
    layout.fat[200 * 128 + 5] = 0x12345;
    layout.fat[367 * 128 + 127] = 0x54321;
    const std::vector<uint8_t> bytes = layout.serialize();
    TOVStStorageFileInfo image = loadImage(bytes);
    ASSERT_TRUE(image.checkValidity());
    // 127 words from each DIFAT sector but the last, which gives all 128.
    EXPECT_EQ(image.difTable().Count(), 127 + 127 + 128);
    EXPECT_EQ(*image.difTable().At(0), layout.fatSectorIds[109]);
    EXPECT_EQ(*image.difTable().At(127), layout.fatSectorIds[109 + 127]);
    expectLoadedAsLaidOut(image, layout);
    imagetest::expectTablesBoundedByFileSize(image, bytes.size(), 512);
}

TEST(ImageLoad, ReversedByteOrderLoads) {
    for (uint16_t shift : {uint16_t(9), uint16_t(12)}) {
        CfbImage layout = sampleTree(shift).layout();
        layout.bigEndian = true;  // the mark is stored FF FE
        TOVStStorageFileInfo image = loadImage(layout.serialize());
        ASSERT_TRUE(image.checkValidity()) << shift;
        EXPECT_FALSE(image.isLittleEndian());
        EXPECT_EQ(image.getHeader().byteOrder, 0xFEFF);  // the mark itself is read as stored
        EXPECT_EQ(image.getHeader().sectorShift, shift);
        expectLoadedAsLaidOut(image, layout);
    }
}

TEST(ImageLoad, AnyMarkOtherThanFeFfReversesTheFields) {
    CfbImage layout = sampleTree(9).layout();
    layout.bigEndian = true;
    layout.header.byteOrder = 0x3412;  // stored 34 12
    TOVStStorageFileInfo image = loadImage(layout.serialize());
    ASSERT_TRUE(image.checkValidity());
    EXPECT_FALSE(image.isLittleEndian());
    expectDirectoryMatches(image, layout);
}

TEST(ImageLoad, NamesAndClassIdsAreTakenAsStoredInAReversedFile) {
    CfbBuilder builder(9);
    builder.addStream(CfbBuilder::kRoot, u"Name", patternBytes(10, 1));
    CfbImage layout = builder.layout();
    layout.bigEndian = true;
    for (int i = 0; i < 16; ++i) layout.entries[1].clsid[i] = static_cast<uint8_t>(i + 1);
    TOVStStorageFileInfo image = loadImage(layout.serialize());
    ASSERT_TRUE(image.checkValidity());
    TOVStStorageDirEntry entry = *image.dirTable().At(1);
    EXPECT_EQ(narrow(entry.getName()), "Name");
    EXPECT_EQ(entry.getRawName()[0], 'N');
    EXPECT_EQ(entry.getRawName()[1], 0);
    EXPECT_EQ(entry.getClsID()[0], 1);
    EXPECT_EQ(entry.getClsID()[15], 16);
}

TEST(ImageLoad, HeaderListOf1005EntriesWithLargeSectors) {
    CfbImage layout = sampleTree(12).layout();
    ASSERT_EQ(layout.fatSectorIds.size(), 1u);
    // Only the very last word of the first sector names the FAT sector.
    layout.header.fatList.assign(1005, tovxtest::kFreeSect);
    layout.header.fatList[1004] = layout.fatSectorIds[0];
    TOVStStorageFileInfo image = loadImage(layout.serialize());
    ASSERT_TRUE(image.checkValidity());
    EXPECT_EQ(image.fatTable().Count(), 1024);
    expectLoadedAsLaidOut(image, layout);
}

TEST(ImageLoad, ZeroPaddedHeaderListRepeatsSectorZero) {
    CfbImage layout = sampleTree(12).layout();
    ASSERT_EQ(layout.fatSectorIds[0], 0u);
    layout.header.fatList.assign(1005, 0);  // a zero word names sector 0, which is read again each time
    TOVStStorageFileInfo image = loadImage(layout.serialize());
    ASSERT_TRUE(image.checkValidity());
    EXPECT_EQ(image.fatTable().Count(), 1005 * 1024);
    EXPECT_EQ(*image.fatTable().At(1024 * 7 + 3), *image.fatTable().At(3));
    expectDirectoryMatches(image, layout);  // chains within the first listed sector still read right
}

TEST(ImageLoad, SkippedHeaderEntriesLeaveNoGap) {
    CfbBuilder builder(9);
    builder.minimumFatSectors(2);
    CfbImage layout = builder.layout();
    // FREESECT between the two FAT sectors: the second one's words follow the first's directly.
    layout.header.fatList = {layout.fatSectorIds[0], tovxtest::kFreeSect, tovxtest::kEndOfChain, layout.fatSectorIds[1]};
    layout.fat.resize(256, tovxtest::kFreeSect);
    layout.fat[128] = 0xABCD;
    TOVStStorageFileInfo image = loadImage(layout.serialize());
    ASSERT_TRUE(image.checkValidity());
    ASSERT_EQ(image.fatTable().Count(), 256);
    EXPECT_EQ(*image.fatTable().At(128), 0xABCDu);
}

// Each check of the header on its own: the first failing one refuses the file.
TEST(ImageLoad, HeaderChecks) {
    struct Case {
        const char* what;
        void (*change)(tovxtest::CfbHeader&);
        bool accepted;
    };
    const Case cases[] = {
        {"as built", [](tovxtest::CfbHeader&) {}, true},
        {"reservedShort 1", [](tovxtest::CfbHeader& h) { h.reservedShort = 1; }, false},
        {"reservedLong 1", [](tovxtest::CfbHeader& h) { h.reservedLong = 1; }, false},
        {"reservedLong top bit", [](tovxtest::CfbHeader& h) { h.reservedLong = 0x80000000u; }, false},
        {"directory sector count 5", [](tovxtest::CfbHeader& h) { h.directorySectorCount = 5; }, true},
        {"directory sector count 6", [](tovxtest::CfbHeader& h) { h.directorySectorCount = 6; }, false},
        {"directory sector count huge", [](tovxtest::CfbHeader& h) { h.directorySectorCount = 0xFFFFFFFFu; }, false},
        {"sector shift 10", [](tovxtest::CfbHeader& h) { h.sectorShift = 10; }, false},
        {"sector shift 8", [](tovxtest::CfbHeader& h) { h.sectorShift = 8; }, false},
        {"sector shift 0", [](tovxtest::CfbHeader& h) { h.sectorShift = 0; }, false},
        {"mini sector shift 7", [](tovxtest::CfbHeader& h) { h.miniSectorShift = 7; }, false},
        {"mini sector shift 5", [](tovxtest::CfbHeader& h) { h.miniSectorShift = 5; }, false},
        {"signature not looked at", [](tovxtest::CfbHeader& h) { h.signature.fill('x'); }, true},
        {"versions not looked at", [](tovxtest::CfbHeader& h) { h.majorVersion = 4; h.minorVersion = 0x1234; }, true},
        {"class id not looked at", [](tovxtest::CfbHeader& h) { h.clsid.fill(0x55); }, true},
        {"counts not looked at", [](tovxtest::CfbHeader& h) { h.fatSectorCount = 99; h.miniFatSectorCount = 99; h.transactionSignature = 7; }, true},
    };
    for (const Case& c : cases) {
        CfbImage layout = sampleTree(9).layout();
        c.change(layout.header);
        TOVStStorageFileInfo image = loadImage(layout.serialize());
        EXPECT_EQ(image.checkValidity(), c.accepted) << c.what;
        EXPECT_EQ(image.checkHeader(), c.accepted) << c.what;
        if (!c.accepted) {
            // A refused file keeps its header as read and no table.
            EXPECT_EQ(image.getHeader().reservedShort, layout.header.reservedShort) << c.what;
            EXPECT_EQ(image.getHeader().directorySectorCount, layout.header.directorySectorCount) << c.what;
            EXPECT_EQ(image.fatTable().Count(), 0) << c.what;
            EXPECT_EQ(image.dirTable().Count(), 0) << c.what;
            EXPECT_EQ(image.getFatSector().Count(), 0) << c.what;
            EXPECT_EQ(image.getMiniFatSector().Count(), 0) << c.what;
        }
    }
}

TEST(ImageLoad, LargeSectorsWithVersionThreeAreAccepted) {
    CfbImage layout = sampleTree(12).layout();
    layout.header.majorVersion = 3;
    TOVStStorageFileInfo image = loadImage(layout.serialize());
    EXPECT_TRUE(image.checkValidity());
}

TEST(ImageLoad, EmptyOrMissingFileIsRefusedWithAZeroHeader) {
    TOVStStorageFileInfo empty = loadImage({});
    EXPECT_FALSE(empty.checkValidity());
    EXPECT_EQ(empty.getHeader().sectorShift, 0);
    EXPECT_EQ(empty.getHeader().byteOrder, 0);

    TOVStStorageFileInfo missing(TOVXFilePath("/nonexistent/folder/file.doc"));
    EXPECT_FALSE(missing.checkValidity());
    EXPECT_EQ(missing.getHeader().sectorShift, 0);
    EXPECT_EQ(missing.dirTable().Count(), 0);

    TOVStStorageFileInfo unnamed{TOVXFilePath()};
    EXPECT_FALSE(unnamed.checkValidity());
    TOVStStorageFileInfo defaulted;
    EXPECT_FALSE(defaulted.checkValidity());
    EXPECT_EQ(defaulted.getMiniStreamLength(), 0u);
}

// A file cut anywhere reads as if the missing bytes were zeros.
TEST(ImageLoad, HeaderCutShortReadsZeros) {
    const std::vector<uint8_t> whole = sampleTree(9).build();
    struct Case {
        size_t size;
        bool accepted;
    };
    // Before offset 33 a sector shift is missing; from there every missing field is 0, which passes.
    for (const Case c : {Case{1, false}, Case{30, false}, Case{32, false}, Case{33, true}, Case{34, true}, Case{44, true},
                         Case{76, true}, Case{300, true}, Case{511, true}, Case{513, true}}) {
        std::vector<uint8_t> bytes(whole.begin(), whole.begin() + c.size);
        TOVStStorageFileInfo image = loadImage(bytes);
        EXPECT_EQ(image.checkValidity(), c.accepted) << c.size;
        imagetest::expectTablesBoundedByFileSize(image, bytes.size(), 512);
    }
}

TEST(ImageLoad, DirectoryCutShortGivesEmptySlots) {
    CfbBuilder builder(9);
    builder.addStorage(CfbBuilder::kRoot, u"A");
    builder.addStorage(CfbBuilder::kRoot, u"B");
    const CfbImage layout = builder.layout();
    ASSERT_EQ(layout.directorySectorIds.back() + 1, layout.sectors.size());  // the directory is last
    std::vector<uint8_t> bytes = layout.serialize();
    bytes.resize(layout.sectorOffset(layout.directorySectorIds[0]) + 128 + 70);  // slot 1 cut inside its links
    TOVStStorageFileInfo image = loadImage(bytes);
    ASSERT_TRUE(image.checkValidity());
    ASSERT_EQ(image.dirTable().Count(), 4);
    EXPECT_TRUE(image.dirTable().At(0)->isRoot());
    TOVStStorageDirEntry cut = *image.dirTable().At(1);
    EXPECT_EQ(narrow(cut.getName()), "A");
    EXPECT_EQ(cut.getLeftSib() & 0xFFFF0000u, 0u);  // the two bytes beyond the end read as zero
    EXPECT_FALSE(image.dirTable().At(2)->isValid());
    EXPECT_FALSE(image.dirTable().At(3)->isValid());
}

TEST(ImageLoad, MiniStreamCutShortReadsZeros) {
    CfbBuilder builder(9);
    builder.addStream(CfbBuilder::kRoot, u"S", patternBytes(1000, 7));
    const CfbImage layout = builder.layout();
    const uint32_t miniStart = layout.entries[0].start;
    ASSERT_EQ(miniStart + 2, layout.sectors.size());  // two sectors of mini stream, at the end
    std::vector<uint8_t> bytes = layout.serialize();
    bytes.resize(layout.sectorOffset(miniStart) + 600);
    TOVStStorageFileInfo image = loadImage(bytes);
    ASSERT_TRUE(image.checkValidity());
    const std::vector<uint8_t> mini = bytesOf(image.miniStreamBytes());
    ASSERT_EQ(mini.size(), 1024u);
    const std::vector<uint8_t> contents = patternBytes(1000, 7);
    EXPECT_TRUE(std::equal(contents.begin(), contents.begin() + 600, mini.begin()));
    EXPECT_EQ(std::count(mini.begin() + 600, mini.end(), 0), 1024 - 600);
}

TEST(ImageLoad, MiniStreamSizes) {
    struct Case {
        const char* what;
        uint32_t rootSize;
        bool startAtEnd;  // root start ENDOFCHAIN
        size_t expected;
    };
    // The mini stream of this file holds 1024 bytes over two sectors.
    const Case cases[] = {
        {"as built", 1024, false, 1024},
        {"size 0 whatever the start", 0, false, 0},
        {"ENDOFCHAIN start whatever the size", 1024, true, 0},
        {"size not a multiple of a sector", 700, false, 700},
        {"one sector over a chain of two", 512, false, 512},
        {"size beyond the chain", 3000, false, 1024},
    };
    for (const Case& c : cases) {
        CfbBuilder builder(9);
        builder.addStream(CfbBuilder::kRoot, u"S", patternBytes(1000, 7));
        CfbImage layout = builder.layout();
        layout.entries[0].size = c.rootSize;
        if (c.startAtEnd) layout.entries[0].start = tovxtest::kEndOfChain;
        TOVStStorageFileInfo image = loadImage(layout.serialize());
        ASSERT_TRUE(image.checkValidity()) << c.what;
        EXPECT_EQ(static_cast<size_t>(image.miniStreamBytes().Count()), c.expected) << c.what;
    }
}

TEST(ImageLoad, NoMiniStreamWhenEntryZeroIsNoRoot) {
    CfbBuilder builder(9);
    builder.addStream(CfbBuilder::kRoot, u"S", patternBytes(100, 7));
    CfbImage layout = builder.layout();
    layout.entries[0].type = 1;
    TOVStStorageFileInfo image = loadImage(layout.serialize());
    ASSERT_TRUE(image.checkValidity());
    EXPECT_EQ(image.getMiniStreamLength(), 0u);
    EXPECT_EQ(image.getMiniStreamStartSect(), 0u);
    EXPECT_EQ(image.miniStreamBytes().Count(), 0);
}

TEST(ImageLoad, EveryFieldOfAnEntryIsReadWhateverItsNameLength) {
    for (bool bigEndian : {false, true}) {
        CfbBuilder builder(9);
        builder.addStream(CfbBuilder::kRoot, u"S", patternBytes(100, 1));
        builder.addStream(CfbBuilder::kRoot, u"T", patternBytes(200, 2));
        CfbImage layout = builder.layout();
        layout.bigEndian = bigEndian;
        tovxtest::CfbEntry& e = layout.entries[1];
        e.nameLength = 0;
        e.created = 0x0123456789ABCDEFull;  // times are passed over, never kept
        e.modified = 0xFEDCBA9876543210ull;
        e.userFlags = 0xCAFEF00D;
        e.propertyType = 0x1234;
        TOVStStorageFileInfo image = loadImage(layout.serialize());
        ASSERT_TRUE(image.checkValidity());
        TOVStStorageDirEntry read = *image.dirTable().At(1);
        EXPECT_FALSE(read.isValid()) << bigEndian;  // a name length of 0 fails the name test
        EXPECT_EQ(read.getNameLength(), 0);
        EXPECT_EQ(read.getUserFlag(), 0xCAFEF00Du) << bigEndian;
        EXPECT_EQ(read.getStartSect(), e.start) << bigEndian;
        EXPECT_EQ(read.getSize(), 100u) << bigEndian;
        EXPECT_EQ(read.getPropertyType(), 0x1234) << bigEndian;
        EXPECT_EQ(narrow(image.dirTable().At(2)->getName()), "T");  // the next slot starts where it should
        EXPECT_EQ(image.dirTable().At(2)->getSize(), 200u);
    }
}
