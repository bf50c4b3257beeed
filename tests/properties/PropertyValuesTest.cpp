// Typed values, their text, and the string readers.

#include <gtest/gtest.h>

#include "PropertyTestSupport.h"
#include "TOVXDate.h"

using namespace tovxtest;

namespace {

struct WorkedValue {
    uint32_t typeCode;
    Bytes bytes;
    const char* text;
    int valueType;
};

class WorkedValues : public ::testing::TestWithParam<WorkedValue> {};

TEST_P(WorkedValues, GiveTheirTextAndType) {
    const WorkedValue& worked = GetParam();
    ParsedSet set(PropertyStreamBuilder().value(2, typed(worked.typeCode, worked.bytes)).build());
    ASSERT_TRUE(set.accepted);
    ASSERT_EQ(set.count(), 1);
    EXPECT_EQ(set.text(2), worked.text);
    EXPECT_EQ(set.type(2), worked.valueType);
}

const Bytes kClsidBytes = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};

INSTANTIATE_TEST_SUITE_P(
    Table, WorkedValues,
    ::testing::Values(WorkedValue{2, {0xFE, 0xFF}, "-2", 2}, WorkedValue{3, {0xFE, 0xFF, 0xFF, 0xFF}, "-2", 2},
                      WorkedValue{4, {0x00, 0x00, 0xC0, 0x3F}, "1.500000", 3},
                      WorkedValue{5, {0, 0, 0, 0, 0, 0, 0xF8, 0x3F}, "1.500000", 3},
                      WorkedValue{6, {0x98, 0x3A, 0, 0, 0, 0, 0, 0}, "$1.500000", 1},
                      WorkedValue{6, {0x68, 0xC5, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, "$-1.500000", 1},
                      WorkedValue{10, {0x0E, 0x00, 0x07, 0x80}, "0x8007000E", 2},
                      WorkedValue{11, {0xFF, 0xFF}, "True", 4}, WorkedValue{11, {0x01, 0x00}, "False", 4},
                      WorkedValue{11, {0xFE, 0xFF}, "False", 4}, WorkedValue{17, {0xFF}, "255", 1},
                      WorkedValue{18, {0xFF, 0xFF}, "65535", 2}, WorkedValue{2, {0xFF, 0xFF}, "-1", 2},
                      WorkedValue{19, {0xFF, 0xFF, 0xFF, 0xFF}, "4294967295", 2},
                      WorkedValue{20, Bytes(8, 0xFF), "-1", 2}, WorkedValue{21, Bytes(8, 0xFF), "18446744073709551615", 2},
                      WorkedValue{30, {0x04, 0, 0, 0, 0x41, 0x42, 0x43, 0x00}, "ABC", 1},
                      WorkedValue{31, {0x03, 0, 0, 0, 0x41, 0, 0x42, 0, 0, 0}, "AB", 1},
                      WorkedValue{72, kClsidBytes, "{33221100-5544-7766-8899-AABBCCDDEEFF}", 2},
                      WorkedValue{72, Bytes(16, 0), "{00000000-0000-0000-0000-000000000000}", 2},
                      WorkedValue{72, Bytes(16, 0x0A), "{0A0A0A0A-0A0A-0A0A-0A0A-0A0A0A0A0A0A}", 2},
                      // The value lies past the end: the readers give zero and the property stays.
                      WorkedValue{3, {}, "0", 2}, WorkedValue{10, {}, "0x00000000", 2}, WorkedValue{5, {}, "0.000000", 3},
                      WorkedValue{6, {1, 2, 3, 4}, "$0.000000", 1}, WorkedValue{11, {}, "False", 4},
                      WorkedValue{20, {1, 2, 3, 4}, "0", 2}, WorkedValue{30, {0x09, 0, 0, 0, 0x41}, "", 1}));

TEST(Values, FiletimeGoesThroughTheDateText) {
    const uint64_t ticks = 116444736000000000ull + 10000000ull * 86400ull;  // 1970-01-02 00:00:00
    ParsedSet set(PropertyStreamBuilder().value(12, typed(64, le64(ticks))).value(13, typed(64, {})).build());
    EXPECT_EQ(set.text(12), "1970-01-02 00:00:00");
    EXPECT_EQ(set.type(12), 5);
    FILETIME zero = {0, 0};
    TOVXString zeroText;
    TOVXDate::FormatDate(zero, zeroText, 1, false);
    EXPECT_EQ(set.text(13), zeroText.ToUtf8());
}

TEST(Values, UnknownTypesLeaveNoTraceAndTheNextEntryReads) {
    ParsedSet set(PropertyStreamBuilder()
                      .value(2, typed(0x101E, concat({le32(1), narrowString("x")})))  // a vector of strings
                      .value(3, typed(0x00010003, le32(7)))                          // bits above the type code
                      .value(4, typed(0, {}))                                         // empty
                      .value(5, typed(65, concat({le32(2), Bytes{1, 2, 0, 0}})))      // blob
                      .value(6, typed(3, le32(7)))
                      .build());
    EXPECT_EQ(set.count(), 1);
    EXPECT_EQ(set.text(6), "7");
}

TEST(Values, LargeDoublesAreCutToTheFormatField) {
    ParsedSet set(PropertyStreamBuilder().value(2, typed(5, le64(0x7E37E43C8800759Cull))).build());  // 1e300
    const std::string text = set.text(2);
    EXPECT_EQ(text.size(), 259u);
    EXPECT_EQ(text.find('.'), std::string::npos);
    EXPECT_EQ(text.substr(0, 2), "10");
}

// ---- Strings -------------------------------------------------------------------------------

TEST(Strings, NarrowTextEndsAtItsFirstZeroOrAtItsLength) {
    ParsedSet set(PropertyStreamBuilder()
                      .value(2, typed(30, concat({le32(6), Bytes{'a', 'b', 0, 'c', 'd', 0, 0, 0}})))
                      .value(3, typed(30, concat({le32(3), Bytes{'x', 'y', 'z', 0}})))  // no terminator inside the length
                      .value(4, typed(31, concat({le32(2), Bytes{'p', 0, 'q', 0}})))
                      .value(5, typed(30, le32(0)))
                      .build());
    EXPECT_EQ(set.text(2), "ab");
    EXPECT_EQ(set.text(3), "xyz");
    EXPECT_EQ(set.text(4), "pq");
    EXPECT_EQ(set.text(5), "");
    EXPECT_EQ(set.type(5), 1);
}

TEST(Strings, LengthPastTheEndGivesEmptyText) {
    ParsedSet set(PropertyStreamBuilder()
                      .value(2, typed(31, concat({le32(0x40000000), Bytes{'a', 0}})))
                      .value(3, typed(30, le32(0xFFFFFFFF)))
                      .build());
    EXPECT_EQ(set.text(2), "");
    EXPECT_EQ(set.type(2), 1);
    EXPECT_EQ(set.text(3), "");
}

// Type code 8 is read as producers write it: a byte count in front of the characters, in
// the set's code page.
TEST(Strings, BstrValuesReadTheirByteCount) {
    ParsedSet narrow(PropertyStreamBuilder().value(1, codePageI2(1252)).value(2, typed(8, bstrNarrow("caf\xE9"))).build());
    EXPECT_EQ(narrow.text(2), "caf\xC3\xA9");
    EXPECT_EQ(narrow.type(2), 1);
    ParsedSet wide(PropertyStreamBuilder().value(1, codePageI2(1200)).value(2, typed(8, bstrWide(u"Stra\u00DFe"))).build());
    EXPECT_EQ(wide.text(2), "Stra\xC3\x9F" "e");
}

TEST(Strings, NarrowTextFollowsTheCodePage) {
    struct Case {
        uint16_t codePage;
        std::string bytes;
        const char* utf8;
    };
    const Case cases[] = {
        {10000, "Mod\x8Fles", "Mod\xC3\xA8les"},          // Mac Roman
        {1252, "caf\xE9 \x80", "caf\xC3\xA9 \xE2\x82\xAC"},  // Windows-1252
        {65001, "\xE2\x98\x83", "\xE2\x98\x83"},             // UTF-8
        {1251, "\xCF\xEE\xE4", "\xD0\x9F\xD0\xBE\xD0\xB4"},  // Cyrillic
    };
    for (const Case& c : cases) {
        ParsedSet set(PropertyStreamBuilder().value(1, codePageI2(c.codePage)).value(2, typed(30, narrowString(c.bytes))).build());
        EXPECT_EQ(set.text(2), c.utf8) << "code page " << c.codePage;
    }
}

TEST(Strings, NarrowTextUsesItsSectionsCodePageWhereverItIsDeclared) {
    ParsedSet set(PropertyStreamBuilder().value(7, typed(30, narrowString("Mod\x8Fles"))).value(1, codePageI2(10000)).build());
    EXPECT_EQ(set.text(7), "Mod\xC3\xA8les");
}

TEST(Strings, NarrowValuesStayNarrowUnderCodePage1200) {
    // Wide data under type code 30 ends at its first zero byte.
    ParsedSet set(PropertyStreamBuilder().value(1, codePageI2(1200)).value(2, typed(30, concat({le32(6), Bytes{'U', 0, 'n', 0, 0, 0, 0, 0}}))).build());
    EXPECT_EQ(set.text(2), "U");
}

// ---- Properties the parser itself reads -----------------------------------------------------

TEST(ParserIds, CodePageComesOnlyFromASignedShort) {
    ParsedSet unsignedShort(PropertyStreamBuilder().value(1, typed(18, le16(10000))).build());
    EXPECT_EQ(unsignedShort->GetCodePage(), 0);
    EXPECT_EQ(unsignedShort.text(1), "10000");
    ParsedSet utf8(PropertyStreamBuilder().value(1, codePageI2(65001)).build());
    EXPECT_EQ(utf8->GetCodePage(), 65001);
    EXPECT_EQ(utf8.text(1), "-535");
}

TEST(ParserIds, Id255NamesTheSetWhateverItsType) {
    ParsedSet number(PropertyStreamBuilder().value(255, typed(3, le32(42))).build());
    EXPECT_EQ(number->GetPropertyStorageName().ToUtf8(), "42");
    ParsedSet twice(PropertyStreamBuilder().value(255, typed(30, narrowString("first"))).value(255, typed(30, narrowString("second"))).build());
    EXPECT_EQ(twice->GetPropertyStorageName().ToUtf8(), "second");
    EXPECT_EQ(twice.count(), 1);
}

}  // namespace
