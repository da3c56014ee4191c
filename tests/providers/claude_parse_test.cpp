#include "providers/claude_provider.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace ostrel;
using namespace std::chrono;
using nlohmann::json;

namespace {

const TimePoint now = sys_days(year(2025) / 1 / 1) + hours(8);

UsageSnapshot snapshot(std::optional<UsageLimit> main, bool notStarted, std::vector<UsageLimit> others = {}) {
    return {std::move(main), notStarted, std::move(others), std::nullopt, std::nullopt};
}

} // namespace

TEST(ClaudeParse, Answers) {
    const UsageLimit placeholder{"session", "5-Hour Session", 0, std::nullopt};
    const UsageLimit weekly{"weekly_all", "Weekly Limit", 10, std::nullopt};
    const std::pair<const char*, UsageSnapshot> cases[] = {
        // The current format: the first session entry is the main limit; a second one is dropped,
        // unreadable entries are skipped, and an entry's group (else its kind) names it.
        {R"({"limits":[
            {"kind":"session","percent":12,"resets_at":"2025-01-01T10:00:00.123456Z"},
            {"kind":"weekly_all","group":"weekly","percent":40},
            {"kind":"weekly_scoped","scope":"opus","group":"weekly","percent":5},
            {"kind":"weekly_scoped","scope":"sonnet","group":"other","percent":6},
            {"kind":"extra_usage","percent":7}, {"kind":"session","percent":99}, {"kind":"no_percent"},
            {"kind":"text_percent","percent":"50"}, {"percent":3}]})",
         snapshot(UsageLimit{"session", "5-Hour Session", 12, now + hours(2) + milliseconds(123)}, false,
                  {{"weekly_all", "Weekly Limit", 40, std::nullopt},
                   {"weekly_scoped:opus", "Weekly Opus", 5, std::nullopt},
                   {"weekly_scoped:sonnet", "Sonnet", 6, std::nullopt},
                   {"extra_usage", "Extra Usage", 7, std::nullopt}})},
        // A session that is over, unused without a reset time, or absent has not started.
        {R"({"limits":[{"kind":"session","percent":30,"resets_at":"2025-01-01T08:00:00Z"},
                       {"kind":"weekly_all","group":"weekly","percent":10}]})",
         snapshot(placeholder, true, {weekly})},
        {R"({"limits":[{"kind":"session","percent":0}]})", snapshot(placeholder, true)},
        {R"({"limits":[{"kind":"weekly_all","group":"weekly","percent":10}]})",
         snapshot(placeholder, true, {weekly})},
        // Used but with no reset time: it has started.
        {R"({"limits":[{"kind":"session","percent":1}]})",
         snapshot(UsageLimit{"session", "5-Hour Session", 1, std::nullopt}, false)},
        // Odd numbers pass through unchanged; a Boolean counts as a number.
        {R"({"limits":[{"kind":"session","percent":1e308},{"kind":"weekly_all","percent":-20},
                       {"kind":"x","percent":true}]})",
         snapshot(UsageLimit{"session", "5-Hour Session", 1e308, std::nullopt}, false,
                  {{"weekly_all", "Weekly Limit", -20, std::nullopt}, {"x", "X", 1, std::nullopt}})},
        // The earlier format.
        {R"({"five_hour":{"utilization":40},
             "seven_day":{"utilization":75,"resets_at":"2025-01-03T00:00:00Z"}})",
         snapshot(UsageLimit{"session", "5-Hour Session", 40, std::nullopt}, false,
                  {{"weekly_all", "Weekly Limit", 75, sys_days(year(2025) / 1 / 3)}})},
        // An unusable list falls back to the earlier format.
        {R"({"limits":[],"five_hour":{"utilization":40}})",
         snapshot(UsageLimit{"session", "5-Hour Session", 40, std::nullopt}, false)},
        {R"({"limits":[{"kind":"session","percent":5},3],"five_hour":{"utilization":40}})",
         snapshot(UsageLimit{"session", "5-Hour Session", 40, std::nullopt}, false)},
        {R"({"limits":"none","five_hour":{"utilization":40}})",
         snapshot(UsageLimit{"session", "5-Hour Session", 40, std::nullopt}, false)},
        {"{}", UsageSnapshot{}},
        {R"({"five_hour":{"utilization":"40"},"seven_day":7})", UsageSnapshot{}},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(ClaudeProvider::parse(json::parse(text), now), expected) << text;
}
