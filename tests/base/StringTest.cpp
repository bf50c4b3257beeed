#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "TOVXString.h"

namespace {

TOVXString text(const char* ascii) { return TOVXString(ascii, "US-ASCII"); }

}  // namespace

TEST(String, DecodesUtf8AndFallsBackToWindows1252) {
    const TOVXString utf8("Gr\xC3\xB6\xC3\x9F" "e", nullptr);
    EXPECT_EQ(utf8.ToUtf8(), "Gr\xC3\xB6\xC3\x9F" "e");
    const TOVXString latin("Gr\xF6\xDF" "e\x80", nullptr);  // not valid UTF-8
    EXPECT_EQ(latin.length(), 6);
    EXPECT_EQ(latin.At(2), 0xF6);
    EXPECT_EQ(latin.At(5), 0x20AC);  // the euro sign of Windows-1252
    EXPECT_TRUE(TOVXString("abc", "US-ASCII").equals(TOVXString("abc", nullptr)));
}

TEST(String, EmptyFormsAreTheSameEmptyText) {
    const unsigned short emptyWide[] = {0};
    for (const TOVXString& form : {TOVXString(), TOVXString(emptyWide), TOVXString(static_cast<const unsigned short*>(nullptr)),
                                   TOVXString(static_cast<const char*>(nullptr), nullptr), text("")}) {
        EXPECT_TRUE(form.equals(TOVXString()));
        EXPECT_EQ(form.getConvertToWideCharacterSize(), 1);
    }
}

TEST(String, WideTextEndsAtTheFirstZeroUnitAndCopiesOutWhole) {
    const unsigned short wide[] = {'a', 0x0416, 0, 'b', 0};
    const TOVXString s(wide);
    ASSERT_EQ(s.length(), 2);
    EXPECT_EQ(s.At(1), 0x0416);  // units above 0xFF are kept whole
    unsigned short* copy = nullptr;
    ASSERT_TRUE(TOVXStringToWideChars(s, copy).IsSuccess());
    EXPECT_TRUE(TOVXString(copy).equals(s));
    EXPECT_EQ(copy[2], 0);
    TOVXReleaseWideChars(copy);
    EXPECT_EQ(TOVXString(static_cast<unsigned short>(5)).ToUtf8(), "\x05");
}

TEST(String, StartsWithComparesWholeUnits) {
    const TOVXString five(static_cast<unsigned short>(5));
    EXPECT_TRUE(TOVXString(five).operator+=(text("Summary")).startsWith(five));
    EXPECT_FALSE(text("Summary").startsWith(five));
    EXPECT_TRUE(text("abc").startsWith(TOVXString()));
    EXPECT_TRUE(text("abc").startsWith(text("abc")));
    EXPECT_FALSE(text("ab").startsWith(text("abc")));
}

TEST(String, ReplaceLeavesTheReceiverAloneAndPlusEqualsChangesIt) {
    const TOVXString number = text("1,5,,7");
    EXPECT_TRUE(number.replace(44, 46).equals(text("1.5..7")));
    EXPECT_TRUE(number.equals(text("1,5,,7")));
    TOVXString s = text("Doc");
    const TOVXString returned = s += text("ument");
    EXPECT_TRUE(s.equals(text("Document")));
    EXPECT_TRUE(returned.equals(s));
    TOVXString self = text("ab");
    self += self;
    EXPECT_TRUE(self.equals(text("abab")));
    // Copies share their units: changing one, or moving it away, leaves the others as they were.
    TOVXString original = text("a name longer than a few units");
    TOVXString copy = original;
    const TOVXString assigned = copy;
    copy += text("!");
    const TOVXString moved = std::move(original);
    EXPECT_TRUE(assigned.equals(text("a name longer than a few units")));
    EXPECT_TRUE(moved.equals(assigned));
    EXPECT_EQ(copy.length(), assigned.length() + 1);
}

TEST(String, WideConversionNeverWritesBeyondTheGivenSize) {
    const TOVXString s = text("abcdef");
    struct Case { int size; int written; };  // written: units of text before the terminating zero
    for (const Case c : {Case{7, 6}, Case{10, 6}, Case{4, 3}, Case{1, 0}}) {
        std::vector<unsigned short> buffer(12, 0xEEEE);
        s.convertToWideCharacter(buffer.data(), c.size);
        for (int i = 0; i < c.written; ++i) EXPECT_EQ(buffer[i], "abcdef"[i]) << c.size;
        EXPECT_EQ(buffer[c.written], 0) << c.size;
        for (size_t i = static_cast<size_t>(c.size); i < buffer.size(); ++i) EXPECT_EQ(buffer[i], 0xEEEE) << c.size;
    }
    std::vector<unsigned short> buffer(5001, 0xEEEE);  // a path longer than any fixed buffer inside
    TOVXString::FromUtf8("/" + std::string(6000, 'x')).convertToWideCharacter(buffer.data(), 5000);
    EXPECT_EQ(buffer[4999], 0);
    EXPECT_EQ(buffer[5000], 0xEEEE);
}
