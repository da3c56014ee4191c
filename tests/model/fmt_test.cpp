#include "model/fmt.h"

#include <gtest/gtest.h>
#include <tuple>

using namespace ostrel;
using namespace std::chrono_literals;

TEST(Fmt, PercentRoundsHalvesUp) {
    for (auto [value, text] : {std::pair{42.5, "43%"}, {0.49, "0%"}, {99.5, "100%"}, {0.5, "1%"}})
        EXPECT_EQ(Fmt::percent(value), text) << value;
}

TEST(Fmt, DurationInBothForms) {
    const TimePoint t0 = TimePoint{} + 1'700'000'000s;
    const std::tuple<std::chrono::seconds, bool, const char*> cases[] = {
        {59s, false, "0m"},
        {59min + 59s, false, "59m"},
        {60min, false, "1h 0m"},
        {23h + 59min, false, "23h 59m"},
        {24h, false, "1d 0h"},
        {24h + 5h + 59min, false, "1d 5h"},
        {72h, true, "3d"},
        {72h, false, "3d 0h"},
        {71h + 59min + 59s, true, "2d 23h"}, // seconds short of three days are not three days
        {-10min, false, "0m"}};
    for (const auto& [d, condensed, text] : cases)
        EXPECT_EQ(Fmt::duration(t0 + d, t0, condensed), text) << d.count() << (condensed ? " short" : "");
}
