// TOVXImageDamage follows each chain in the tables by the library's own rules: the bytes it
// counts as held are the bytes the library really reads from the file, the rest of a
// stream being missing (a chain that ends early) or zeros (sectors past the file's end).
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "CfbBuilder.h"
#include "TOVXImageDamage.h"
#include "TOVXNativeOwners.h"
#include "TOVXStreamRead.h"
#include "TestFiles.h"

using namespace tovxtest;

namespace {

constexpr int kBig = 1;    // 5000 bytes in ten regular sectors, the last stream of the file
constexpr int kSmall = 2;  // 200 bytes in four mini sectors

struct Damage {
    const char* what;
    std::function<void(CfbImage&)> onImage;
    size_t cutAt;  // the file's length afterwards; 0 keeps it whole
    uint32_t bigHeld, smallHeld;
    uint32_t streamsCutShort, damagedEntries;
    bool fileCutShort;
};

// The library gives the held bytes as they were written; past them it gives nothing,
// zeros for what lies past the file's end, or a looping chain's sectors once more.
void checkHeld(TOVIStorage& root, const char* name, const std::vector<uint8_t>& original, uint32_t held, bool zerosAfter,
               const char* what) {
    const TOVXStreamRead read = TOVXStreamRead::child(root, TOVXString::FromUtf8(name));
    ASSERT_GE(read.bytes.size(), held) << what << " " << name;
    EXPECT_TRUE(std::equal(original.begin(), original.begin() + held, read.bytes.begin())) << what << " " << name;
    if (zerosAfter) {
        EXPECT_TRUE(std::all_of(read.bytes.begin() + held, read.bytes.end(), [](unsigned char b) { return b == 0; })) << what;
    }
}

}  // namespace

TEST(ImageDamage, HeldBytesAreWhatTheLibraryReadsAndEachKindIsCounted) {
    CfbBuilder builder;
    const std::vector<uint8_t> big = patternBytes(5000, 4), small = patternBytes(200, 5);
    builder.addStream(CfbBuilder::kRoot, u"Big", big);
    builder.addStream(CfbBuilder::kRoot, u"Small", small);
    const CfbImage whole = builder.layout();
    const uint32_t bigStart = whole.entries[kBig].start, smallStart = whole.entries[kSmall].start;
    const Damage damages[] = {
        {"whole", [](CfbImage&) {}, 0, 5000, 200, 0, 0, false},
        {"FAT chain ends early", [&](CfbImage& i) { i.fat[bigStart] = kEndOfChain; }, 0, 512, 200, 1, 0, false},
        {"FAT chain loops", [&](CfbImage& i) { i.fat[bigStart + 1] = bigStart; }, 0, 1024, 200, 1, 0, false},
        {"mini chain ends early", [&](CfbImage& i) { i.miniFat[smallStart] = kEndOfChain; }, 0, 5000, 64, 1, 0, false},
        {"mini chain loops", [&](CfbImage& i) { i.miniFat[smallStart + 1] = smallStart; }, 0, 5000, 128, 1, 0, false},
        {"file ends inside a stream", [](CfbImage&) {}, whole.sectorOffset(bigStart + 3) + 100, 3 * 512 + 100, 200, 1, 0, false},
        {"entry of an unknown colour", [](CfbImage& i) { i.entries[kSmall].colour = 2; }, 0, 5000, 200, 0, 1, false},
        // The root's entry reads as zeros, and so does the entry its child link names.
        {"file ends before its directory", [](CfbImage&) {}, whole.sectorOffset(whole.directorySectorIds[0]), 0, 0, 0, 2, true},
    };
    for (const Damage& d : damages) {
        CfbImage image = whole;
        d.onImage(image);
        std::vector<uint8_t> bytes = image.serialize();
        if (d.cutAt > 0) bytes.resize(d.cutAt);
        const ScratchFile file(bytes);
        TOVIStorage* opened = nullptr;
        ASSERT_EQ(TOVStgOpenStorage(TOVXFilePath(file.path()), &opened), 0) << d.what;
        const TOVXStoragePtr root(opened);
        const TOVXImageDamage damage = TOVXImageDamage::scan(*root);
        EXPECT_EQ(damage.streamsCutShort(), d.streamsCutShort) << d.what;
        EXPECT_EQ(damage.damagedEntries(), d.damagedEntries) << d.what;
        EXPECT_EQ(damage.fileCutShort(), d.fileCutShort) << d.what;
        EXPECT_EQ(damage.describe().size(), size_t(d.streamsCutShort > 0) + size_t(d.damagedEntries > 0) + size_t(d.fileCutShort)) << d.what;
        if (d.fileCutShort) continue;  // no entry is left to read
        TOVXDynamicArray<TOVStStorageDirEntry> children;
        root->enumElements(children);
        EXPECT_EQ(damage.heldBytes(*children.At(0)), d.bigHeld) << d.what;
        EXPECT_EQ(damage.heldBytes(*children.At(1)), d.smallHeld) << d.what;
        checkHeld(*root, "Big", big, d.bigHeld, d.cutAt > 0, d.what);
        if (d.damagedEntries == 0) checkHeld(*root, "Small", small, d.smallHeld, false, d.what);
    }
}
