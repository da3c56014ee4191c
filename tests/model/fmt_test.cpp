#include "model/fmt.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace std::chrono_literals;

TEST(FmtPercent, RoundsHalvesAwayFromZero) {
    EXPECT_EQ(Fmt::percent(42.5), "43%");
    EXPECT_EQ(Fmt::percent(0.5), "1%");
    EXPECT_EQ(Fmt::percent(99.5), "100%");
    EXPECT_EQ(Fmt::percent(0.49), "0%");
    EXPECT_EQ(Fmt::percent(62.5), "63%");
    EXPECT_EQ(Fmt::percent(100), "100%");
    EXPECT_EQ(Fmt::percent(0), "0%");
}

TEST(FmtDuration, BothForms) {
    const TimePoint t0 = TimePoint{} + 1'700'000'000s;
    auto full = [&](auto d) { return Fmt::duration(t0 + d, t0, false); };
    auto cond = [&](auto d) { return Fmt::duration(t0 + d, t0, true); };
    EXPECT_EQ(full(59s), "0m");
    EXPECT_EQ(full(59min + 59s), "59m");
    EXPECT_EQ(full(60min), "1h 0m");
    EXPECT_EQ(full(3h + 7min), "3h 7m");
    EXPECT_EQ(full(23h + 59min), "23h 59m");
    EXPECT_EQ(full(24h), "1d 0h");
    EXPECT_EQ(full(24h + 5h + 59min), "1d 5h");
    EXPECT_EQ(cond(72h), "3d");
    EXPECT_EQ(full(72h), "3d 0h");
    EXPECT_EQ(cond(71h), "2d 23h");
    EXPECT_EQ(cond(71h + 59min + 59s), "2d 23h") << "seconds short of three days are not three days";
    EXPECT_EQ(cond(4 * 24h + 23h), "4d");
    EXPECT_EQ(full(-10min), "0m");
    EXPECT_EQ(cond(-10min), "0m");
    EXPECT_EQ(full(-59s), "0m");
    EXPECT_EQ(cond(3650 * 24h), "3650d") << "far-future resets still format";
}
