#include <gtest/gtest.h>

#include "TOVXString.h"

TEST(String, DecodesUtf8AndFallsBackToWindows1252) {
    const TOVXString utf8("Gr\xC3\xB6\xC3\x9F" "e", nullptr);
    EXPECT_EQ(utf8.ToUtf8(), "Gr\xC3\xB6\xC3\x9F" "e");
    const TOVXString latin("Gr\xF6\xDF" "e\x80", nullptr);  // not valid UTF-8
    EXPECT_EQ(latin.length(), 6);
    EXPECT_EQ(latin.At(2), 0xF6);
    EXPECT_EQ(latin.At(5), 0x20AC);  // the euro sign of Windows-1252
    EXPECT_TRUE(TOVXString("abc", "US-ASCII").equals(TOVXString("abc", nullptr)));
}
