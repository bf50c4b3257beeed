// Typed values, their text, and the string readers.

#include <gtest/gtest.h>

#include "PropertyTestSupport.h"

using namespace tovxtest;

namespace {

// One value stored as property 2, with a code-page property when `codePage` is not 0; the
// code page goes after the value unless `codePageFirst`: the section's code page holds wherever it stands.
struct WorkedValue {
    uint16_t codePage;
    uint32_t typeCode;
    Bytes bytes;
    const char* text;
    int valueType;
    bool codePageFirst = false;
};

void PrintTo(const WorkedValue& worked, std::ostream* out) { *out << "type " << worked.typeCode << " as \"" << worked.text << '"'; }

class WorkedValues : public ::testing::TestWithParam<WorkedValue> {};

TEST_P(WorkedValues, GiveTheirTextAndType) {
    const WorkedValue& worked = GetParam();
    PropertyStreamBuilder builder;
    if (worked.codePage != 0 && worked.codePageFirst) builder.value(1, codePageI2(worked.codePage));
    builder.value(2, typed(worked.typeCode, worked.bytes));
    if (worked.codePage != 0 && !worked.codePageFirst) builder.value(1, codePageI2(worked.codePage));
    ParsedSet set(builder.build());
    ASSERT_TRUE(set.accepted);
    EXPECT_EQ(set.count(), worked.codePage != 0 ? 2 : 1);
    EXPECT_EQ(set.text(2), worked.text);
    EXPECT_EQ(set.type(2), worked.valueType);
}

const Bytes kClsidBytes = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
const uint64_t kOneDayAfter1970 = 116444736000000000ull + 10000000ull * 86400ull;

INSTANTIATE_TEST_SUITE_P(
    Numbers, WorkedValues,
    ::testing::Values(WorkedValue{0, 2, {0xFE, 0xFF}, "-2", 2}, WorkedValue{0, 3, {0xFE, 0xFF, 0xFF, 0xFF}, "-2", 2},
                      WorkedValue{0, 4, {0x00, 0x00, 0xC0, 0x3F}, "1.500000", 3},
                      WorkedValue{0, 5, {0, 0, 0, 0, 0, 0, 0xF8, 0x3F}, "1.500000", 3},
                      WorkedValue{0, 6, {0x98, 0x3A, 0, 0, 0, 0, 0, 0}, "$1.500000", 1},
                      WorkedValue{0, 6, {0x68, 0xC5, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, "$-1.500000", 1},
                      WorkedValue{0, 10, {0x0E, 0x00, 0x07, 0x80}, "0x8007000E", 2},
                      WorkedValue{0, 11, {0xFF, 0xFF}, "True", 4}, WorkedValue{0, 11, {0x01, 0x00}, "False", 4},
                      WorkedValue{0, 11, {0xFE, 0xFF}, "False", 4}, WorkedValue{0, 17, {0xFF}, "255", 1},
                      WorkedValue{0, 18, {0xFF, 0xFF}, "65535", 2}, WorkedValue{0, 2, {0xFF, 0xFF}, "-1", 2},
                      WorkedValue{0, 19, {0xFF, 0xFF, 0xFF, 0xFF}, "4294967295", 2},
                      WorkedValue{0, 20, Bytes(8, 0xFF), "-1", 2}, WorkedValue{0, 21, Bytes(8, 0xFF), "18446744073709551615", 2},
                      WorkedValue{0, 72, kClsidBytes, "{33221100-5544-7766-8899-AABBCCDDEEFF}", 2},
                      WorkedValue{0, 72, Bytes(16, 0), "{00000000-0000-0000-0000-000000000000}", 2},
                      WorkedValue{0, 72, Bytes(16, 0x0A), "{0A0A0A0A-0A0A-0A0A-0A0A-0A0A0A0A0A0A}", 2},
                      WorkedValue{0, 64, le64(kOneDayAfter1970), "1970-01-02 00:00:00", 5},
                      // The value lies past the end: the readers give zero and the property stays.
                      WorkedValue{0, 3, {}, "0", 2}, WorkedValue{0, 10, {}, "0x00000000", 2}, WorkedValue{0, 5, {}, "0.000000", 3},
                      WorkedValue{0, 6, {1, 2, 3, 4}, "$0.000000", 1}, WorkedValue{0, 11, {}, "False", 4},
                      WorkedValue{0, 20, {1, 2, 3, 4}, "0", 2}, WorkedValue{0, 64, {}, "1601-01-01 00:00:00", 5}));

INSTANTIATE_TEST_SUITE_P(
    Strings, WorkedValues,
    ::testing::Values(WorkedValue{0, 30, {0x04, 0, 0, 0, 'A', 'B', 'C', 0}, "ABC", 1},
                      WorkedValue{0, 31, {0x03, 0, 0, 0, 'A', 0, 'B', 0, 0, 0}, "AB", 1},
                      // Text ends at its first zero, or at its length when it has no terminator.
                      WorkedValue{0, 30, concat({le32(6), {'a', 'b', 0, 'c', 'd', 0, 0, 0}}), "ab", 1},
                      WorkedValue{0, 30, concat({le32(3), {'x', 'y', 'z', 0}}), "xyz", 1},
                      WorkedValue{0, 31, concat({le32(2), {'p', 0, 'q', 0}}), "pq", 1}, WorkedValue{0, 30, le32(0), "", 1},
                      // A length past the end gives empty text.
                      WorkedValue{0, 30, {0x09, 0, 0, 0, 'A'}, "", 1}, WorkedValue{0, 30, le32(0xFFFFFFFF), "", 1},
                      WorkedValue{0, 31, concat({le32(0x40000000), {'a', 0}}), "", 1},
                      // Type code 8 as producers write it: a byte count, then characters in the set's code page.
                      WorkedValue{1252, 8, narrowString("caf\xE9"), "caf\xC3\xA9", 1, true},
                      WorkedValue{1200, 8, bstrWide(u"Stra\u00DFe"), "Stra\xC3\x9F" "e", 1},
                      // Narrow text follows the code page; under 1200 it stays narrow and ends at its first zero byte.
                      WorkedValue{10000, 30, narrowString("Mod\x8Fles"), "Mod\xC3\xA8les", 1},
                      WorkedValue{1252, 30, narrowString("caf\xE9 \x80"), "caf\xC3\xA9 \xE2\x82\xAC", 1, true},
                      WorkedValue{65001, 30, narrowString("\xE2\x98\x83"), "\xE2\x98\x83", 1},
                      WorkedValue{1251, 30, narrowString("\xCF\xEE\xE4"), "\xD0\x9F\xD0\xBE\xD0\xB4", 1},
                      WorkedValue{1200, 30, concat({le32(6), {'U', 0, 'n', 0, 0, 0, 0, 0}}), "U", 1, true},
                      // A code page that no one knows reads as UTF-8 where the bytes are UTF-8, else as 1252.
                      WorkedValue{4711, 30, narrowString("caf\xC3\xA9"), "caf\xC3\xA9", 1},
                      WorkedValue{4711, 30, narrowString("caf\xE9"), "caf\xC3\xA9", 1}));

// Narrow text in multi-byte and single-byte code pages, as a value (type codes 30 and 8) and as
// a dictionary name; the code page stands first, so that the dictionary is read narrow.
TEST(Values, NarrowTextAndDictionaryNamesFollowTheSectionsCodePage) {
    struct Case {
        uint16_t codePage;
        std::string bytes;
        std::u16string text;
    };
    const Case cases[] = {
        {932, "\x93\xFA\x96\x7B\x95\x5C", u"\u65E5\u672C\u8868"},  // trail bytes '{' and '\\'
        {936, "\xD6\xD0\xCE\xC4", u"\u4E2D\u6587"},
        {949, "\xC7\xD1\xB1\xB9\xBE\xEE", u"\uD55C\uAD6D\uC5B4"},
        {1251, "\xCF\xF0\xE8\xE2\xE5\xF2", u"\u041F\u0440\u0438\u0432\u0435\u0442"},
        {932, "ok\x81", u"ok\uFFFD"},  // a text that ends inside a character
        {65001, "\xC3(", u"\uFFFD("},
    };
    for (const Case& c : cases) {
        ParsedSet set(PropertyStreamBuilder()
                          .value(1, codePageI2(c.codePage))
                          .value(0, narrowDictionary({{2, c.bytes}}))
                          .value(2, typed(30, narrowString(c.bytes)))
                          .value(3, typed(8, narrowString(c.bytes)))
                          .build());
        ASSERT_EQ(set.count(), 3) << c.codePage;
        EXPECT_EQ(set.with(2)->GetValue().Text(), c.text) << c.codePage << " " << c.bytes;
        EXPECT_EQ(set.with(3)->GetValue().Text(), c.text) << c.codePage << " " << c.bytes;
        EXPECT_EQ(set.with(2)->GetPropertyName().Text(), c.text) << c.codePage << " " << c.bytes;
    }
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
    const std::string text = ParsedSet(PropertyStreamBuilder().value(2, typed(5, le64(0x7E37E43C8800759Cull))).build()).text(2);  // 1e300
    EXPECT_EQ(text.size(), 259u);
    EXPECT_EQ(text.substr(0, 2), "10");
    EXPECT_EQ(text.find('.'), std::string::npos);
}

TEST(ParserIds, CodePageComesOnlyFromASignedShort) {
    ParsedSet unsignedShort(PropertyStreamBuilder().value(1, typed(18, le16(10000))).build());
    EXPECT_EQ(unsignedShort->GetCodePage(), 0);
    EXPECT_EQ(unsignedShort.text(1), "10000");
    ParsedSet utf8(PropertyStreamBuilder().value(1, codePageI2(65001)).build());
    EXPECT_EQ(utf8->GetCodePage(), 65001);
    EXPECT_EQ(utf8.text(1), "-535");
}

TEST(ParserIds, Id255NamesTheSetWhateverItsTypeAndTheLastOneWins) {
    EXPECT_EQ(ParsedSet(PropertyStreamBuilder().value(255, typed(3, le32(42))).build())->GetPropertyStorageName().ToUtf8(), "42");
    ParsedSet twice(PropertyStreamBuilder().value(255, typed(30, narrowString("first"))).value(255, typed(30, narrowString("second"))).build());
    EXPECT_EQ(twice->GetPropertyStorageName().ToUtf8(), "second");
    EXPECT_EQ(twice.count(), 1);
}

}  // namespace
