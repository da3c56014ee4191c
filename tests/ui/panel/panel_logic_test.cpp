// The panel's rules without a display: spring motion, where the window goes and what the history
// chart says to a screen reader. The screens, the
// service choice, the pictures and the theme preview are tested through the widgets that use them.

#include "ui/panel/panel_placement.h"
#include "ui/panel/panel_rules.h"
#include "ui/panel/spring.h"

#include <gtest/gtest.h>

using namespace ostrel;

TEST(Spring, StartsWhereReleasedComesToRestAtTheTargetAndMovesAtItsOwnSlope) {
    const SpringParams p; // response 0.2 s, damping 0.85
    const SpringSample start = springAt(p, 10, 50, 110, 0);
    EXPECT_DOUBLE_EQ(start.value, 10);
    EXPECT_DOUBLE_EQ(start.velocity, 50);
    EXPECT_NEAR(springAt(p, 10, 0, 110, 0.6).value, 110, 0.1);
    EXPECT_NEAR(springAt(p, 10, 0, 110, -1).value, 10, 1e-9) << "a time before release is the release";

    // Slightly under-damped: a small overshoot, no visible wobble.
    double peak = 0;
    for (double t = 0; t < 1; t += 0.005)
        peak = std::max(peak, springAt(p, 0, 0, 100, t).value);
    EXPECT_GT(peak, 100);
    EXPECT_LT(peak, 101);

    // For every damping, the velocity is the derivative of the position.
    for (double damping : {0.5, 0.85, 1.0, 1.6}) {
        const SpringParams q{0.2, damping};
        for (double t : {0.01, 0.05, 0.12, 0.3}) {
            const double h = 1e-6;
            const double slope =
                (springAt(q, 0, 30, 100, t + h).value - springAt(q, 0, 30, 100, t - h).value) / (2 * h);
            EXPECT_NEAR(springAt(q, 0, 30, 100, t).velocity, slope, 1e-3 * std::max(1.0, std::abs(slope)))
                << "damping " << damping << " at " << t;
        }
        EXPECT_NEAR(springAt(q, 0, 30, 100, 2).value, 100, 0.01) << "damping " << damping;
    }
}

TEST(Spring, RetargetingMidFlightKeepsPositionAndSpeed) {
    Spring s;
    s.jumpTo(0);
    EXPECT_TRUE(s.settled(0));
    s.retarget(100, 1.0);
    EXPECT_FALSE(s.settled(1.0));
    const SpringSample before = s.sample(1.05);
    EXPECT_GT(before.value, 0);
    EXPECT_LT(before.value, 100);
    s.retarget(40, 1.05);
    const SpringSample after = s.sample(1.05);
    EXPECT_NEAR(after.value, before.value, 1e-9);
    EXPECT_NEAR(after.velocity, before.velocity, 1e-9);
    EXPECT_TRUE(s.settled(2.0));
    EXPECT_NEAR(s.value(2.0), 40, 0.25);
}

TEST(PanelPlacement, UnderTheClickInsideTheWorkArea) {
    const ScreenRect area{0, 28, 1280, 996}; // a 28-pixel bar at the top
    EXPECT_EQ(placePanel({640, 10}, 300, 400, area), (ScreenPoint{490, 28})) << "centred, below the bar";
    EXPECT_EQ(placePanel({640, 40}, 300, 400, area), (ScreenPoint{490, 44}));
    EXPECT_EQ(placePanel({1270, 10}, 300, 400, area), (ScreenPoint{980, 28})) << "kept off the right edge";
    EXPECT_EQ(placePanel({5, 10}, 300, 400, area), (ScreenPoint{0, 28}));

    const ScreenRect belowBar{0, 0, 1280, 990}; // a bar at the bottom
    EXPECT_EQ(placePanel({640, 1010}, 300, 400, belowBar), (ScreenPoint{490, 590})) << "above the bar";
    EXPECT_EQ(placePanel({640, 1010}, 300, 1200, belowBar), (ScreenPoint{490, 0})) << "top stays visible";

    const ScreenRect second{1280, 0, 1920, 1080}; // a second monitor to the right
    EXPECT_EQ(placePanel({1290, 5}, 300, 400, second), (ScreenPoint{1280, 9}));
}

TEST(ChartSummary, SaysTheRangeTheLatestAndTheResets) {
    using namespace std::chrono_literals;
    const TimePoint t0{};
    // Readings as (percent used, reset time in hours from t0); one every six hours.
    const auto readings = [&](std::vector<std::pair<double, int>> used) {
        std::vector<UsageReading> out;
        for (std::size_t i = 0; i < used.size(); ++i)
            out.push_back({ProviderID::claude, "session", "Session", used[i].first,
                           t0 + std::chrono::hours(used[i].second), t0 + std::chrono::hours(6 * i)});
        return out;
    };
    const struct {
        std::vector<UsageReading> readings;
        std::string said;
    } rows[] = {
        {{}, "Past 7 days: no readings"},
        {readings({{40, 5}, {40, 5}}), "Past 7 days: 60% left throughout"},
        // The lowest is not the last; the range is what is left, not what is used.
        {readings({{10, 5}, {88, 5}, {71, 5}}), "Past 7 days: between 12% and 90% left, now 29% left"},
        // Usage falling back as the reset time moves on is a reset.
        {readings({{80, 5}, {5, 10}, {60, 10}, {2, 30}}),
         "Past 7 days: between 20% and 98% left, now 98% left, reset 2 times"},
        {readings({{80, 5}, {5, 10}}), "Past 7 days: between 20% and 95% left, now 95% left, reset once"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(chartSummary(row.readings), row.said);
}
