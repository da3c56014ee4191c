#include "providers/codex_provider.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>

using namespace ostrel;
using namespace std::chrono;
using nlohmann::json;

namespace {
const TimePoint now = sys_days(year(2025) / 1 / 1) + hours(8);

CodexProvider::WindowInfo window(const json& value, const std::string& id = "primary") {
    auto w = CodexProvider::window(value, id, now);
    if (!w) throw std::runtime_error("no window");
    return *w;
}
} // namespace

TEST(CodexParse, Answers) {
    const auto message = [](const char* text) {
        return UsageSnapshot{std::nullopt, false, {}, std::nullopt, text};
    };
    const std::pair<const char*, UsageSnapshot> cases[] = {
        // The primary window is the main limit, the secondary one the other, shown as read even
        // though it has not started.
        {R"({"plan_type":"plus","rate_limit":{
            "primary_window":{"used_percent":30,"limit_window_seconds":18000,"reset_after_seconds":3600},
            "secondary_window":{"used_percent":0,"limit_window_seconds":604800,"reset_after_seconds":604800}}})",
         {UsageLimit{"primary", "5-Hour Session", 30, now + hours(1)},
          false,
          {{"secondary", "Weekly Limit", 0, now + days(7)}},
          std::nullopt,
          std::nullopt}},
        // No window length: named by its id.
        {R"({"rate_limit":{"primary_window":"none","secondary_window":{"used_percent":12,"reset_after_seconds":60}}})",
         {UsageLimit{"secondary", "Weekly Limit", 12, now + seconds(60)},
          false,
          {},
          std::nullopt,
          std::nullopt}},
        // A window not started shows as the placeholder, keeping its title.
        {R"({"rate_limit":{"primary_window":
            {"used_percent":80,"limit_window_seconds":604800,"reset_at":"2025-01-01T08:00:00Z"}}})",
         {UsageLimit{"primary", "Weekly Limit", 0, std::nullopt}, true, {}, std::nullopt, std::nullopt}},
        // No windows: the plan's message.
        {R"({"plan_type":"free","rate_limit":null})", message("Free plan: no Codex usage to track")},
        {R"({"plan_type":"plus"})", message("No Codex usage limits on this account")},
        {R"({"plan_type":"FREE","rate_limit":{}})", message("No Codex usage limits on this account")},
        {R"({"rate_limit":{"primary_window":{"used_percent":"30"}}})",
         message("No Codex usage limits on this account")},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(CodexProvider::parse(json::parse(text), now), expected) << text;
}

TEST(CodexParse, ResetTimeAndNotStarted) {
    const TimePoint at = sys_days(year(2025) / 1 / 1) + hours(10) + milliseconds(123);
    struct Case {
        const char* window;
        std::optional<TimePoint> resetsAt;
        bool notStarted;
    };
    const Case cases[] = {
        {R"({"used_percent":5,"reset_at":1735725600.123})", at, false},
        {R"({"used_percent":5,"reset_at":1735725600123})", at, false}, // in milliseconds
        {R"({"used_percent":5,"reset_at":"2025-01-01T10:00:00.123987Z"})", at, false},
        // "reset_at" wins over the seconds to go.
        {R"({"used_percent":5,"reset_at":1735725600.123,"reset_after_seconds":5})", at, false},
        // Unreadable text is no reset time at all; it does not fall back to the seconds to go.
        {R"({"used_percent":5,"reset_at":"soon","reset_after_seconds":60})", std::nullopt, false},
        // A "reset_at" of another kind is no "reset_at".
        {R"({"used_percent":5,"reset_at":{},"reset_after_seconds":60})", now + seconds(60), false},
        // Nothing used and the whole window still ahead (within a minute of its length): not started.
        {R"({"used_percent":0,"limit_window_seconds":18000,"reset_after_seconds":17941})",
         now + seconds(17940), true},
        // Nothing used but part of the window gone: it runs, at 0.
        {R"({"used_percent":0,"limit_window_seconds":18000,"reset_after_seconds":17939})",
         now + seconds(17940), false},
        // A reset time at or before now: over, so not started.
        {R"({"used_percent":80,"reset_at":"2025-01-01T08:00:00Z"})", now, true},
        // Seconds to go that no time point holds cannot make a window with a reset time ahead count
        // as not started.
        {R"({"used_percent":0,"limit_window_seconds":18000,"reset_after_seconds":1e300,
             "reset_at":"2025-01-01T09:00:00Z"})",
         now + hours(1), false},
        // No reset time: started exactly when something was used.
        {R"({"used_percent":0})", std::nullopt, true},
        {R"({"used_percent":0.5})", std::nullopt, false},
    };
    for (const Case& c : cases) {
        const auto w = window(json::parse(c.window));
        EXPECT_EQ(w.limit.resetsAt, c.resetsAt) << c.window;
        EXPECT_EQ(w.notStarted, c.notStarted) << c.window;
    }
}

// The seconds to go count down while the answer travels: answers a poll apart, arriving after
// different delays, name one reset time, so an unchanged limit does not read as changed.
TEST(CodexParse, ResetTimeFromSecondsToGoDoesNotMoveWithTheAnswersDelay) {
    const json early = {{"used_percent", 5}, {"reset_after_seconds", 3600}};
    const json late = {{"used_percent", 5}, {"reset_after_seconds", 3599}};
    const auto at = [](const json& w, milliseconds arrived) {
        return CodexProvider::window(w, "primary", now + arrived)->limit.resetsAt;
    };
    const auto expected = at(early, milliseconds(0)).value();
    EXPECT_EQ(at(early, milliseconds(400)), expected);
    EXPECT_EQ(at(late, milliseconds(1700)), expected);
    EXPECT_EQ(at(late, milliseconds(60000 + 900)), expected + minutes(1)) << "a minute later is later";
}

TEST(CodexParse, TitlesByWindowLength) {
    const std::pair<double, const char*> cases[] = {
        {5 * 3600, "5-Hour Session"},   {5.4 * 3600, "5-Hour Session"}, {168 * 3600, "Weekly Limit"},
        {167.5 * 3600, "Weekly Limit"}, {672 * 3600, "Monthly Limit"},  {744 * 3600, "Monthly Limit"},
        {745 * 3600, "31-Day Limit"},   {671 * 3600, "27-Day Limit"},   {72 * 3600, "3-Day Limit"},
        {60 * 3600, "2-Day Limit"},     {48 * 3600, "2-Day Limit"},     {47 * 3600, "47-Hour Limit"},
        {3600, "1-Hour Limit"},         {1800, "1-Hour Limit"},         {1799, "0-Hour Limit"}};
    for (const auto& [windowSeconds, title] : cases)
        EXPECT_EQ(CodexProvider::title(windowSeconds), title) << windowSeconds;
    // Lengths a window never passes in do not crash either.
    for (double odd : {std::nan(""), std::numeric_limits<double>::infinity(), -1e300, 1e300})
        EXPECT_FALSE(CodexProvider::title(odd).empty());
}

TEST(CodexParse, UnusableNumbersCountAsAbsent) {
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::nan("");
    // Window lengths that cannot be a length: titled by the id, and not in the not-started rule.
    for (double bad : {-18000.0, 1e300, inf, -inf, nan}) {
        json w = {{"used_percent", 0}, {"limit_window_seconds", bad}, {"reset_after_seconds", 3600}};
        const auto info = window(w, "secondary");
        EXPECT_EQ(info.limit.title, "Weekly Limit") << bad;
        EXPECT_FALSE(info.notStarted) << bad;
        EXPECT_EQ(info.limit.resetsAt, now + hours(1)) << bad;
    }
    // Moments a time point cannot hold: "reset_at" falls back to the seconds to go, which in turn
    // count as absent themselves.
    for (double bad : {1e300, -1e300, 9.3e9, inf, nan}) {
        json at = {{"used_percent", 3}, {"reset_at", bad}, {"reset_after_seconds", 60}};
        EXPECT_EQ(window(at).limit.resetsAt, now + seconds(60)) << bad;
        json afterOnly = {{"used_percent", 0}, {"limit_window_seconds", 0}, {"reset_after_seconds", bad}};
        const auto info = window(afterOnly);
        EXPECT_FALSE(info.limit.resetsAt) << bad;
        EXPECT_TRUE(info.notStarted) << bad;
    }
}
