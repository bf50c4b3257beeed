#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "TOVXDate.h"

namespace {

FILETIME fileTime(uint64_t ticks) {
    FILETIME time;
    time.dwLowDateTime = static_cast<uint32_t>(ticks);
    time.dwHighDateTime = static_cast<uint32_t>(ticks >> 32);
    return time;
}

std::string format(uint64_t ticks, int style = 1, bool withFraction = false) {
    TOVXString text;
    TOVXDate::FormatDate(fileTime(ticks), text, style, withFraction);
    return text.ToUtf8();
}

// 2024-02-29 13:45:07 UTC and 1234567 ticks of 100 ns.
constexpr uint64_t kLeapDay = 133536879071234567ull;

}  // namespace

TEST(Date, FormatsAsTheLibraryCallsIt) {
    struct Case {
        uint64_t ticks;
        const char* text;
    };
    const Case cases[] = {
        {0, "1601-01-01 00:00:00"},
        {125911584000000000ull, "2000-01-01 00:00:00"},
        {kLeapDay, "2024-02-29 13:45:07"},  // the fraction of a second is dropped
        {864000000000ull - 1, "1601-01-01 23:59:59"},
        {116444736000000000ull, "1970-01-01 00:00:00"},
    };
    for (const Case& c : cases) EXPECT_EQ(format(c.ticks), c.text) << c.ticks;
}

TEST(Date, StyleAndFraction) {
    EXPECT_EQ(format(kLeapDay, 0), "2024-02-29");
    EXPECT_EQ(format(kLeapDay, 1, true), "2024-02-29 13:45:07.1234567");
    EXPECT_EQ(format(0, 2, true), "1601-01-01 00:00:00.0000000");
}

TEST(Date, LargestValueGivesAYearBeyondNineThousand) {
    const std::string text = format(UINT64_MAX);
    EXPECT_EQ(text.substr(0, 6), "60056-");
}

TEST(Date, TextIsReplacedNotAppended) {
    TOVXString text = TOVXString::FromUtf8("something before");
    const TOVXResult result = TOVXDate::FormatDate(fileTime(0), text, 1, false);
    EXPECT_TRUE(result.IsSuccess());
    EXPECT_EQ(text.ToUtf8(), "1601-01-01 00:00:00");
}
