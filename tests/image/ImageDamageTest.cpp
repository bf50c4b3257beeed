#include <gtest/gtest.h>

#include <algorithm>
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

// The file's bytes with DIFAT sector `of` linking on to `to`.
Bytes relink(const CfbImage& layout, size_t of, uint32_t to) {
    Bytes bytes = layout.serialize();
    layout.putWord(bytes, layout.difatSectorIds[of], 127, to);
    return bytes;
}

}  // namespace

// A chain through the FAT ends where it comes back to a sector it passed, leaves the FAT, meets a special
// value, or has read as many sectors as the file holds.
TEST(ImageDamage, ChainsEndAtLoopsBadLinksAndTheFilesEnd) {
    enum Chain { kDirectory, kMiniFat, kMiniStream };
    constexpr int kToFileEnd = -1;  // every sector from the chain's start to the end of the file
    using Damage = void (*)(CfbImage&, const Sectors&);
    struct Case { const char* what; Chain chain; Damage damage; int sectorsRead; };
    const Case cases[] = {
        {"directory: third back to first", kDirectory, [](CfbImage& l, const Sectors& c) { l.fat[c[2]] = c[0]; }, 3},
        {"directory: third to itself", kDirectory, [](CfbImage& l, const Sectors& c) { l.fat[c[2]] = c[2]; }, 3},
        {"directory: first to itself", kDirectory, [](CfbImage& l, const Sectors& c) { l.fat[c[0]] = c[0]; }, 1},
        {"directory: second back to first", kDirectory, [](CfbImage& l, const Sectors& c) { l.fat[c[1]] = c[0]; }, 2},
        {"directory: just past the FAT", kDirectory, [](CfbImage& l, const Sectors& c) { l.fat[c[0]] = 128; }, 1},
        {"directory: far past the FAT", kDirectory, [](CfbImage& l, const Sectors& c) { l.fat[c[0]] = 0x7FFFFFFF; }, 1},
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

TEST(ImageDamage, DifatWalkEndsAtLoopsAndTheFilesEnd) {
    CfbBuilder builder(9);
    builder.addStream(CfbBuilder::kRoot, u"S", patternBytes(100, 1));
    const CfbImage layout = builder.minimumFatSectors(109 + 127 * 2 + 5).layout();
    ASSERT_EQ(layout.difatSectorIds.size(), 3u);
    struct Case { const char* what; Bytes (*damage)(CfbImage); int difatWords; };
    const Case cases[] = {
        {"second back to first", [](CfbImage l) { return relink(l, 1, l.difatSectorIds[0]); }, 254},
        {"first to itself", [](CfbImage l) { return relink(l, 0, l.difatSectorIds[0]); }, 127},
        {"count far too large, looping", [](CfbImage l) { l.header.difSectorCount = ~0u; return relink(l, 2, l.difatSectorIds[0]); }, 381},
        {"count far too large, chain ends", [](CfbImage l) { l.header.difSectorCount = ~0u; return relink(l, 2, tovxtest::kEndOfChain); }, 381},
        {"count beyond the file from sector 0", [](CfbImage l) { l.header.firstDifSector = 0; l.header.difSectorCount = 0x10000000u; return l.serialize(); }, 127},
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
