#include <gtest/gtest.h>

#include <array>
#include <string>

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

std::u16string text(const TOVXString& name) {
    std::u16string out;
    for (int i = 0; i < name.length(); ++i) out += static_cast<char16_t>(name.At(i));
    return out;
}

}  // namespace

TEST(DirEntry, ValidityTable) {
    const RawName name = stored(u"Workbook");
    RawName zeroFirstUnit = stored(u"xAB");
    zeroFirstUnit[0] = 0;
    const RawName longest = stored(std::u16string(31, u'n'));
    struct Case { const char* what; RawName raw; uint16_t nameLength; uint8_t type, colour; bool nameValid, valid; };
    const Case cases[] = {
        {"stream", name, 18, 2, 1, true, true},
        {"red storage", name, 18, 1, 0, true, true},
        {"root", name, 18, 5, 1, true, true},
        {"type 3 passes", name, 18, 3, 1, true, true},
        {"type 0 fails", name, 18, 0, 1, true, false},
        {"type 6 fails", name, 18, 6, 1, true, false},
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
    TOVStStorageDirEntry empty;
    EXPECT_FALSE(empty.isValid());
    EXPECT_EQ(empty.getName().length(), 0);
}

TEST(DirEntry, TheRootIsNoStorage) {
    const char* const kinds[] = {"", "storage", "stream", "", "", "root"};  // by type
    for (uint8_t type = 0; type <= 5; ++type) {
        TOVStStorageDirEntry e = entry(stored(u"x"), 4, type);
        const std::string kind = std::string(e.isRoot() ? "root" : "") + (e.isStorage() ? "storage" : "") + (e.isStream() ? "stream" : "");
        EXPECT_EQ(kind, kinds[type]) << int(type);
    }
}

// The stored length plays no part in the text: it ends at the first unit whose low byte is zero, or after 32.
TEST(DirEntry, NameKeepsTheLowByteOfEachUnit) {
    const std::u16string all32 = u"ABCDEFGHIJKLMNOPQRSTUVWXYZ012345";
    struct Case { const char* what; std::u16string name; uint16_t nameLength; std::u16string expected; };
    const Case cases[] = {
        {"property set prefix", u"\x05Sum", 10, u"\x05Sum"},
        {"Cyrillic", u"\u0416\u0443\u043a", 8, u"\x16\x43\x3A"},
        {"Latin-1 whole", u"\u00e9t\u00e9", 8, u"\u00e9t\u00e9"},
        {"a unit with low byte 0 ends the name", u"ab\u0100cd", 12, u"ab"},
        {"length shorter than the name", u"abc", 2, u"abc"},
        {"32 units, no terminator", all32, 4, all32},
    };
    for (const Case& c : cases) EXPECT_EQ(text(entry(stored(c.name), c.nameLength, 2).getName()), c.expected) << c.what;
}

// Same name, or else the same length, type, colour, links and size: either makes two entries equal.
TEST(DirEntry, Equality) {
    TOVStStorageDirEntry alpha = entry(stored(u"Alpha"), 12, 2);
    alpha.setSize(10);
    TOVStStorageDirEntry alphaOtherSize = entry(stored(u"Alpha"), 12, 2);
    EXPECT_TRUE(alpha == alphaOtherSize);
    TOVStStorageDirEntry beta = entry(stored(u"Beta"), 12, 2);
    beta.setSize(10);
    beta.setStartSect(1234);  // not compared
    EXPECT_TRUE(alpha == beta);
    using E = TOVStStorageDirEntry;
    void (*const differences[])(E&) = {
        [](E& e) { e.setNameLength(10); }, [](E& e) { e.setType(1); },  [](E& e) { e.setBFlag(0); }, [](E& e) { e.setLeftSib(1); },
        [](E& e) { e.setRightSib(1); },    [](E& e) { e.setChild(1); }, [](E& e) { e.setSize(11); },
    };
    for (size_t i = 0; i < std::size(differences); ++i) {
        TOVStStorageDirEntry other = beta;
        differences[i](other);
        EXPECT_FALSE(alpha == other) << "field " << i;
    }
}
