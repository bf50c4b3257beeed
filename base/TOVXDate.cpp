#include "TOVXDate.h"

#include <cstdint>
#include <cstdio>

namespace {

constexpr int64_t kTicksPerSecond = 10000000;
constexpr int64_t kSecondsPerDay = 86400;

struct CivilDate {
    int64_t year;
    unsigned month;
    unsigned day;
};

// Days since 1970-01-01 to a proleptic Gregorian date (Howard Hinnant's civil_from_days).
CivilDate civilFromDays(int64_t days) {
    days += 719468;
    const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const unsigned dayOfEra = static_cast<unsigned>(days - era * 146097);
    const unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned mp = (5 * dayOfYear + 2) / 153;
    const unsigned day = dayOfYear - (153 * mp + 2) / 5 + 1;
    const unsigned month = mp < 10 ? mp + 3 : mp - 9;
    return {static_cast<int64_t>(yearOfEra) + era * 400 + (month <= 2), month, day};
}

}  // namespace

TOVXResult TOVXDate::FormatDate(const FILETIME& time, TOVXString& text, int style, bool withFraction) {
    const uint64_t ticks = (static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
    const uint64_t seconds = ticks / kTicksPerSecond;
    const int64_t daysSince1601 = static_cast<int64_t>(seconds / kSecondsPerDay);
    const unsigned secondOfDay = static_cast<unsigned>(seconds % kSecondsPerDay);
    // 1601-01-01 lies 134774 days before 1970-01-01.
    const CivilDate date = civilFromDays(daysSince1601 - 134774);

    char buffer[64];
    int length;
    if (style == 0) {
        length = std::snprintf(buffer, sizeof buffer, "%04lld-%02u-%02u", static_cast<long long>(date.year), date.month, date.day);
    } else {
        length = std::snprintf(buffer, sizeof buffer, "%04lld-%02u-%02u %02u:%02u:%02u", static_cast<long long>(date.year),
                               date.month, date.day, secondOfDay / 3600, secondOfDay / 60 % 60, secondOfDay % 60);
        if (withFraction && length > 0 && static_cast<size_t>(length) < sizeof buffer)
            length += std::snprintf(buffer + length, sizeof buffer - static_cast<size_t>(length), ".%07u",
                                    static_cast<unsigned>(ticks % kTicksPerSecond));
    }
    text = TOVXString(buffer, nullptr);
    return TOVXResult(length > 0 ? TOVX_OK : TOVX_E_FAIL);
}
