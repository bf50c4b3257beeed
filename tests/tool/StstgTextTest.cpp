#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "StstgText.h"

namespace {

TOVXString units(const std::u16string& text) {
    return TOVXString::FromUnits(reinterpret_cast<const unsigned short*>(text.data()), static_cast<int>(text.size()));
}

// The inverse of safeFileName, as a user would undo it.
std::u16string decodeSafe(const std::string& safe) {
    if (safe == "%empty") return u"";
    std::string bytes;
    for (size_t i = 0; i < safe.size(); ++i) {
        bytes += safe[i] == '%' ? static_cast<char>(std::stoi(safe.substr(i + 1, 2), nullptr, 16)) : safe[i];
        if (safe[i] == '%') i += 2;
    }
    std::u16string out;
    tovx::decodeUtf8(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), out);
    return out;
}

TOVXString parsed(const std::string& argument) {
    TOVXString name;
    std::string error;
    EXPECT_TRUE(ststg::parseNameArgument(argument, name, error)) << argument << ": " << error;
    return name;
}

}  // namespace

TEST(StstgSafeFileName, HostileNamesBecomeHarmlessFileNamesThatDecodeBack) {
    struct Case { std::u16string name; std::string safe; };
    const Case cases[] = {
        {u"WordDocument", "WordDocument"}, {u"", "%empty"}, {u".", "%2E"}, {u"..", "%2E%2E"}, {u"...", "..."},
        {u"../../etc/passwd", "..%2F..%2Fetc%2Fpasswd"}, {u"..\\..\\boot.ini", "..%5C..%5Cboot.ini"},
        {u"\x05SummaryInformation", "%05SummaryInformation"}, {u"\x01\x7f", "%01%7F"}, {u"100%", "100%25"},
        {u"%empty", "%25empty"}, {u"a:b*c?\"<>|", "a%3Ab%2Ac%3F%22%3C%3E%7C"}, {u"caf\u00e9", "caf\xc3\xa9"},
    };
    for (const Case& c : cases) {
        const std::string safe = ststg::safeFileName(units(c.name));
        EXPECT_EQ(safe, c.safe);
        EXPECT_EQ(decodeSafe(safe), c.name) << safe;
    }
}

TEST(StstgSafeFileName, NoUnitPairEverLeavesItsFolder) {
    for (char16_t a = 1; a <= 0xFF; ++a) {
        for (char16_t b : {u'\0', u'.', u'/', u'\\', u'%', a}) {
            const std::u16string name = b != 0 ? std::u16string{a, b} : std::u16string{a};
            const std::string safe = ststg::safeFileName(units(name));
            ASSERT_TRUE(safe != "" && safe != "." && safe != "..") << safe;
            ASSERT_EQ(safe.find_first_of("/\\"), std::string::npos) << safe;
            ASSERT_EQ(decodeSafe(safe), name) << safe;
        }
    }
}

TEST(StstgNameArgument, EscapesGiveTheUnitsTheyNameAndMalformedNamesAreRefused) {
    struct Case { std::string argument; std::u16string name; };
    const Case cases[] = {
        {"Workbook", u"Workbook"}, {"\\x05SummaryInformation", u"\x05SummaryInformation"}, {"\\005SummaryInformation", u"\x05SummaryInformation"},
        {"\\5x", u"\x05x"}, {"\\0011", u"\x01" u"1"}, {"\\377", u"\u00ff"}, {"a\\\\b", u"a\\b"}, {"\\x1F\\x7f", u"\x1f\x7f"},
        {"caf\xc3\xa9", u"caf\u00e9"}, {"\xce\xb1", u"\u03b1"},
    };
    for (const Case& c : cases) EXPECT_TRUE(parsed(c.argument).equals(units(c.name))) << c.argument;
    for (const std::string argument : {"\\q", "\\X05", "\\x0", "\\x", "\\xZZ", "\\400", "\\0", "\\000", "a\\", "\xff", "\xc3"}) {
        TOVXString name;
        std::string error;
        EXPECT_FALSE(ststg::parseNameArgument(argument, name, error)) << argument;
        EXPECT_FALSE(error.empty()) << argument;
    }
}

TEST(StstgDisplayName, EveryPrintedNameParsesBackToItself) {
    for (char16_t unit = 1; unit <= 0xFF; ++unit) {
        const TOVXString name = units(std::u16string(u"a") + unit + u"\\");
        ASSERT_TRUE(parsed(ststg::displayName(name)).equals(name)) << ststg::displayName(name);
    }
    EXPECT_EQ(ststg::displayName(units(u"\x05Sum")), "\\x05Sum");
    EXPECT_EQ(ststg::displayName(units(u"")), "\"\"");
}

TEST(StstgJsonString, EscapesWhatJsonRequiresAndKeepsTheRest) {
    EXPECT_EQ(ststg::jsonString("plain"), "\"plain\"");
    EXPECT_EQ(ststg::jsonString("q\"b\\"), "\"q\\\"b\\\\\"");
    EXPECT_EQ(ststg::jsonString(std::string("\x05S\n\x7f\x00", 5)), "\"\\u0005S\\u000a\\u007f\\u0000\"");
    EXPECT_EQ(ststg::jsonString("caf\xc3\xa9 \xe2\x98\x83"), "\"caf\xc3\xa9 \xe2\x98\x83\"");
    // A byte that is not UTF-8 stands for its Latin-1 character, so the output stays valid.
    EXPECT_EQ(ststg::jsonString("a\xe9z"), "\"a\xc3\xa9z\"");
    EXPECT_EQ(ststg::jsonString("\xc3"), "\"\xc3\x83\"");
}

TEST(StstgKindName, NumbersTypesOutsideTheKnownSet) {
    // storage, stream and root show in the tree listing's test.
    EXPECT_EQ(ststg::kindName(0), "invalid");
    EXPECT_EQ(ststg::kindName(9), "type 9");
}
