// The stream header, the sections, the dictionary and damaged streams.

#include <gtest/gtest.h>

#include "PropertyTestSupport.h"

using namespace tovxtest;

namespace {

Bytes intValue(uint32_t value) { return typed(3, le32(value)); }

const Bytes kOneSection = PropertyStreamBuilder().section(formatId(0x00)).value(2, intValue(9)).build();
const Bytes kTwoSections = PropertyStreamBuilder().value(2, intValue(9)).section(formatId(0x20)).value(3, intValue(5)).build();

// ---- Header ----------------------------------------------------------------------------------

TEST(Header, OnlyLittleEndianVersionZeroIsAccepted) {
    const std::pair<Bytes, bool> cases[] = {
        {{0xFE, 0xFF}, true},  {kOneSection, true}, {{0xFF, 0xFE, 0, 0}, false}, {{}, false}, {{0xFE}, false},
        {patched(kOneSection, 2, le16(1)), false}, {patched(kOneSection, 0, le16(0xFEFF)), false},
    };
    for (const auto& c : cases) {
        ParsedSet set(c.first);
        EXPECT_EQ(set.accepted, c.second) << c.first.size();
        if (!c.second) { EXPECT_EQ(set.count(), 0); }
    }
    ParsedSet markOnly(Bytes{0xFE, 0xFF});  // an empty set
    EXPECT_EQ(markOnly.count(), 0);
    EXPECT_EQ(markOnly->GetPropertyStorageName().length(), 0);
    EXPECT_EQ(markOnly.idHex(), std::string(32, '0'));
    EXPECT_EQ(ParsedSet(kOneSection).idHex(), "33221100554477668899AABBCCDDEEFF");  // in the order of its text
}

TEST(Header, CountsOtherThanTwoReadOneSectionAt48AndTheStoredFirstOffsetIsIgnored) {
    for (uint32_t count : {0u, 1u, 3u}) {
        EXPECT_EQ(ParsedSet(patched(kOneSection, 24, le32(count))).text(2), "9") << count;
        ParsedSet two(patched(kTwoSections, 24, le32(count)));  // 48 holds the second list entry here
        EXPECT_TRUE(two.accepted);
        EXPECT_EQ(two.text(3), "<none>") << count;
    }
    EXPECT_EQ(ParsedSet(patched(kOneSection, 44, le32(1000))).text(2), "9");
}

// ---- Sections ------------------------------------------------------------------------------

TEST(Sections, TwoSectionsShareOneListKeyedByIdWhereALaterValueTakesTheEarliersPlace) {
    ParsedSet set(PropertyStreamBuilder()
                      .value(5, intValue(1))
                      .value(6, intValue(2))
                      .value(5, intValue(10))
                      .section(formatId(0x20))
                      .value(7, intValue(3))
                      .value(6, typed(30, narrowString("second")))
                      .build());
    ASSERT_EQ(set.count(), 3);
    EXPECT_EQ(set.idAt(0), 5u);
    EXPECT_EQ(set.idAt(1), 6u);
    EXPECT_EQ(set.idAt(2), 7u);
    EXPECT_EQ(set.text(5), "10");
    EXPECT_EQ(set.text(6), "second");
    EXPECT_EQ(set.type(6), 1);
    EXPECT_EQ(set.idHex(), "5342312075649786A8B9CADBECFD0E1F");  // a set of two sections goes by its second format id
}

TEST(Sections, IdsCompareOnAll32Bits) {
    ParsedSet set(PropertyStreamBuilder().value(0x80000000u, typed(19, le32(1033))).value(0x01000002u, intValue(4)).build());
    EXPECT_EQ(set.text(0x80000000u), "1033");
    EXPECT_EQ(set.text(0x01000002u), "4");
    EXPECT_EQ(set.text(2), "<none>");
}

// ---- Dictionary ----------------------------------------------------------------------------

TEST(Dictionary, WideWithoutACodePageOrUnder1200AndNonAsciiNamesAreFoundByName) {
    for (uint16_t codePage : {uint16_t(0), uint16_t(1200)}) {
        PropertyStreamBuilder builder;
        if (codePage != 0) builder.value(1, codePageI2(codePage));
        ParsedSet set(builder.value(0, wideDictionary({{2, u"Größe"}, {3, u"Подпись"}, {4, u"abc"}}))
                          .value(2, intValue(1)).value(3, intValue(2)).value(4, intValue(3)).build());
        EXPECT_EQ(set.name(2), "Gr\xC3\xB6\xC3\x9F" "e") << codePage;
        EXPECT_STREQ(set.with(2)->GetName(), "Gr\xC3\xB6\xC3\x9F" "e");
        EXPECT_EQ(set.name(3), "\xD0\x9F\xD0\xBE\xD0\xB4\xD0\xBF\xD0\xB8\xD1\x81\xD1\x8C") << codePage;
        EXPECT_EQ(set.name(4), "abc") << codePage;
        TOVXPropertyHandle found = set->GetPropertyWithName(TOVXString::FromUtf8("Подпись"));
        ASSERT_TRUE(found.IsValid());
        EXPECT_EQ(found->GetID(), 3u);
    }
}

TEST(Dictionary, NarrowAndUnalignedUnder1252WhereAnIdKeepsItsFirstName) {
    ParsedSet set(PropertyStreamBuilder()
                      .value(1, codePageI2(1252))
                      .value(0, narrowDictionary({{2, "Gr\xF6\xDF" "e"}, {3, "x"}, {2, "ignored"}}))
                      .value(2, intValue(1))
                      .value(3, intValue(2))
                      .build());
    EXPECT_EQ(set.name(2), "Gr\xC3\xB6\xC3\x9F" "e");
    EXPECT_EQ(set.name(3), "x");
    EXPECT_TRUE(set->GetPropertyWithName(TOVXString::FromUtf8("Größe")).IsValid());
    EXPECT_FALSE(set->GetPropertyWithName(TOVXString::FromUtf8("ignored")).IsValid());
    EXPECT_EQ(set.name(1), "");  // properties without a dictionary entry keep an empty name
}

TEST(Dictionary, ADictionaryBeforeTheCodePageIsReadUnderTheOneInForce) {
    ParsedSet set(PropertyStreamBuilder().value(0, wideDictionary({{2, u"wide"}})).value(1, codePageI2(1252)).value(2, intValue(1)).build());
    EXPECT_EQ(set.name(2), "wide");
}

TEST(Dictionary, ASecondSectionsDictionaryNamesTheFirstSectionsProperty) {
    ParsedSet set(PropertyStreamBuilder()
                      .value(1, codePageI2(1252))
                      .value(7, intValue(70))
                      .value(255, typed(30, narrowString("set name")))
                      .section(formatId(0x20))
                      .value(0, narrowDictionary({{7, "seven"}, {255, "named"}, {99, "nobody"}}))
                      .build());
    EXPECT_EQ(set.name(7), "seven");
    EXPECT_EQ(set.text(7), "70");
    EXPECT_EQ(set.name(255), "named");
    EXPECT_EQ(set->GetPropertyStorageName().ToUtf8(), "set name");
    EXPECT_EQ(set.count(), 3);  // no property 99
}

TEST(Dictionary, NamesPastTheTwelfthSurviveTheTablesGrowth) {
    std::vector<std::pair<uint32_t, std::u16string>> names;
    PropertyStreamBuilder builder;
    for (uint32_t id = 2; id < 22; ++id) {
        names.push_back({id, u"n" + std::u16string(1, char16_t('a' + id))});
        builder.value(id, intValue(id));
    }
    ParsedSet set(builder.value(0, wideDictionary(names)).build());
    for (uint32_t id = 2; id < 22; ++id) EXPECT_EQ(set.name(id), "n" + std::string(1, char('a' + id)));
}

// ---- Damaged streams -----------------------------------------------------------------------

TEST(Damaged, EveryPrefixAndEveryWrongByteOfAGoodStreamParseWithoutHarm) {
    const Bytes whole = PropertyStreamBuilder()
                            .value(1, codePageI2(1252))
                            .value(0, narrowDictionary({{5, "five"}, {6, "six"}}))
                            .value(5, typed(30, narrowString("narrow")))
                            .value(6, typed(72, formatId(0)))
                            .value(8, typed(20, le64(1)))
                            .section(formatId(0x20))
                            .value(1, codePageI2(1200))
                            .value(0, wideDictionary({{7, u"seven"}}))
                            .value(7, typed(8, bstrWide(u"bstr")))
                            .value(9, typed(31, wideString(u"wide text")))
                            .build();
    ParsedSet full(whole);
    EXPECT_EQ(full.name(5), "five");
    EXPECT_EQ(full.text(7), "bstr");
    EXPECT_EQ(full.name(7), "seven");
    EXPECT_EQ(full.text(9), "wide text");
    for (size_t size = 0; size < whole.size(); ++size)
        EXPECT_EQ(ParsedSet(Bytes(whole.begin(), whole.begin() + long(size))).accepted, size >= 2) << size;  // the mark alone is enough
    for (size_t at = 0; at < whole.size(); ++at)
        for (uint8_t wrong : {uint8_t(0x00), uint8_t(0x7F), uint8_t(0xFF)}) EXPECT_LE(ParsedSet(patched(whole, at, {wrong})).count(), 7) << at;
}

TEST(Damaged, ImpossibleCountsEndPromptly) {
    Bytes stream = patched(PropertyStreamBuilder().value(2, intValue(1)).value(0, le32(0xFFFFFFFF)).build(), 52, le32(0xFFFFFFFF));
    stream.resize(100, 0);
    ParsedSet set(stream);  // ends: a walk that did not would hang the test (its speed is benchmarked)
    EXPECT_TRUE(set.accepted);
    EXPECT_EQ(set.text(2), "1");
}

TEST(Damaged, ManyEntriesOnOneLongTextEndPromptly) {
    // Crafted: every entry points at the same long string. Early ones get the text; once the
    // copied text passes a multiple of the stream's size, the rest read as empty.
    const uint32_t entries = 4000;
    PropertyStreamBuilder builder;
    builder.value(2, typed(30, narrowString(std::string(50000, 'a'))));
    for (uint32_t id = 3; id < 2 + entries; ++id) builder.entryAt(id, 8 + 8 * entries);
    ParsedSet set(builder.build());
    EXPECT_EQ(set.count(), int(entries));
    EXPECT_EQ(set.text(2).size(), 50000u);
    EXPECT_EQ(set.text(3).size(), 50000u);
    EXPECT_EQ(set.text(1 + entries), "");
}

TEST(Damaged, DictionariesAtEveryOffsetOfOneAreBoundedByTheStreamsSize) {
    // Crafted: each id-0 entry points one entry further into the same long dictionary, so no
    // two start alike. What is read in all stays a small multiple of the stream's size; the
    // names read first, and a later property's own value, are still there.
    const uint32_t count = 20000;
    std::vector<std::pair<uint32_t, std::string>> names;
    for (uint32_t id = 2; id < 2 + count; ++id) names.push_back({id, "n"});
    const uint32_t dictionaryAt = 8 + 8 * (count + 2);
    PropertyStreamBuilder builder;
    builder.value(1, codePageI2(1252)).value(0, narrowDictionary(names));
    for (uint32_t i = 1; i <= count; ++i) builder.entryAt(0, dictionaryAt + 4 + 10 * i);
    builder.value(2, intValue(7));
    ParsedSet set(builder.build());
    EXPECT_EQ(set.name(2), "n");
    EXPECT_EQ(set.text(2), "7");
}

}  // namespace
