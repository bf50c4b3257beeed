#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ImageTestSupport.h"

using imagetest::expectTablesBoundedByFileSize;
using imagetest::loadImage;
using tovxtest::CfbBuilder;
using tovxtest::CfbImage;
using tovxtest::patternBytes;
using Bytes = std::vector<uint8_t>;
using Sectors = std::vector<uint32_t>;

namespace {

// With 512-byte sectors: a directory, a mini FAT and a mini stream of several sectors each.
CfbImage manySectors() {
    CfbBuilder builder(9);
    for (int i = 0; i < 10; ++i) builder.addStream(CfbBuilder::kRoot, u"S" + std::u16string(1, u'0' + i), patternBytes(900 + i, i));
    return builder.layout();
}

// The sectors of a chain as laid out, following the FAT from `sector`.
Sectors chainFrom(const CfbImage& layout, uint32_t sector) {
    Sectors chain;
    for (; sector < layout.fat.size() && chain.size() < layout.fat.size(); sector = layout.fat[sector]) chain.push_back(sector);
    return chain;
}

std::string narrowName(const TOVStStorageDirEntry& entry) { return entry.getName().ToUtf8(); }

// The file's bytes with DIFAT sector `of` linking on to `to`.
Bytes relink(const CfbImage& layout, size_t of, uint32_t to) {
    Bytes bytes = layout.serialize();
    layout.putWord(bytes, layout.difatSectorIds[of], 127, to);
    return bytes;
}

}  // namespace

// A chain through the FAT ends where it comes back to a sector it passed, meets a special value, or has
// read as many sectors as the file holds. A sector past the FAT is read, and is the chain's last.
TEST(ImageDamage, ChainsEndAtLoopsSpecialValuesAndTheFilesSectorCount) {
    enum Chain { kDirectory, kMiniFat, kMiniStream };
    constexpr int kToFileEnd = -1;  // every sector from the chain's start to the end of the file
    using Damage = void (*)(CfbImage&, const Sectors&);
    struct Case { const char* what; Chain chain; Damage damage; int sectorsRead; };
    const Case cases[] = {
        {"directory: third back to first", kDirectory, [](CfbImage& l, const Sectors& c) { l.fat[c[2]] = c[0]; }, 3},
        {"directory: third to itself", kDirectory, [](CfbImage& l, const Sectors& c) { l.fat[c[2]] = c[2]; }, 3},
        {"directory: first to itself", kDirectory, [](CfbImage& l, const Sectors& c) { l.fat[c[0]] = c[0]; }, 1},
        {"directory: second back to first", kDirectory, [](CfbImage& l, const Sectors& c) { l.fat[c[1]] = c[0]; }, 2},
        {"directory: just past the FAT", kDirectory, [](CfbImage& l, const Sectors& c) { l.fat[c[0]] = 128; }, 2},
        // Its position wraps around to 0: the header is read as directory entries.
        {"directory: far past the FAT", kDirectory, [](CfbImage& l, const Sectors& c) { l.fat[c[0]] = 0x7FFFFFFF; }, 2},
        {"directory: FREESECT", kDirectory, [](CfbImage& l, const Sectors& c) { l.fat[c[0]] = tovxtest::kFreeSect; }, 1},
        {"directory: FATSECT", kDirectory, [](CfbImage& l, const Sectors& c) { l.fat[c[0]] = tovxtest::kFatSect; }, 1},
        {"directory: DIFSECT", kDirectory, [](CfbImage& l, const Sectors& c) { l.fat[c[0]] = tovxtest::kDifSect; }, 1},
        {"mini FAT: last back to first", kMiniFat, [](CfbImage& l, const Sectors& c) { l.fat[c.back()] = c[0]; }, 2},
        {"mini stream: second back to first", kMiniStream, [](CfbImage& l, const Sectors& c) { l.fat[c[1]] = c[0]; }, 2},
        {"mini stream: ENDOFCHAIN", kMiniStream, [](CfbImage& l, const Sectors& c) { l.fat[c[0]] = tovxtest::kEndOfChain; }, 1},
        // The root claims far more than the file holds, and the mini stream's chain runs on through the rest of the file.
        {"mini stream: root size 100000", kMiniStream, [](CfbImage& l, const Sectors& c) {
             l.entries[0].size = 100000;
             for (uint32_t s = c.back(); s + 1 < l.sectors.size(); ++s) l.fat[s] = s + 1;
         }, kToFileEnd},
        {"mini stream: root size 0xFFFFFFFF", kMiniStream, [](CfbImage& l, const Sectors& c) {
             l.entries[0].size = 0xFFFFFFFF;
             for (uint32_t s = c.back(); s + 1 < l.sectors.size(); ++s) l.fat[s] = s + 1;
         }, kToFileEnd},
        {"mini stream: root size just below 2 GiB", kMiniStream, [](CfbImage& l, const Sectors& c) {
             l.entries[0].size = 0x7FFFFFF0;
             for (uint32_t s = c.back(); s + 1 < l.sectors.size(); ++s) l.fat[s] = s + 1;
         }, kToFileEnd},
    };
    for (const Case& c : cases) {
        CfbImage layout = manySectors();
        const uint32_t starts[] = {layout.header.firstDirectorySector, layout.header.firstMiniFatSector, layout.entries[0].start};
        const Sectors chain = chainFrom(layout, starts[c.chain]);
        ASSERT_GE(static_cast<int>(chain.size()), std::max(2, c.sectorsRead)) << c.what;
        c.damage(layout, chain);
        const Bytes bytes = layout.serialize();
        TOVStStorageFileInfo image = loadImage(bytes);
        ASSERT_TRUE(image.checkValidity()) << c.what;
        const int read[] = {image.dirTable().Count() / 4, image.miniFatTable().Count() / 128, (image.miniStreamBytes().Count() + 511) / 512};
        EXPECT_EQ(read[c.chain], c.sectorsRead == kToFileEnd ? static_cast<int>(layout.sectors.size() - chain[0]) : c.sectorsRead) << c.what;
        EXPECT_TRUE(image.dirTable().At(0)->isRoot()) << c.what;
        expectTablesBoundedByFileSize(image, bytes.size(), 512);
    }
}

// The DIFAT walk goes by its count alone and follows every link, back to a sector it passed or to a special value
// (whose sector lies past the position limit and reads as zeros); a fixed bound stops a count that is too large.
TEST(ImageDamage, DifatWalkGoesByItsCountUpToAFixedBound) {
    CfbBuilder builder(9);
    builder.addStream(CfbBuilder::kRoot, u"S", patternBytes(100, 1));
    const CfbImage layout = builder.minimumFatSectors(109 + 127 * 2 + 5).layout();
    ASSERT_EQ(layout.difatSectorIds.size(), 3u);
    constexpr int kBounded = 258 * 127 + 128;
    struct Case { const char* what; Bytes (*damage)(CfbImage); int difatWords; };
    const Case cases[] = {
        {"second back to first", [](CfbImage l) { return relink(l, 1, l.difatSectorIds[0]); }, 382},
        {"first to itself", [](CfbImage l) { return relink(l, 0, l.difatSectorIds[0]); }, 382},
        {"count far too large, looping", [](CfbImage l) { l.header.difSectorCount = ~0u; return relink(l, 2, l.difatSectorIds[0]); }, kBounded},
        {"count far too large, chain ends", [](CfbImage l) { l.header.difSectorCount = ~0u; return relink(l, 2, tovxtest::kEndOfChain); }, kBounded},
        {"count beyond the file from sector 0", [](CfbImage l) { l.header.firstDifSector = 0; l.header.difSectorCount = 0x10000000u; return l.serialize(); }, kBounded},
    };
    for (const Case& c : cases) {
        const Bytes bytes = c.damage(layout);
        TOVStStorageFileInfo image = loadImage(bytes);
        ASSERT_TRUE(image.checkValidity()) << c.what;
        EXPECT_EQ(image.difTable().Count(), c.difatWords) << c.what;
        EXPECT_EQ(image.dirTable().Count(), 4) << c.what;  // FAT sectors of the header list still serve
        EXPECT_TRUE(image.dirTable().At(0)->isRoot()) << c.what;
        expectTablesBoundedByFileSize(image, bytes.size(), 512);
    }
    // A loop repeats the sectors it comes back to, word for word.
    const TOVStStorageFileInfo looped = loadImage(relink(layout, 1, layout.difatSectorIds[0]));
    const std::vector<unsigned int> words = imagetest::vectorOf(looped.difTable());
    EXPECT_TRUE(std::equal(words.begin(), words.begin() + 127, words.begin() + 254));
}

// A DIFAT sector past the end of the file reads as 128 zero words, and each zero lists sector 0 as a FAT sector.
TEST(ImageDamage, DifatSectorPastTheFileReadsAsZeros) {
    CfbBuilder builder(9);
    builder.addStream(CfbBuilder::kRoot, u"S", patternBytes(100, 1));
    CfbImage layout = builder.layout();
    ASSERT_LT(layout.sectors.size(), 50u);
    layout.header.difSectorCount = 1;
    layout.header.firstDifSector = 50;
    TOVStStorageFileInfo image = loadImage(layout.serialize());
    ASSERT_TRUE(image.checkValidity());
    EXPECT_EQ(imagetest::vectorOf(image.difTable()), std::vector<unsigned int>(128, 0));
    const std::vector<unsigned int> fat = imagetest::vectorOf(image.fatTable());
    ASSERT_EQ(fat.size(), 128u + 128 * 128);
    for (size_t copy = 1; copy <= 128; ++copy)
        ASSERT_TRUE(std::equal(fat.begin(), fat.begin() + 128, fat.begin() + 128 * copy)) << copy;
    EXPECT_EQ(image.dirTable().Count(), 4);
    EXPECT_EQ(narrowName(*image.dirTable().At(1)), "S");
}

// A directory link to a sector past the FAT's last entry: the sector is read, inside the file with its entries
// and past the file's end as zeros, and only its own missing FAT entry ends the chain.
TEST(ImageDamage, DirectorySectorPastTheFatIsReadAndIsTheLast) {
    struct Case { uint32_t link; size_t fileSectors; bool entriesInFile; };
    for (const Case& c : {Case{130, 132, true}, Case{200, 8, false}}) {
        CfbBuilder builder(9);
        for (char16_t name = u'1'; name <= u'7'; ++name) builder.addStream(CfbBuilder::kRoot, std::u16string(u"s") + name, {});
        CfbImage layout = builder.layout();
        ASSERT_EQ(layout.directorySectorIds, (Sectors{1, 2}));
        layout.fat[1] = c.link;  // the second half of the directory moves to the linked sector
        layout.directorySectorIds[1] = c.link;
        layout.sectors.resize(c.fileSectors);
        const Bytes bytes = layout.serialize();
        ASSERT_EQ(bytes.size(), (c.fileSectors + 1) * 512);
        TOVStStorageFileInfo image = loadImage(bytes);
        ASSERT_TRUE(image.checkValidity()) << c.link;
        ASSERT_EQ(image.fatTable().Count(), 128) << c.link;
        ASSERT_EQ(image.dirTable().Count(), 8) << c.link;
        for (int i = 4; i < 8; ++i) {
            TOVStStorageDirEntry entry = *image.dirTable().At(i);
            EXPECT_EQ(narrowName(entry), c.entriesInFile ? "s" + std::to_string(i) : "") << c.link << " entry " << i;
            EXPECT_EQ(entry.isStream(), c.entriesInFile) << c.link << " entry " << i;
        }
    }
}

TEST(ImageDamage, EverySectorNumberOfTheHeaderOutsideTheFile) {
    CfbImage layout = manySectors();
    layout.header.firstDirectorySector = 0x00ABCDEF;
    layout.header.firstMiniFatSector = 0x7FFFFFF0;
    layout.header.fatList.assign(109, 0x0FFFFFFF);
    const Bytes bytes = layout.serialize();
    TOVStStorageFileInfo image = loadImage(bytes);
    ASSERT_TRUE(image.checkValidity());
    EXPECT_EQ(image.dirTable().Count(), 4);  // one sector of zeros
    EXPECT_FALSE(image.dirTable().At(0)->isValid());
    EXPECT_EQ(image.miniStreamBytes().Count(), 0);
    expectTablesBoundedByFileSize(image, bytes.size(), 512);
}
