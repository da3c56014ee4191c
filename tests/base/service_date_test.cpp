#include "base/service_date.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace std::chrono;

namespace {
TimePoint utc(int y, unsigned mo, unsigned d, int h, int mi, int s, int ms = 0) {
    return time_point_cast<system_clock::duration>(sys_days(year(y) / mo / d) + hours(h) + minutes(mi) +
                                                   seconds(s) + milliseconds(ms));
}
} // namespace

TEST(ServiceDate, ReadsBothFormsOffsetsAndLeapSecondsAndCutsLongFractions) {
    EXPECT_EQ(cutFractionToMillis("a.1234 b.56789"), "a.123 b.567") << "every match is cut";
    const TimePoint ten = utc(2025, 1, 1, 10, 0, 0);
    const std::pair<const char*, TimePoint> good[] = {
        {"2025-01-01T10:00:00Z", ten},
        {"2025-01-01T10:00:00.123456Z", ten + 123ms},
        {"2025-01-01T10:00:00.123456789+00:00", ten + 123ms},
        {"2025-01-01T10:00:00.5Z", ten + 500ms},
        {"2025-01-01T12:30:00+02:30", ten},
        {"2024-12-31T23:00:00-11:00", ten},
        {"2025-01-01t10:00:00z", ten}, // RFC 3339 allows lower case
        {"2024-02-29T00:00:00Z", utc(2024, 2, 29, 0, 0, 0)},
        {"2016-12-31T23:59:60Z", utc(2017, 1, 1, 0, 0, 0)},  // a leap second: the next minute's first
        {"2200-01-01T00:00:00Z", utc(2200, 1, 1, 0, 0, 0)}}; // far but within the clock's range
    for (const auto& [text, want] : good)
        EXPECT_EQ(parseServiceDate(text), want) << text;
    // A regular expression matched this digit by digit, recursing, and overflowed the stack.
    EXPECT_EQ(parseServiceDate("2025-01-01T10:00:00.123" + std::string(200000, '9') + "Z"), ten + 123ms);
}

TEST(ServiceDate, AnythingElseIsNoDate) {
    for (const char* bad :
         {"", "garbage", "2025-01-01", "2025-01-01T10:00Z", "2025-01-01T10:00:00", "2025-13-01T10:00:00Z",
          "2023-02-29T10:00:00Z", "2025-01-01T24:00:00Z", "2025-01-01T10:60:00Z", "2025-01-01T10:00:61Z",
          "2025-01-01T10:00:00.Z", "2025-01-01T10:00:00+0200", "2025-01-01T10:00:00+24:00",
          "2025-01-01T10:00:00Z ", "25-01-01T10:00:00Z", "1735725600",
          "9999-12-31T00:00:00Z", // beyond the clock's range
          "0001-01-01T00:00:00Z"})
        EXPECT_EQ(parseServiceDate(bad), std::nullopt) << bad;
}
