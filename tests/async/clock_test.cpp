#include "support/manual_clock.h"

#include <gtest/gtest.h>
#include <vector>

using namespace ostrel;
using namespace std::chrono_literals;

namespace {
using Woken = std::vector<std::pair<int, long long>>;

Task<void> sleeper(ManualClock& clock, Woken& woke, int id, std::chrono::milliseconds d) {
    co_await clock.sleep(d);
    woke.emplace_back(
        id, std::chrono::duration_cast<std::chrono::seconds>(clock.now().time_since_epoch()).count());
}
} // namespace

TEST(ManualClock, WakesSleepersInTimeOrderAndOnlyWhenDue) {
    ManualClock clock(TimePoint{} + 1000s);
    Woken woke;
    spawn(sleeper(clock, woke, 1, 60s));
    spawn(sleeper(clock, woke, 2, 30s));
    clock.advance(29s);
    EXPECT_TRUE(woke.empty());
    clock.advance(2s);
    ASSERT_EQ(woke.size(), 1u);
    EXPECT_EQ(woke[0], std::make_pair(2, 1030LL)) << "a sleeper sees the time it asked for";
    clock.advance(100s);
    ASSERT_EQ(woke.size(), 2u);
    EXPECT_EQ(woke[1], std::make_pair(1, 1060LL));
    EXPECT_EQ(clock.now(), TimePoint{} + 1131s);
}

TEST(ManualClock, ALoopThatSleepsAgainIsWokenRepeatedlyWithinOneAdvance) {
    ManualClock clock(TimePoint{});
    int passes = 0;
    spawn([](ManualClock& c, int& n) -> Task<void> {
        for (;;) {
            ++n;
            co_await c.sleep(60s);
        }
    }(clock, passes));
    EXPECT_EQ(passes, 1);
    clock.advance(std::chrono::minutes(10));
    EXPECT_EQ(passes, 11);
    EXPECT_EQ(clock.sleepers(), 1u);
}
