// The history following the model (a log-out keeps it, one pace warning per window) and the status
// for bars and scripts built on it: a logged-in service with a forecast, one that needs a login, one
// showing stale numbers after an error.
#include "base/log.h"
#include "model/status_json.h"
#include "model/usage_history.h"
#include "scripted_model.h"
#include "support/loop.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using test::ScriptedModel;
constexpr ProviderID claude = ProviderID::claude, cursor = ProviderID::cursor, codex = ProviderID::codex;

TEST(UsageHistory, FollowsTheModelWarnsOncePerWindowAndFeedsTheStatus) {
    ScriptedModel m;
    ScopedLogSink sink([](const std::string&) {});
    UsageHistory history(*m.model, m.dir.file("history.sqlite"));
    std::vector<std::string> warnings;
    history.onPaceWarning = [&](ProviderID, const std::string& text) { warnings.push_back(text); };
    // 1 % a minute with five hours to the reset: out in about 45 minutes, long before the reset.
    auto window = [&](TimePoint reset) {
        for (int minute = 0; minute <= 20; minute += 2) {
            m.succeed(claude, ScriptedModel::snapshot(UsageLimit{"session", "Session", 37.0 + minute, reset},
                                                      {m.limit("weekly", 12.5)}));
            m.clock.advance(2min);
        }
    };
    const TimePoint reset = m.clock.now() + 5h;
    window(reset);
    EXPECT_EQ(history.mainReadings(claude).size(), 11u);
    EXPECT_EQ(history.store().readings(claude, "weekly", TimePoint{}).size(), 1u);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].rfind("Claude: at this pace you run out in ", 0), 0u) << warnings[0];

    m.succeed(codex, ScriptedModel::snapshot(m.limit("5h", 20, 2h)));
    m.fail(codex, std::runtime_error("timed out"));
    m.fail(cursor, ProviderError::needsLogin());
    const json j = json::parse(statusJson(*m.model, &history, m.clock.now()));
    ASSERT_EQ(j["services"].size(), 3u);
    const json& c = j["services"][0];
    EXPECT_DOUBLE_EQ(c["percentLeft"].get<double>(), 43.0);
    EXPECT_EQ(c["level"], "medium");
    EXPECT_EQ(c["resetsAt"], isoTime(reset));
    EXPECT_EQ(c["runsOutAt"], isoTime(history.forecast(claude)->runsOutAt));
    EXPECT_EQ(c["stale"], false);
    EXPECT_EQ(c["others"],
              json::parse(R"([{"id":"weekly","title":"weekly","percentLeft":87.5,"resetsAt":null}])"));
    EXPECT_TRUE(j["services"][1]["percentLeft"].is_null());
    EXPECT_EQ(j["services"][1]["needsLogin"], true);
    EXPECT_EQ(j["services"][2]["stale"], true);
    EXPECT_TRUE(j["services"][2]["runsOutAt"].is_null());
    EXPECT_EQ(j["updatedAt"], isoTime(m.clock.now()));

    // The bar line: the lowest service sets class and percentage; the forecast joins the tooltip.
    const json bar = json::parse(waybarJson(*m.model, &history));
    EXPECT_EQ(bar["class"], "medium");
    EXPECT_EQ(bar["percentage"], 43);
    EXPECT_EQ(bar["text"], "Claude 43% · 5h 0m  Codex 80%");
    const std::string tooltip = bar["tooltip"];
    EXPECT_EQ(tooltip.rfind(m.model->trayAccessibilityText() + "\nClaude: At this pace: runs out in ", 0), 0u)
        << tooltip;

    // A log-out keeps the history; a new window at the same pace warns again, once.
    runSync(m.model->logOut(claude), 5s);
    EXPECT_EQ(history.store().readings(claude, "session", TimePoint{}).size(), 11u);
    window(reset + 5h);
    EXPECT_EQ(warnings.size(), 2u);
}

} // namespace
} // namespace ostrel
