#include "providers/claude_provider.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace ostrel;
using namespace std::chrono;
using nlohmann::json;

namespace {
const TimePoint now = sys_days(year(2025) / 1 / 1) + hours(8);
UsageSnapshot parse(const char* text) {
    return ClaudeProvider::parse(json::parse(text), now);
}
} // namespace

TEST(ClaudeParse, CurrentFormatSessionBecomesMainAndTheRestOthers) {
    const auto s = parse(R"({"limits":[
        {"kind":"session","percent":12,"resets_at":"2025-01-01T10:00:00.123456Z"},
        {"kind":"weekly_all","group":"weekly","percent":40},
        {"kind":"weekly_scoped","scope":"opus","group":"weekly","percent":5},
        {"kind":"weekly_scoped","scope":"sonnet","group":"other","percent":6},
        {"kind":"extra_usage","percent":7},
        {"kind":"session","percent":99},
        {"kind":"no_percent"},
        {"kind":"text_percent","percent":"50"},
        {"percent":3}]})");
    ASSERT_TRUE(s.main);
    EXPECT_FALSE(s.mainNotStarted);
    EXPECT_EQ(s.main->id, "session");
    EXPECT_EQ(s.main->title, "5-Hour Session");
    EXPECT_EQ(s.main->percentUsed, 12);
    EXPECT_EQ(s.main->resetsAt, sys_days(year(2025) / 1 / 1) + hours(10) + milliseconds(123));
    ASSERT_EQ(s.others.size(), 4u) << "a second session entry is dropped; unreadable entries are skipped";
    EXPECT_EQ(s.others[0].title, "Weekly Limit");
    EXPECT_EQ(s.others[1].id, "weekly_scoped:opus");
    EXPECT_EQ(s.others[1].title, "Weekly Opus");
    EXPECT_EQ(s.others[2].title, "Sonnet");
    EXPECT_EQ(s.others[3].id, "extra_usage");
    EXPECT_EQ(s.others[3].title, "Extra Usage") << "no group: the kind is its group";
    EXPECT_FALSE(s.note);
    EXPECT_FALSE(s.message);
}

TEST(ClaudeParse, SessionNotStartedGivesThePlaceholder) {
    for (const char* text : {R"({"limits":[{"kind":"session","percent":30,"resets_at":"2025-01-01T08:00:00Z"},
                                          {"kind":"weekly_all","group":"weekly","percent":10}]})",
                             R"({"limits":[{"kind":"session","percent":0}]})",
                             R"({"limits":[{"kind":"weekly_all","group":"weekly","percent":10}]})"}) {
        const auto s = parse(text);
        ASSERT_TRUE(s.main) << text;
        EXPECT_TRUE(s.mainNotStarted) << text;
        EXPECT_EQ(*s.main, (UsageLimit{"session", "5-Hour Session", 0, std::nullopt})) << text;
        for (const auto& o : s.others)
            EXPECT_NE(o.id, "session");
    }
    // Used but with no reset time: it has started.
    EXPECT_FALSE(parse(R"({"limits":[{"kind":"session","percent":1}]})").mainNotStarted);
}

TEST(ClaudeParse, EarlierFormat) {
    const auto s = parse(R"({"five_hour":{"utilization":40},
                             "seven_day":{"utilization":75,"resets_at":"2025-01-03T00:00:00Z"}})");
    ASSERT_TRUE(s.main);
    EXPECT_EQ(*s.main, (UsageLimit{"session", "5-Hour Session", 40, std::nullopt}));
    ASSERT_EQ(s.others.size(), 1u);
    EXPECT_EQ(s.others[0].id, "weekly_all");
    EXPECT_EQ(s.others[0].title, "Weekly Limit");
    EXPECT_EQ(s.others[0].percentUsed, 75);
    EXPECT_TRUE(s.others[0].resetsAt);
}

TEST(ClaudeParse, UnusableListsFallBackToTheEarlierFormat) {
    for (const char* text :
         {R"({"limits":[],"five_hour":{"utilization":40}})",
          R"({"limits":[{"kind":"session","percent":5},3],"five_hour":{"utilization":40}})",
          R"({"limits":"none","five_hour":{"utilization":40}})"}) {
        const auto s = parse(text);
        ASSERT_TRUE(s.main) << text;
        EXPECT_EQ(s.main->percentUsed, 40) << text;
    }
    EXPECT_EQ(parse("{}"), UsageSnapshot{});
    EXPECT_EQ(parse(R"({"five_hour":{"utilization":"40"},"seven_day":7})"), UsageSnapshot{});
}

TEST(ClaudeParse, OddNumbersPassThroughUnchanged) {
    const auto s = parse(R"({"limits":[{"kind":"session","percent":1e308},{"kind":"weekly_all","percent":-20},
                                       {"kind":"x","percent":true}]})");
    ASSERT_TRUE(s.main);
    EXPECT_EQ(s.main->percentUsed, 1e308);
    EXPECT_EQ(s.main->percentLeft(), 0);
    EXPECT_EQ(s.others[0].percentLeft(), 100);
    EXPECT_EQ(s.others[1].percentUsed, 1) << "a Boolean counts as a number";
}
