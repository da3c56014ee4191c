#include "providers/cursor_provider.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace ostrel;
using namespace std::chrono;
using nlohmann::json;

namespace {
UsageSnapshot parse(const std::string& text) {
    return CursorProvider::parse(json::parse(text));
}
// A summary whose plan holds `planMembers` besides a limit of 500.
std::string withPlan(const std::string& planMembers) {
    return R"({"membershipType":"pro","billingCycleEnd":"2025-02-01T00:00:00.000Z",
               "individualUsage":{"plan":{"limit":500)" +
           (planMembers.empty() ? "" : "," + planMembers) + "}}}";
}
} // namespace

TEST(CursorParse, TheBusierPoolIsShown) {
    struct Case {
        const char* members;
        const char* title;
        double percent;
    };
    const Case cases[] = {
        {R"("autoPercentUsed":20,"apiPercentUsed":35,"totalPercentUsed":90)", "API pool", 35},
        {R"("autoPercentUsed":35,"apiPercentUsed":20)", "Auto pool", 35},
        {R"("autoPercentUsed":20,"apiPercentUsed":20)", "API pool", 20},
        {R"("autoPercentUsed":130,"apiPercentUsed":-5)", "Auto pool", 130},
        {R"("autoPercentUsed":true,"apiPercentUsed":0)", "Auto pool", 1},
        // One pool unknown: the plan's total.
        {R"("autoPercentUsed":20,"totalPercentUsed":42)", "Included usage", 42},
        {R"("autoPercentUsed":"60","apiPercentUsed":35,"totalPercentUsed":42)", "Included usage", 42},
        {"", "Included usage", 0},
    };
    for (const Case& c : cases) {
        const auto s = parse(withPlan(c.members));
        ASSERT_TRUE(s.main) << c.members;
        EXPECT_EQ(*s.main, (UsageLimit{"monthly", c.title, c.percent, sys_days(year(2025) / 2 / 1)}))
            << c.members;
        EXPECT_FALSE(s.mainNotStarted);
        EXPECT_TRUE(s.others.empty());
        EXPECT_FALSE(s.message);
    }
}

TEST(CursorParse, BillingCycleEnd) {
    const auto at = [](const std::string& end) {
        return parse(R"({"billingCycleEnd":)" + end + R"(,"individualUsage":{"plan":{"limit":1}}})")
            .main->resetsAt;
    };
    EXPECT_EQ(at(R"("2025-02-01T10:00:00.123456+02:00")"),
              sys_days(year(2025) / 2 / 1) + hours(8) + milliseconds(123));
    EXPECT_FALSE(at(R"("next month")"));
    EXPECT_FALSE(at("1738368000")) << "only text dates are read";
    EXPECT_FALSE(parse(R"({"individualUsage":{"plan":{"limit":1}}})").main->resetsAt);
}

TEST(CursorParse, NoAllowanceGivesThePlanMessage) {
    for (const char* text :
         {R"({"membershipType":"free","individualUsage":{"plan":{"limit":0,
                                                         "totalPercentUsed":10}}})",
          R"({"membershipType":"free","individualUsage":{"plan":{"limit":"500"}}})",
          R"({"membershipType":"free","individualUsage":{"plan":[]}})", R"({"membershipType":"free"})"}) {
        const auto s = parse(text);
        EXPECT_FALSE(s.main) << text;
        EXPECT_EQ(s.message, "Free plan: no included usage to track") << text;
    }
    for (const char* text :
         {"{}", R"({"membershipType":"pro","individualUsage":{"plan":{"limit":-1}}})",
          R"({"membershipType":"Free","individualUsage":"none"})", R"({"isUnlimited":1,"membershipType":7})"})
        EXPECT_EQ(parse(text).message, "No included usage on this plan") << text;
    // A Boolean limit is a number like any other: true is 1, an allowance.
    EXPECT_TRUE(parse(R"({"individualUsage":{"plan":{"limit":true}}})").main);
}

TEST(CursorParse, UnlimitedWinsOverEverything) {
    const auto s = parse(R"({"isUnlimited":true,"membershipType":"free",
        "individualUsage":{"plan":{"limit":500,"totalPercentUsed":50},"onDemand":{"enabled":true,"used":10}}})");
    EXPECT_EQ(s, (UsageSnapshot{std::nullopt, false, {}, std::nullopt, "Unlimited plan: nothing to track"}));
    EXPECT_TRUE(parse(withPlan("")).main) << "isUnlimited absent";
    EXPECT_TRUE(parse(R"({"isUnlimited":false,"individualUsage":{"plan":{"limit":5}}})").main);
}

TEST(CursorParse, OnDemandNote) {
    const auto note = [](const std::string& onDemand) {
        return parse(R"({"individualUsage":{"plan":{"limit":500},"onDemand":)" + onDemand + "}}").note;
    };
    EXPECT_EQ(note(R"({"enabled":true,"used":1234})"), "$12.34 on-demand this cycle");
    EXPECT_EQ(note(R"({"enabled":true,"used":5})"), "$0.05 on-demand this cycle");
    EXPECT_FALSE(note(R"({"enabled":true,"used":0})"));
    EXPECT_FALSE(note(R"({"enabled":false,"used":500})"));
    EXPECT_FALSE(note(R"({"enabled":1,"used":500})")) << "enabled must be a real Boolean";
    EXPECT_FALSE(note(R"({"enabled":true,"used":"500"})"));
    // Without an allowance there is no limit to attach the note to.
    EXPECT_FALSE(
        parse(R"({"individualUsage":{"plan":{"limit":0},"onDemand":{"enabled":true,"used":5}}})").note);
}
