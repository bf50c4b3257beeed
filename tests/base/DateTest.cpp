#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "TOVXDate.h"

namespace {

// Formats into a text that already holds something, which must be replaced, not appended to.
std::string format(uint64_t ticks, int style, bool withFraction) {
    FILETIME time;
    time.dwLowDateTime = static_cast<uint32_t>(ticks);
    time.dwHighDateTime = static_cast<uint32_t>(ticks >> 32);
    TOVXString text = TOVXString::FromUtf8("something before");
    EXPECT_TRUE(TOVXDate::FormatDate(time, text, style, withFraction).IsSuccess());
    return text.ToUtf8();
}

}  // namespace

TEST(Date, FormatsUtcWithStyleAndFraction) {
    constexpr uint64_t kLeapDay = 133536879071234567ull;  // 2024-02-29 13:45:07 UTC and 1234567 ticks of 100 ns
    struct Case { uint64_t ticks; int style; bool withFraction; const char* text; };
    const Case cases[] = {
        {0, 1, false, "1601-01-01 00:00:00"},
        {125911584000000000ull, 1, false, "2000-01-01 00:00:00"},
        {116444736000000000ull, 1, false, "1970-01-01 00:00:00"},
        {864000000000ull - 1, 1, false, "1601-01-01 23:59:59"},
        {kLeapDay, 1, false, "2024-02-29 13:45:07"},  // the fraction of a second is dropped
        {kLeapDay, 0, false, "2024-02-29"},
        {kLeapDay, 1, true, "2024-02-29 13:45:07.1234567"},
        {0, 2, true, "1601-01-01 00:00:00.0000000"},
        {UINT64_MAX, 1, false, "60056-05-28 05:36:10"},  // a year beyond four digits
    };
    for (const Case& c : cases) EXPECT_EQ(format(c.ticks, c.style, c.withFraction), c.text) << c.ticks;
}
