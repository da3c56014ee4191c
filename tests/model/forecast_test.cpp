// The pace forecast on recorded series: each row is a series of (minute, percent used, reset in
// minutes) readings as the history stores them, and what the panel should say at the end.
#include "model/forecast.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace std::chrono_literals;

struct Point {
    int minute;
    double used;
    int resetMinute; // minutes from the series' start to the reset
};

struct Case {
    const char* name;
    std::vector<Point> series;
    int nowMinute;
    std::string expected; // "" when nothing should be said
    bool warns = false;
};

const TimePoint t0 = TimePoint(std::chrono::seconds(1'800'000'000));

std::vector<UsageReading> readings(const std::vector<Point>& series) {
    std::vector<UsageReading> out;
    for (const Point& p : series)
        out.push_back({ProviderID::claude, "session", "Session", p.used, t0 + p.resetMinute * 1min,
                       t0 + p.minute * 1min});
    return out;
}

// Steady use: one point every five minutes.
std::vector<Point> steady(int from, int to, double startUsed, double perMinute, int reset) {
    std::vector<Point> out;
    for (int m = from; m <= to; m += 5)
        out.push_back({m, startUsed + perMinute * (m - from), reset});
    return out;
}

std::vector<Point> concat(std::vector<Point> a, const std::vector<Point>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// Noise of a few points, including one wild reading, around 0.5 % a minute.
std::vector<Point> noisy() {
    const int minutes[] = {0, 5, 10, 15, 20, 25, 26, 30, 35, 40};
    const double used[] = {40, 44, 43, 49, 49, 80, 52, 55, 56, 61};
    std::vector<Point> out;
    for (int i = 0; i < 10; ++i)
        out.push_back({minutes[i], used[i], 300});
    return out;
}

TEST(Forecast, RecordedSeries) {
    // 0.5 % a minute from 40 % used: 60 % left at minute 0 of the fit... reaches 100 % at minute 80.
    const std::vector<Case> cases = {
        {"steady use runs out well before the reset", steady(0, 40, 40, 0.5, 300), 40,
         "At this pace: runs out in 1h 20m, 3h 0m before the reset", true},
        {"steady slow use lasts", steady(0, 60, 10, 0.1, 120), 60, "At this pace: lasts until the reset"},
        {"too short a span says nothing", steady(0, 5, 10, 1, 300), 5, ""},
        // A burst then forty minutes without change: the recent pace is nil.
        {"burst then idle says nothing", concat(steady(0, 10, 10, 3, 300), {{12, 45, 300}}), 52, ""},
        // Fast use before the reset; in the new window only two readings so far.
        {"reset in the middle starts over", concat(steady(0, 40, 40, 1, 45), {{50, 2, 345}, {55, 4, 345}}),
         55, ""},
        {"after a reset only the new window counts",
         concat(steady(0, 40, 40, 1, 45), steady(50, 90, 0, 0.05, 345)), 90,
         "At this pace: lasts until the reset"},
        {"noisy readings keep the pace", noisy(), 40,
         "At this pace: runs out in 1h 30m, 2h 49m before the reset", true},
        {"close to the reset does not warn", steady(0, 40, 40, 0.5, 140), 40,
         "At this pace: runs out in 1h 20m, 20m before the reset"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const TimePoint now = t0 + c.nowMinute * 1min;
        const auto f = paceForecast(readings(c.series), now);
        EXPECT_EQ(f ? paceText(*f, now) : "", c.expected);
        EXPECT_EQ(f && warrantsPaceWarning(*f, now), c.warns);
    }
}

} // namespace
} // namespace ostrel
