// The status for bars and scripts: its shape and values for a logged-in service with a forecast,
// one that needs a login, one showing stale numbers after an error, and one that failed before
// any numbers came.
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

TEST(StatusJson, DescribesEveryActiveServiceInOrder) {
    ScriptedModel m;
    ScopedLogSink sink([](const std::string&) {});
    UsageHistory history(*m.model, m.dir.file("history.sqlite"));
    const TimePoint reset = m.clock.now() + 5h;
    for (int minute = 0; minute <= 20; minute += 2) {
        m.succeed(ProviderID::claude,
                  ScriptedModel::snapshot(UsageLimit{"session", "Session", 37.0 + minute, reset},
                                          {m.limit("weekly", 12.5)}));
        m.clock.advance(2min);
    }
    m.succeed(ProviderID::codex, ScriptedModel::snapshot(m.limit("5h", 20, 2h)));
    m.fail(ProviderID::codex, std::runtime_error("timed out"));
    m.fail(ProviderID::cursor, ProviderError::needsLogin());

    const json j = json::parse(statusJson(*m.model, &history, m.clock.now()));
    ASSERT_EQ(j["services"].size(), 3u);
    const json& claude = j["services"][0];
    EXPECT_EQ(claude["id"], "claude");
    EXPECT_EQ(claude["name"], "Claude");
    EXPECT_DOUBLE_EQ(claude["percentLeft"].get<double>(), 43.0);
    EXPECT_EQ(claude["level"], "medium");
    EXPECT_EQ(claude["resetsAt"], isoTime(reset));
    ASSERT_TRUE(claude["runsOutAt"].is_string());
    EXPECT_EQ(claude["runsOutAt"], isoTime(history.forecast(ProviderID::claude)->runsOutAt));
    EXPECT_EQ(claude["needsLogin"], false);
    EXPECT_EQ(claude["stale"], false);
    EXPECT_EQ(claude["status"].get<std::string>().rfind("Updated ", 0), 0u);
    EXPECT_EQ(claude["others"],
              json::parse(R"([{"id":"weekly","title":"weekly","percentLeft":87.5,"resetsAt":null}])"));

    const json& cursor = j["services"][1];
    EXPECT_EQ(cursor["id"], "cursor");
    EXPECT_TRUE(cursor["percentLeft"].is_null());
    EXPECT_TRUE(cursor["resetsAt"].is_null());
    EXPECT_EQ(cursor["needsLogin"], true);
    EXPECT_EQ(cursor["status"], "Not logged in. Click Log in to Cursor.");

    const json& codex = j["services"][2];
    EXPECT_DOUBLE_EQ(codex["percentLeft"].get<double>(), 80.0);
    EXPECT_EQ(codex["level"], "veryHigh");
    EXPECT_EQ(codex["stale"], true);
    EXPECT_TRUE(codex["runsOutAt"].is_null());
    EXPECT_EQ(codex["status"], "Error: timed out. Showing last known numbers.");
    EXPECT_EQ(j["updatedAt"], isoTime(m.clock.now()));

    // The bar line: the lowest service sets class and percentage; the forecast joins the tooltip.
    const json bar = json::parse(waybarJson(*m.model, &history));
    EXPECT_EQ(bar["class"], "medium");
    EXPECT_EQ(bar["percentage"], 43);
    EXPECT_EQ(bar["text"], "Claude 43% · 5h 0m  Codex 80%");
    const std::string tooltip = bar["tooltip"];
    EXPECT_EQ(tooltip.rfind(m.model->trayAccessibilityText() + "\nClaude: At this pace: runs out in ", 0), 0u)
        << tooltip;

    // Disabled services leave the document; an error before any numbers is not stale.
    m.settings.setProviderEnabled(ProviderID::claude, false);
    test::drain();
    m.fail(ProviderID::cursor, std::runtime_error("offline"));
    const json k = json::parse(statusJson(*m.model, &history, m.clock.now()));
    ASSERT_EQ(k["services"].size(), 2u);
    EXPECT_EQ(k["services"][0]["id"], "cursor");
    EXPECT_EQ(k["services"][0]["stale"], false);
}

TEST(StatusJson, NothingLoggedInReadsAsPlainOstrel) {
    ScriptedModel m;
    const json bar = json::parse(waybarJson(*m.model, nullptr));
    EXPECT_EQ(bar, json::parse(R"({"text":"Ostrel","tooltip":"Ostrel","class":"none"})"));
}

} // namespace
} // namespace ostrel
