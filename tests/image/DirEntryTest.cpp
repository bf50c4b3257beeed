#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "TOVStStorageDirEntry.h"

namespace {

using RawName = std::array<unsigned char, 64>;

// UTF-16LE bytes of `name` as a writer stores them, without the length.
RawName stored(const std::u16string& name) {
    RawName raw{};
    for (size_t i = 0; i < name.size() && i < 32; ++i) {
        raw[2 * i] = static_cast<unsigned char>(name[i]);
        raw[2 * i + 1] = static_cast<unsigned char>(name[i] >> 8);
    }
    return raw;
}

TOVStStorageDirEntry entry(const RawName& raw, uint16_t nameLength, uint8_t type, uint8_t colour = 1) {
    TOVStStorageDirEntry e;
    e.setName(raw.data());
    e.setNameLength(nameLength);
    e.setType(type);
    e.setBFlag(colour);
    return e;
}

std::vector<unsigned short> units(const TOVXString& text) {
    std::vector<unsigned short> out;
    for (int i = 0; i < text.length(); ++i) out.push_back(text.At(i));
    return out;
}

}  // namespace

TEST(DirEntry, EmptySlot) {
    TOVStStorageDirEntry empty;
    EXPECT_FALSE(empty.isValid());
    EXPECT_FALSE(empty.isNameValid());
    EXPECT_EQ(empty.getName().length(), 0);
    EXPECT_FALSE(empty.isRoot() || empty.isStorage() || empty.isStream());

    TOVStStorageDirEntry zeros;
    const RawName none{};
    zeros.setName(none.data());
    EXPECT_FALSE(zeros.isValid());
    EXPECT_EQ(zeros.getName().length(), 0);
}

TEST(DirEntry, ValidityTable) {
    const RawName name = stored(u"Workbook");
    RawName zeroFirstUnit = stored(u"xAB");
    zeroFirstUnit[0] = 0;
    const RawName longest = stored(std::u16string(31, u'n'));
    struct Case {
        const char* what;
        RawName raw;
        uint16_t nameLength;
        uint8_t type;
        uint8_t colour;
        bool nameValid;
        bool valid;
    };
    const Case cases[] = {
        {"stream", name, 18, 2, 1, true, true},
        {"red storage", name, 18, 1, 0, true, true},
        {"root", name, 18, 5, 1, true, true},
        {"type 3 passes", name, 18, 3, 1, true, true},
        {"type 4 passes", name, 18, 4, 1, true, true},
        {"type 0 fails", name, 18, 0, 1, true, false},
        {"type 6 fails", name, 18, 6, 1, true, false},
        {"type 255 fails", name, 18, 255, 1, true, false},
        {"colour 2 fails the entry, not the name", name, 18, 2, 2, true, false},
        {"name length 0", name, 0, 2, 1, false, false},
        {"31 characters and terminator", longest, 64, 2, 1, true, true},
        {"name length 65", longest, 65, 2, 1, false, false},
        {"name length 0xFFFF", name, 0xFFFF, 2, 1, false, false},
        {"length 2 over two zero bytes", zeroFirstUnit, 2, 2, 1, false, false},
        {"length 3 reaches a non-zero byte", zeroFirstUnit, 3, 2, 1, true, true},
        {"length 1 over the first byte", name, 1, 2, 1, true, true},
    };
    for (const Case& c : cases) {
        TOVStStorageDirEntry e = entry(c.raw, c.nameLength, c.type, c.colour);
        EXPECT_EQ(e.isNameValid(), c.nameValid) << c.what;
        EXPECT_EQ(e.isValid(), c.valid) << c.what;
    }
}

TEST(DirEntry, TypePredicates) {
    const RawName name = stored(u"x");
    struct Case {
        uint8_t type;
        bool root, storage, stream;
    };
    for (const Case c : {Case{1, false, true, false}, Case{2, false, false, true}, Case{3, false, false, false},
                         Case{4, false, false, false}, Case{5, true, false, false}}) {
        TOVStStorageDirEntry e = entry(name, 4, c.type);
        EXPECT_EQ(e.isRoot(), c.root) << int(c.type);
        EXPECT_EQ(e.isStorage(), c.storage) << int(c.type);  // the root is no storage here
        EXPECT_EQ(e.isStream(), c.stream) << int(c.type);
        EXPECT_EQ(e.getType(), c.type);
    }
}

TEST(DirEntry, NameKeepsTheLowByteOfEachUnit) {
    struct Case {
        const char* what;
        std::u16string name;
        std::vector<unsigned short> expected;
    };
    const Case cases[] = {
        {"ASCII", u"Root Entry", {'R', 'o', 'o', 't', ' ', 'E', 'n', 't', 'r', 'y'}},
        {"property set prefix", u"\x05SummaryInformation", {5, 'S', 'u', 'm', 'm', 'a', 'r', 'y', 'I', 'n', 'f', 'o', 'r', 'm', 'a', 't', 'i', 'o', 'n'}},
        {"Cyrillic", u"\u0416\u0443\u043a", {0x16, 0x43, 0x3A}},
        {"Latin-1 whole", u"\u00e9t\u00e9", {0xE9, 't', 0xE9}},
        {"a unit with low byte 0 ends the name", u"ab\u0100cd", {'a', 'b'}},
    };
    for (const Case& c : cases) {
        TOVStStorageDirEntry e = entry(stored(c.name), static_cast<uint16_t>((c.name.size() + 1) * 2), 2);
        EXPECT_EQ(units(e.getName()), c.expected) << c.what;
    }
}

TEST(DirEntry, NameTextIgnoresTheStoredLength) {
    RawName full{};
    for (int i = 0; i < 32; ++i) full[2 * i] = static_cast<unsigned char>('A' + i % 26);
    TOVStStorageDirEntry e = entry(full, 4, 2);
    EXPECT_EQ(e.getName().length(), 32);  // no terminator: all 32 units
    const RawName raw = stored(u"abc");
    TOVStStorageDirEntry shortLength = entry(raw, 2, 2);
    EXPECT_EQ(shortLength.getName().length(), 3);
    EXPECT_EQ(shortLength.getRawName()[2], 'b');
}

TEST(DirEntry, Equality) {
    const RawName a = stored(u"Alpha");
    const RawName b = stored(u"Beta");
    TOVStStorageDirEntry alpha = entry(a, 12, 2);
    alpha.setSize(10);
    TOVStStorageDirEntry alphaOtherSize = entry(a, 12, 2);
    alphaOtherSize.setSize(99);
    alphaOtherSize.setLeftSib(4);
    EXPECT_TRUE(alpha == alphaOtherSize);  // same name is enough

    TOVStStorageDirEntry beta = entry(b, 12, 2);
    beta.setSize(10);
    beta.setStartSect(1234);  // not compared
    EXPECT_TRUE(alpha == beta);  // different names, the seven other fields equal

    struct Case {
        const char* what;
        void (*change)(TOVStStorageDirEntry&);
    };
    const Case differences[] = {
        {"name length", [](TOVStStorageDirEntry& e) { e.setNameLength(10); }},
        {"type", [](TOVStStorageDirEntry& e) { e.setType(1); }},
        {"colour", [](TOVStStorageDirEntry& e) { e.setBFlag(0); }},
        {"left", [](TOVStStorageDirEntry& e) { e.setLeftSib(1); }},
        {"right", [](TOVStStorageDirEntry& e) { e.setRightSib(1); }},
        {"child", [](TOVStStorageDirEntry& e) { e.setChild(1); }},
        {"size", [](TOVStStorageDirEntry& e) { e.setSize(11); }},
    };
    for (const Case& c : differences) {
        TOVStStorageDirEntry other = beta;
        c.change(other);
        EXPECT_FALSE(alpha == other) << c.what;
    }
}

TEST(DirEntry, CopiesAreIndependent) {
    TOVStStorageDirEntry original = entry(stored(u"First"), 12, 2);
    unsigned char clsid[16];
    for (int i = 0; i < 16; ++i) clsid[i] = static_cast<unsigned char>(0xA0 + i);
    original.setClsID(clsid);
    original.setUserFlag(7);
    original.setPropertyType(3);
    FILETIME time{1, 2};
    original.setTime(&time);  // dropped: the entry keeps no time

    TOVStStorageDirEntry copy(original);
    TOVStStorageDirEntry assigned;
    assigned = original;
    original.setName(stored(u"Second").data());
    for (TOVStStorageDirEntry* e : {&copy, &assigned}) {
        EXPECT_EQ(units(e->getName()), (std::vector<unsigned short>{'F', 'i', 'r', 's', 't'}));
        EXPECT_EQ(e->getClsID()[15], 0xAF);
        EXPECT_EQ(e->getUserFlag(), 7u);
        EXPECT_EQ(e->getPropertyType(), 3);
        EXPECT_EQ(e->getNameLength(), 12);
    }
    TOVStStorageDirEntry& alias = assigned;
    assigned = alias;
    EXPECT_EQ(assigned.getName().length(), 5);
}
