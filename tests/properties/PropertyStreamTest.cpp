// The stream header, the sections, the dictionary and damaged streams.

#include <gtest/gtest.h>

#include <cstring>

#include "PropertyTestSupport.h"

using namespace tovxtest;

namespace {

std::string idText(TOVIPropertyStorage* set) {
    unsigned char id[16];
    set->GetPropertyStorageID(id);
    char text[40];
    std::string out;
    for (unsigned char byte : id) {
        std::snprintf(text, sizeof text, "%02X", byte);
        out += text;
    }
    return out;
}

// ---- Header ----------------------------------------------------------------------------------

TEST(Header, OnlyLittleEndianVersionZeroIsAccepted) {
    EXPECT_TRUE(ParsedSet(Bytes{0xFE, 0xFF}).accepted);
    EXPECT_FALSE(ParsedSet(Bytes{0xFF, 0xFE, 0, 0}).accepted);
    EXPECT_FALSE(ParsedSet(Bytes{}).accepted);
    EXPECT_FALSE(ParsedSet(Bytes{0xFE}).accepted);
    EXPECT_FALSE(ParsedSet(PropertyStreamBuilder().version(1).value(2, typed(3, le32(1))).build()).accepted);
    ParsedSet refused(PropertyStreamBuilder().byteOrder(0xFEFF).value(2, typed(3, le32(1))).build());
    EXPECT_FALSE(refused.accepted);
    EXPECT_EQ(refused.count(), 0);
}

TEST(Header, TheMarkAloneIsAnEmptySet) {
    ParsedSet set(Bytes{0xFE, 0xFF});
    EXPECT_EQ(set.count(), 0);
    EXPECT_EQ(set->GetPropertyStorageName().length(), 0);
    EXPECT_EQ(idText(set.handle), std::string(32, '0'));
}

TEST(Header, IdentifiersReadInTheOrderOfTheirText) {
    ParsedSet set(PropertyStreamBuilder().section(formatId(0x00)).value(2, typed(3, le32(1))).build());
    EXPECT_EQ(idText(set.handle), "33221100554477668899AABBCCDDEEFF");
}

TEST(Header, TheFirstSectionsStoredOffsetIsIgnored) {
    ParsedSet set(PropertyStreamBuilder().firstOffset(1000).value(2, typed(3, le32(9))).build());
    EXPECT_EQ(set.text(2), "9");
}

TEST(Header, SectionCountsOtherThanTwoReadOneSectionAt48) {
    for (uint32_t claimed : {0u, 1u}) {
        ParsedSet set(PropertyStreamBuilder().claimSections(claimed).value(2, typed(3, le32(9))).build());
        EXPECT_EQ(set.text(2), "9") << claimed;
    }
    // With three, the second list entry is read as the first section's head.
    const Bytes two = PropertyStreamBuilder().value(2, typed(3, le32(9))).section(formatId(0x20)).value(3, typed(3, le32(5))).build();
    Bytes three = two;
    three[24] = 3;
    ParsedSet set(three);
    EXPECT_TRUE(set.accepted);
    EXPECT_EQ(set.text(3), "<none>");
}

// ---- Sections ------------------------------------------------------------------------------

TEST(Sections, TwoSectionsShareOneListKeyedById) {
    ParsedSet set(PropertyStreamBuilder()
                      .value(5, typed(3, le32(1)))
                      .value(6, typed(3, le32(2)))
                      .section(formatId(0x20))
                      .value(7, typed(3, le32(3)))
                      .value(5, typed(30, narrowString("second")))
                      .build());
    ASSERT_EQ(set.count(), 3);
    EXPECT_EQ(set.idAt(0), 5u);
    EXPECT_EQ(set.text(5), "second");
    EXPECT_EQ(set.type(5), 1);
    EXPECT_EQ(set.idAt(2), 7u);
    // A set of two sections goes by its second format id.
    EXPECT_EQ(idText(set.handle), "5342312075649786A8B9CADBECFD0E1F");
}

TEST(Sections, ALaterEntryWithTheSameIdTakesTheEarliersPlace) {
    ParsedSet set(PropertyStreamBuilder().value(4, typed(3, le32(1))).value(9, typed(3, le32(2))).value(4, typed(3, le32(3))).build());
    ASSERT_EQ(set.count(), 2);
    EXPECT_EQ(set.idAt(0), 4u);
    EXPECT_EQ(set.text(4), "3");
}

TEST(Sections, ASecondSectionPastTheEndKeepsTheFirst) {
    ParsedSet set(PropertyStreamBuilder().value(2, typed(3, le32(1))).section(formatId(0x20)).value(3, typed(3, le32(2))).secondOffset(0xFFFFFFF0).build());
    EXPECT_TRUE(set.accepted);
    EXPECT_EQ(set.count(), 1);
    EXPECT_EQ(set.text(2), "1");
}

TEST(Sections, IdsCompareOnAll32Bits) {
    ParsedSet set(PropertyStreamBuilder().value(0x80000000u, typed(19, le32(1033))).value(0x01000002u, typed(3, le32(4))).build());
    EXPECT_EQ(set.text(0x80000000u), "1033");
    EXPECT_EQ(set.text(0x01000002u), "4");
    EXPECT_EQ(set.text(2), "<none>");
}

// ---- Dictionary ----------------------------------------------------------------------------

TEST(Dictionary, WideWithoutACodePageOrUnder1200) {
    const auto names = std::vector<std::pair<uint32_t, std::u16string>>{{2, u"Größe"}, {3, u"Подпись"}, {4, u"abc"}};
    for (uint16_t codePage : {uint16_t(0), uint16_t(1200)}) {
        PropertyStreamBuilder builder;
        if (codePage != 0) builder.value(1, codePageI2(codePage));
        ParsedSet set(builder.value(0, wideDictionary(names)).value(2, typed(3, le32(1))).value(3, typed(3, le32(2))).value(4, typed(3, le32(3))).build());
        EXPECT_EQ(set.name(2), "Gr\xC3\xB6\xC3\x9F" "e") << codePage;
        EXPECT_EQ(set.name(3), "\xD0\x9F\xD0\xBE\xD0\xB4\xD0\xBF\xD0\xB8\xD1\x81\xD1\x8C") << codePage;
        EXPECT_EQ(set.name(4), "abc") << codePage;
        EXPECT_EQ(set.text(3), "2");
        // Names outside ASCII are found by name.
        TOVXPropertyHandle found = set->GetPropertyWithName(TOVXString::FromUtf8("Подпись"));
        ASSERT_TRUE(found.IsValid());
        EXPECT_EQ(found->GetID(), 3u);
    }
}

TEST(Dictionary, NarrowAndUnalignedUnder1252) {
    ParsedSet set(PropertyStreamBuilder()
                      .value(1, codePageI2(1252))
                      .value(0, narrowDictionary({{2, "Gr\xF6\xDF" "e"}, {3, "x"}, {2, "ignored"}}))
                      .value(2, typed(3, le32(1)))
                      .value(3, typed(3, le32(2)))
                      .build());
    EXPECT_EQ(set.name(2), "Gr\xC3\xB6\xC3\x9F" "e");
    EXPECT_EQ(set.name(3), "x");
    EXPECT_TRUE(set->GetPropertyWithName(TOVXString::FromUtf8("Größe")).IsValid());
    EXPECT_FALSE(set->GetPropertyWithName(TOVXString::FromUtf8("ignored")).IsValid());
    EXPECT_EQ(set.name(1), "");  // properties without a dictionary entry keep an empty name
}

TEST(Dictionary, TheCodePageInForceDecidesTheReader) {
    // The dictionary comes before the code page, so it is still read wide.
    ParsedSet set(PropertyStreamBuilder()
                      .value(0, wideDictionary({{2, u"wide"}}))
                      .value(1, codePageI2(1252))
                      .value(2, typed(3, le32(1)))
                      .build());
    EXPECT_EQ(set.name(2), "wide");
}

TEST(Dictionary, ASecondSectionsDictionaryNamesTheFirstSectionsProperty) {
    ParsedSet set(PropertyStreamBuilder()
                      .value(1, codePageI2(1252))
                      .value(7, typed(3, le32(70)))
                      .value(255, typed(30, narrowString("set name")))
                      .section(formatId(0x20))
                      .value(0, narrowDictionary({{7, "seven"}, {255, "named"}, {99, "nobody"}}))
                      .build());
    EXPECT_EQ(set.name(7), "seven");
    EXPECT_EQ(set.text(7), "70");
    EXPECT_EQ(set.name(255), "named");
    EXPECT_EQ(set->GetPropertyStorageName().ToUtf8(), "set name");
    EXPECT_FALSE(set->GetPropertyWithID(99).IsValid());
    EXPECT_EQ(set.count(), 3);
}

TEST(Dictionary, ThirteenNamesAllSurviveTheTablesGrowth) {
    std::vector<std::pair<uint32_t, std::u16string>> names;
    PropertyStreamBuilder builder;
    for (uint32_t id = 2; id < 2 + 20; ++id) {
        names.push_back({id, u"n" + std::u16string(1, char16_t('a' + id))});
        builder.value(id, typed(3, le32(id)));
    }
    ParsedSet set(builder.value(0, wideDictionary(names)).build());
    for (uint32_t id = 2; id < 2 + 20; ++id) EXPECT_EQ(set.name(id), "n" + std::string(1, char('a' + id)));
}

// ---- Damaged streams -----------------------------------------------------------------------

TEST(Damaged, AnyPrefixOfAGoodStreamParsesWithoutHarm) {
    const Bytes whole = PropertyStreamBuilder()
                            .value(1, codePageI2(1200))
                            .value(0, wideDictionary({{5, u"five"}, {6, u"six"}}))
                            .value(5, typed(31, wideString(u"wide text")))
                            .value(6, typed(20, le64(1)))
                            .section(formatId(0x20))
                            .value(7, typed(8, bstrWide(u"bstr")))
                            .build();
    for (size_t size = 0; size <= whole.size(); ++size) {
        const Bytes prefix(whole.begin(), whole.begin() + long(size));
        ParsedSet set(prefix);
        EXPECT_EQ(set.accepted, size >= 2) << size;  // the mark alone is enough
    }
    ParsedSet full(whole);
    EXPECT_EQ(full.text(5), "wide text");
    EXPECT_EQ(full.name(5), "five");
    EXPECT_EQ(full.text(7), "bstr");
}

TEST(Damaged, EveryByteOfAGoodStreamCanBeWrong) {
    const Bytes whole = PropertyStreamBuilder()
                            .value(1, codePageI2(1252))
                            .value(0, narrowDictionary({{5, "five"}, {6, "six"}}))
                            .value(5, typed(30, narrowString("narrow")))
                            .value(6, typed(72, formatId(0)))
                            .section(formatId(0x20))
                            .value(1, codePageI2(1200))
                            .value(0, wideDictionary({{7, u"seven"}}))
                            .value(7, typed(8, bstrWide(u"bstr")))
                            .build();
    for (size_t at = 0; at < whole.size(); ++at) {
        for (uint8_t wrong : {uint8_t(0x00), uint8_t(0x7F), uint8_t(0xFF)}) {
            Bytes damaged = whole;
            damaged[at] = wrong;
            ParsedSet set(damaged);
            EXPECT_LE(set.count(), 6) << at;
        }
    }
}

TEST(Damaged, ImpossibleCountsEndPromptly) {
    Bytes stream = PropertyStreamBuilder().value(2, typed(3, le32(1))).value(0, le32(0xFFFFFFFF)).claimProperties(0xFFFFFFFF).build();
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

TEST(Damaged, OffsetsPastTheEndMakeNoProperty) {
    ParsedSet set(PropertyStreamBuilder().entryAt(2, 0xFFFFFFF0).entryAt(3, 0x7FFFFFFF).value(4, typed(3, le32(4))).build());
    EXPECT_EQ(set.count(), 1);
    EXPECT_EQ(set.text(4), "4");
}

}  // namespace
