#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "ImageTestSupport.h"

using imagetest::loadImage;
using imagetest::vectorOf;
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

// The mini stream as laid out: the root's chain of sectors, cut to the root's size.
std::vector<uint8_t> expectedMiniStream(const CfbImage& layout) {
    std::vector<uint8_t> bytes;
    for (uint32_t s = layout.entries[0].start; bytes.size() < layout.entries[0].size; s = layout.fat[s])
        bytes.insert(bytes.end(), layout.sectors[s].begin(), layout.sectors[s].end());
    bytes.resize(layout.entries[0].size);
    return bytes;
}

std::string narrow(const TOVXString& text) {
    std::string out;
    for (int i = 0; i < text.length(); ++i) out += static_cast<char>(text.At(i));
    return out;
}

// Every stored field of an entry but the times, which the entry does not keep.
auto fieldsOf(TOVStStorageDirEntry e) {
    const unsigned char* c = e.getClsID();
    return std::make_tuple(narrow(e.getName()), e.getType(), e.getLeftSib(), e.getRightSib(), e.getChild(), e.getStartSect(),
                           e.getSize(), e.getUserFlag(), e.getPropertyType(), std::vector<uint8_t>(c, c + 16), e.isValid());
}
auto fieldsOf(const tovxtest::CfbEntry& e) {
    return std::make_tuple(std::string(e.name.begin(), e.name.end()), e.type, e.left, e.right, e.child, e.start, e.size,
                           e.userFlags, e.propertyType, std::vector<uint8_t>(e.clsid.begin(), e.clsid.end()), true);
}

// Every slot of the directory as laid out, and empty slots up to the end of the last sector.
void expectDirectoryMatches(const TOVStStorageFileInfo& image, const CfbImage& layout) {
    ASSERT_EQ(static_cast<size_t>(image.dirTable().Count()), layout.directorySectorIds.size() * layout.sectorSize() / 128);
    for (int i = 0; i < image.dirTable().Count(); ++i) {
        if (static_cast<size_t>(i) < layout.entries.size())
            EXPECT_EQ(fieldsOf(*image.dirTable().At(i)), fieldsOf(layout.entries[i])) << i;
        else
            EXPECT_FALSE(image.dirTable().At(i)->isValid()) << i;
    }
}

void expectLoadedAsLaidOut(const TOVStStorageFileInfo& image, const CfbImage& layout) {
    const auto padded = [&](std::vector<unsigned int> table, size_t sectors) {
        table.resize(sectors * layout.wordsPerSector(), tovxtest::kFreeSect);
        return table;
    };
    EXPECT_EQ(vectorOf(image.fatTable()), padded(layout.fat, layout.fatSectorIds.size()));
    EXPECT_EQ(vectorOf(image.miniFatTable()), padded(layout.miniFat, layout.miniFatSectorIds.size()));
    expectDirectoryMatches(image, layout);
    EXPECT_EQ(vectorOf(image.miniStreamBytes()), expectedMiniStream(layout));
}

// The byte order mark is written in the file's order: FE FF, FF FE, or any other pair, which also reverses.
// 368 FAT sectors need 109 from the header's list and three DIFAT sectors of 127, 127 and 5 more.
struct FileKind { uint16_t sectorShift; bool bigEndian; uint16_t mark; uint32_t fatSectors; };

}  // namespace

class WellFormedImage : public ::testing::TestWithParam<FileKind> {};

TEST_P(WellFormedImage, LoadsEveryTableAsWritten) {
    const FileKind kind = GetParam();
    CfbImage layout = sampleTree(kind.sectorShift).minimumFatSectors(kind.fatSectors).layout();
    layout.bigEndian = kind.bigEndian;
    layout.header.byteOrder = kind.mark;
    tovxtest::CfbEntry& entry = layout.entries[2];  // names and class ids are taken as stored whatever the order
    for (int i = 0; i < 16; ++i) entry.clsid[i] = static_cast<uint8_t>(i + 1);
    entry.userFlags = 0xCAFEF00D;
    entry.propertyType = 0x1234;
    // A mark at the end of each FAT sector that only describes sectors past the file's end (most of them
    // listed in the DIFAT alone): each must land at its index.
    const uint32_t words = layout.wordsPerSector();
    layout.fat.resize(layout.fatSectorIds.size() * words, tovxtest::kFreeSect);
    for (size_t s = layout.sectors.size() / words + 1; s < layout.fatSectorIds.size(); ++s) layout.fat[(s + 1) * words - 1] = 0x10000 + s;
    const std::vector<uint8_t> bytes = layout.serialize();
    TOVStStorageFileInfo image;
    image = loadImage(bytes);  // the assigned copy outlives the loaded image and the file
    ASSERT_TRUE(image.checkValidity());
    EXPECT_EQ(image.isLittleEndian(), !kind.bigEndian);
    // 127 words from each DIFAT sector but the last, which gives all of its words.
    EXPECT_EQ(image.difTable().Count(), layout.difatSectorIds.empty() ? 0 : 127 + 127 + 128);
    expectLoadedAsLaidOut(image, layout);
    imagetest::expectTablesBoundedByFileSize(image, bytes.size(), layout.sectorSize());

    const TOVStStorageHeader header = image.getHeader();
    EXPECT_EQ(header.byteOrder, kind.bigEndian ? static_cast<uint16_t>(kind.mark >> 8 | kind.mark << 8) : kind.mark);
    EXPECT_EQ(header.sectorShift, kind.sectorShift);
    EXPECT_EQ(header.miniStreamCutoff, 4096u);
    EXPECT_EQ(header.headerFatBytes, layout.sectorSize() - 76);
    EXPECT_EQ(header.headerFatSectors, nullptr);  // the header's list lives during the load only
    EXPECT_EQ(image.getMiniStreamLength(), layout.entries[0].size);
    EXPECT_EQ(image.getMiniStreamStartSect(), layout.entries[0].start);
    EXPECT_EQ(image.getEquivalentFatBytePos(3), 4u << kind.sectorShift);  // sector 0 follows the whole first sector
    EXPECT_EQ(image.getEquivalentMiniFatBytePos(3), 192u);
}

INSTANTIATE_TEST_SUITE_P(Kinds, WellFormedImage,
                         ::testing::Values(FileKind{9, false, 0xFFFE, 1}, FileKind{12, false, 0xFFFE, 1}, FileKind{9, true, 0xFFFE, 1},
                                           FileKind{12, true, 0xFFFE, 1}, FileKind{9, true, 0x3412, 1}, FileKind{9, false, 0xFFFE, 368},
                                           FileKind{9, true, 0xFFFE, 368}),
                         [](const ::testing::TestParamInfo<FileKind>& info) {
                             const FileKind& k = info.param;
                             return std::to_string(1 << k.sectorShift) + (k.bigEndian ? "_reversed" : "") + (k.mark != 0xFFFE ? "_otherMark" : "") +
                                    (k.fatSectors > 109 ? "_difat" : "");
                         });

TEST(ImageLoad, HeaderFatListRunsToTheEndOfTheFirstSectorWithoutGaps) {
    CfbImage large = sampleTree(12).layout();
    ASSERT_EQ(large.fatSectorIds, std::vector<uint32_t>{0});
    // Only the very last of the 1005 words names the FAT sector.
    large.header.fatList.assign(1005, tovxtest::kFreeSect);
    large.header.fatList[1004] = 0;
    TOVStStorageFileInfo image = loadImage(large.serialize());
    expectLoadedAsLaidOut(image, large);
    // A zero word names sector 0, which is read again for each such word.
    large.header.fatList.assign(1005, 0);
    image = loadImage(large.serialize());
    EXPECT_EQ(image.fatTable().Count(), 1005 * 1024);
    EXPECT_EQ(*image.fatTable().At(1024 * 7 + 3), *image.fatTable().At(3));
    expectDirectoryMatches(image, large);

    // Skipped entries between two FAT sectors: the second one's words follow the first's directly.
    CfbImage small = CfbBuilder(9).minimumFatSectors(2).layout();
    small.header.fatList = {small.fatSectorIds[0], tovxtest::kFreeSect, tovxtest::kEndOfChain, small.fatSectorIds[1]};
    small.fat.resize(256, tovxtest::kFreeSect);
    small.fat[128] = 0xABCD;
    image = loadImage(small.serialize());
    ASSERT_EQ(image.fatTable().Count(), 256);
    EXPECT_EQ(*image.fatTable().At(128), 0xABCDu);
}

// Each check of the header on its own: the first failing one refuses the file.
TEST(ImageLoad, HeaderChecks) {
    using Header = tovxtest::CfbHeader;
    struct Case { const char* what; void (*change)(Header&); bool accepted; };
    const Case cases[] = {
        {"reservedShort 1", [](Header& h) { h.reservedShort = 1; }, false},
        {"reservedLong 1", [](Header& h) { h.reservedLong = 1; }, false},
        {"reservedLong top bit", [](Header& h) { h.reservedLong = 0x80000000u; }, false},
        {"directory sector count 5", [](Header& h) { h.directorySectorCount = 5; }, true},
        {"directory sector count 6", [](Header& h) { h.directorySectorCount = 6; }, false},
        {"directory sector count huge", [](Header& h) { h.directorySectorCount = 0xFFFFFFFFu; }, false},
        {"sector shift 10", [](Header& h) { h.sectorShift = 10; }, false},
        {"mini sector shift 7", [](Header& h) { h.miniSectorShift = 7; }, false},
        {"mini sector shift 5", [](Header& h) { h.miniSectorShift = 5; }, false},
        {"signature not looked at", [](Header& h) { h.signature.fill('x'); }, true},
        {"versions not looked at", [](Header& h) { h.majorVersion = 4; h.minorVersion = 0x1234; }, true},
        {"version 3 with 4096-byte sectors", [](Header& h) { h.sectorShift = 12; }, true},
        {"class id not looked at", [](Header& h) { h.clsid.fill(0x55); }, true},
        {"counts not looked at", [](Header& h) { h.fatSectorCount = 99; h.miniFatSectorCount = 99; h.transactionSignature = 7; }, true},
    };
    for (const Case& c : cases) {
        CfbImage layout = sampleTree(9).layout();
        c.change(layout.header);
        TOVStStorageFileInfo image = loadImage(layout.serialize());
        EXPECT_EQ(image.checkValidity(), c.accepted) << c.what;
        EXPECT_EQ(image.checkHeader(), c.accepted) << c.what;
        if (c.accepted) continue;
        // A refused file keeps its header as read and no table.
        EXPECT_EQ(image.getHeader().directorySectorCount, layout.header.directorySectorCount) << c.what;
        EXPECT_EQ(image.fatTable().Count() + image.dirTable().Count(), 0) << c.what;
    }
}

// A file cut anywhere reads as if the missing bytes were zeros.
TEST(ImageLoad, HeaderCutShortReadsZeros) {
    const std::vector<uint8_t> whole = sampleTree(9).build();
    // Before offset 33 a sector shift is missing; from there every missing field is 0, which passes.
    for (const size_t size : {0, 1, 32, 33, 34, 76, 511, 513}) {
        const std::vector<uint8_t> bytes(whole.begin(), whole.begin() + size);
        TOVStStorageFileInfo image = loadImage(bytes);
        EXPECT_EQ(image.checkValidity(), size >= 33) << size;
        imagetest::expectTablesBoundedByFileSize(image, bytes.size(), 512);
    }
    TOVStStorageFileInfo missing(TOVXFilePath("/nonexistent/folder/file.doc"));
    EXPECT_FALSE(missing.checkValidity());
    EXPECT_EQ(missing.getHeader().sectorShift + missing.getHeader().byteOrder, 0);  // a missing file leaves a zero header
}

TEST(ImageLoad, DirectoryCutShortReadsZeros) {
    CfbBuilder builder(9);
    builder.addStorage(CfbBuilder::kRoot, u"A");
    const CfbImage layout = builder.layout();
    ASSERT_EQ(layout.directorySectorIds.back() + 1, layout.sectors.size());
    std::vector<uint8_t> bytes = layout.serialize();
    bytes.resize(layout.sectorOffset(layout.directorySectorIds[0]) + 128 + 70);  // slot 1 cut inside its links
    TOVStStorageFileInfo image = loadImage(bytes);
    ASSERT_EQ(image.dirTable().Count(), 4);
    EXPECT_EQ(narrow(image.dirTable().At(1)->getName()), "A");
    EXPECT_EQ(image.dirTable().At(1)->getLeftSib(), 0xFFFFu);  // the two bytes beyond the end read as zero
    EXPECT_FALSE(image.dirTable().At(2)->isValid());
}

TEST(ImageLoad, MiniStreamSizesAndContents) {
    using Root = tovxtest::CfbEntry;
    struct Case { const char* what; void (*change)(Root&); size_t kept; size_t expected; };
    // The mini stream holds 1024 bytes in the file's last two sectors, of which `kept` are left in the file.
    const Case cases[] = {
        {"as built", [](Root&) {}, 1024, 1024},
        {"file cut inside: the rest reads as zeros", [](Root&) {}, 600, 1024},
        {"size 0 whatever the start", [](Root& r) { r.size = 0; }, 1024, 0},
        {"ENDOFCHAIN start whatever the size", [](Root& r) { r.start = tovxtest::kEndOfChain; }, 1024, 0},
        {"size not a multiple of a sector", [](Root& r) { r.size = 700; }, 1024, 700},
        {"size beyond the chain", [](Root& r) { r.size = 3000; }, 1024, 1024},
        {"entry 0 is no root", [](Root& r) { r.type = 1; }, 1024, 0},
    };
    for (const Case& c : cases) {
        CfbBuilder builder(9);
        builder.addStream(CfbBuilder::kRoot, u"S", patternBytes(1000, 7));
        CfbImage layout = builder.layout();
        ASSERT_EQ(layout.entries[0].start + 2, layout.sectors.size());
        c.change(layout.entries[0]);
        std::vector<uint8_t> bytes = layout.serialize();
        bytes.resize(layout.sectorOffset(layout.sectors.size() - 2) + c.kept);
        TOVStStorageFileInfo image = loadImage(bytes);
        ASSERT_TRUE(image.checkValidity()) << c.what;
        std::vector<uint8_t> expected = patternBytes(1000, 7);  // the stream's contents open the mini stream
        expected.resize(c.kept);
        expected.resize(c.expected, 0);
        EXPECT_EQ(vectorOf(image.miniStreamBytes()), expected) << c.what;
    }
}
