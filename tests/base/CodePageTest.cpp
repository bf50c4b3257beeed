// Narrow text in Windows code pages: the library's tables and the platform's conversion.

#include <gtest/gtest.h>

#include <string>

#include "TOVXCodePage.h"
#include "TOVXPlatform.h"

namespace {

std::u16string decoded(unsigned int codePage, const std::string& bytes, size_t count) {
    std::u16string out;
    EXPECT_TRUE(tovxplatform::decodeCodePage(reinterpret_cast<const unsigned char*>(bytes.data()), count, codePage, out)) << codePage;
    return out;
}

std::u16string decoded(unsigned int codePage, const std::string& bytes) { return decoded(codePage, bytes, bytes.size()); }

// The C library follows an older Mac Roman for two bytes (Greek delta for the increment sign,
// a private character for the Apple logo); the tables follow the system's conversion.
bool olderMacRoman(unsigned int codePage, int byte) { return codePage == 10000 && (byte == 0xC6 || byte == 0xF0); }

}  // namespace

TEST(CodePage, ThePlatformDecodesMultiByteTextAndReplacesWhatDoesNotDecode) {
    struct Case {
        unsigned int codePage;
        std::string bytes;
        std::u16string text;
    };
    const Case cases[] = {
        {932, "\x93\xFA\x96\x7B\x8C\xEA\xB1", u"\u65E5\u672C\u8A9E\uFF71"},  // a trail byte may be '{', a single byte half-width
        {932, "\x95\x5C", u"\u8868"},                                          // a trail byte that is a backslash
        {936, "\xD6\xD0\xCE\xC4", u"\u4E2D\u6587"},
        {949, "\xC7\xD1\xB1\xB9\xBE\xEE", u"\uD55C\uAD6D\uC5B4"},
        {950, "\xA4\xA4\xA4\xE5", u"\u4E2D\u6587"},
        {54936, "\x95\x32\x82\x36", u"\U00020000"},  // four bytes, beyond the 16-bit range
        {65001, "\xE2\x98\x83", u"\u2603"},
        {65001, "A\xF0\x9F\x98\x80\xEF\xBB\xBF", u"A\U0001F600\uFEFF"},  // a surrogate pair; a mark kept as a character
        {1258, "\xC3\xF5", u"\u0102\u01A1"},
        {1255, "\xF9", u"\u05E9"},  // a letter that the converter holds back until it knows no mark follows
        {28597, "\xE1\xE2", u"\u03B1\u03B2"},
        {20127, "ok", u"ok"},
        // Sequences that do not decode: a lead byte with a bad trail byte, a text that ends inside a
        // character, bytes that no character has; decoding goes on behind them.
        {932, "\x81\x20" "A", u"\uFFFD A"},
        {936, "ab\xD6", u"ab\uFFFD"},
        {65001, "\xC3(\xED\xA0\x80!", u"\uFFFD(\uFFFD\uFFFD\uFFFD!"},
        {949, "\xFF" "a", u"\uFFFD" "a"},
    };
    for (const Case& c : cases) EXPECT_EQ(decoded(c.codePage, c.bytes), c.text) << c.codePage << " " << c.bytes;
}

TEST(CodePage, TextEndsAtItsFirstZeroByteOrItsCountAndIsAppended) {
    EXPECT_EQ(decoded(932, std::string("\x93\xFA\0\x96\x7B", 5)), u"\u65E5");
    EXPECT_EQ(decoded(932, "\x93\xFA\x96\x7B", 3), u"\u65E5\uFFFD");  // the count cuts a character
    EXPECT_EQ(decoded(949, "", 0), u"");
    std::u16string out = u"kept";
    const unsigned char bytes[] = {0xC7, 0xD1};
    ASSERT_TRUE(tovxplatform::decodeCodePage(bytes, 2, 949, out));
    EXPECT_EQ(out, u"kept\uD55C");
}

// Text all in ASCII is decoded without the platform's conversion in the pages that extend
// ASCII: the same units as the conversion gives for those bytes ahead of one that it must decode.
TEST(CodePage, AsciiTextReadsAsTheConversionReadsIt) {
    std::string ascii;
    for (int byte = 1; byte < 0x80; ++byte) ascii += static_cast<char>(byte);
    for (unsigned int codePage : {874u, 1250u, 1251u, 1252u, 1253u, 1254u, 1255u, 1256u, 1257u, 1258u, 28591u, 28592u,
                                  28595u, 28597u, 28605u, 20127u, 65001u}) {
        const std::u16string converted = decoded(codePage, ascii + "\xC3");
        ASSERT_GE(converted.size(), ascii.size()) << codePage;
        EXPECT_EQ(decoded(codePage, ascii), converted.substr(0, ascii.size())) << codePage;
    }
}

TEST(CodePage, NumbersWithoutAFixedNarrowEncodingAreRefused) {
    const unsigned char bytes[] = {'a', 'b'};
    for (unsigned int codePage : {0u, 1u, 2u, 3u, 1200u, 1201u, 12000u, 12001u, 4711u, 0xFFFFu}) {
        std::u16string out = u"untouched";
        EXPECT_FALSE(tovxplatform::decodeCodePage(bytes, 2, codePage, out)) << codePage;
        EXPECT_EQ(out, u"untouched");
        TOVXString text = TOVXString::FromUtf8("untouched");
        EXPECT_FALSE(TOVXCodePage::Decode(bytes, 2, codePage, text)) << codePage;
        EXPECT_EQ(text.ToUtf8(), "untouched");
    }
}

// The library's own tables against the platform, byte by byte, where the platform assigns the byte.
TEST(CodePage, TablesAgreeWithThePlatform) {
    for (unsigned int codePage : {437u, 850u, 866u, 1250u, 1251u, 1252u, 1253u, 1254u, 1255u, 1256u, 1257u, 10000u, 28591u}) {
        ASSERT_TRUE(TOVXCodePage::HasTable(codePage)) << codePage;
        int compared = 0;
        for (int byte = 0x80; byte <= 0xFF; ++byte) {
            const unsigned char single[] = {static_cast<unsigned char>(byte)};
            std::u16string platform;
            ASSERT_TRUE(tovxplatform::decodeCodePage(single, 1, codePage, platform)) << codePage;
            if (platform == u"\uFFFD" || olderMacRoman(codePage, byte)) continue;
            TOVXString table;
            ASSERT_TRUE(TOVXCodePage::Decode(single, 1, codePage, table));
            EXPECT_EQ(table.Text(), platform) << codePage << " byte " << byte;
            ++compared;
        }
        EXPECT_GT(compared, 100) << codePage;
    }
}
