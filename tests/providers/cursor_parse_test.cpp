#include "providers/cursor_provider.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace ostrel;
using namespace std::chrono;
using nlohmann::json;

namespace {

const TimePoint cycleEnd = sys_days(year(2025) / 2 / 1);

// A summary with `top` members, and `plan` and `usage` members besides a plan limit of 500.
std::string summary(const std::string& plan, const std::string& usage = "",
                    const std::string& top = R"("billingCycleEnd":"2025-02-01T00:00:00.000Z")") {
    return "{" + top + R"(,"individualUsage":{"plan":{"limit":500)" + (plan.empty() ? "" : "," + plan) + "}" +
           (usage.empty() ? "" : "," + usage) + "}}";
}
UsageSnapshot shown(const char* title, double percent, std::optional<std::string> note = std::nullopt,
                    std::optional<TimePoint> resetsAt = cycleEnd) {
    return {UsageLimit{"monthly", title, percent, resetsAt}, false, {}, std::move(note), std::nullopt};
}
UsageSnapshot message(const char* text) {
    return {std::nullopt, false, {}, std::nullopt, text};
}

} // namespace

TEST(CursorParse, Answers) {
    const auto free = message("Free plan: no included usage to track");
    const auto none = message("No included usage on this plan");
    const std::pair<std::string, UsageSnapshot> cases[] = {
        // Two pools fill independently: the busier one is shown.
        {summary(R"("autoPercentUsed":20,"apiPercentUsed":35,"totalPercentUsed":90)"), shown("API pool", 35)},
        {summary(R"("autoPercentUsed":35,"apiPercentUsed":20)"), shown("Auto pool", 35)},
        {summary(R"("autoPercentUsed":20,"apiPercentUsed":20)"), shown("API pool", 20)},
        {summary(R"("autoPercentUsed":130,"apiPercentUsed":-5)"), shown("Auto pool", 130)},
        // One pool unknown: the plan's total.
        {summary(R"("autoPercentUsed":20,"totalPercentUsed":42)"), shown("Included usage", 42)},
        {summary(""), shown("Included usage", 0)},
        // The cycle's end, read only from text.
        {summary("", "", R"("billingCycleEnd":"next month")"),
         shown("Included usage", 0, std::nullopt, std::nullopt)},
        {summary("", "", R"("billingCycleEnd":1738368000)"),
         shown("Included usage", 0, std::nullopt, std::nullopt)},
        // Money spent beyond the allowance, when on-demand use is really on.
        {summary("", R"("onDemand":{"enabled":true,"used":1234})"),
         shown("Included usage", 0, "$12.34 on-demand this cycle")},
        {summary("", R"("onDemand":{"enabled":true,"used":0})"), shown("Included usage", 0)},
        {summary("", R"("onDemand":{"enabled":false,"used":500})"), shown("Included usage", 0)},
        {summary("", R"("onDemand":{"enabled":1,"used":500})"), shown("Included usage", 0)},
        {summary("", R"("onDemand":{"enabled":true,"used":"500"})"), shown("Included usage", 0)},
        // No allowance: the plan's message, and no note without a limit to attach it to.
        {R"({"membershipType":"free","individualUsage":{"plan":{"limit":0,"totalPercentUsed":10}}})", free},
        {R"({"membershipType":"free","individualUsage":{"plan":{"limit":"500"}}})", free},
        {R"({"membershipType":"free","individualUsage":{"plan":[]}})", free},
        {R"({"membershipType":"free"})", free},
        {"{}", none},
        {R"({"membershipType":"Free","individualUsage":"none"})", none},
        {R"({"isUnlimited":1,"membershipType":7})", none},
        {R"({"individualUsage":{"plan":{"limit":0},"onDemand":{"enabled":true,"used":5}}})", none},
        // A Boolean limit is a number like any other: true is 1, an allowance.
        {R"({"individualUsage":{"plan":{"limit":true}}})",
         shown("Included usage", 0, std::nullopt, std::nullopt)},
        // Unlimited wins over everything.
        {summary(R"("totalPercentUsed":50)", R"("onDemand":{"enabled":true,"used":10})",
                 R"("isUnlimited":true,"membershipType":"free")"),
         message("Unlimited plan: nothing to track")},
        {summary("", "", R"("isUnlimited":false)"), shown("Included usage", 0, std::nullopt, std::nullopt)},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(CursorProvider::parse(json::parse(text)), expected) << text;
}
