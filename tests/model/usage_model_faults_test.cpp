// SPDX-License-Identifier: GPL-3.0-or-later
// The model when a service's engine misbehaves: one that stops answering turns stale without
// holding up the others, and a log-out the store could not carry out is not reported as done.
#include "base/log.h"
#include "model/status_json.h"
#include "model/time_format.h"
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

TEST(UsageModelFaults, AServiceThatHangsTurnsStaleAndHoldsUpNobodyElse) {
    ScriptedModel m;
    ScopedLogSink sink([](const std::string&) {});
    for (ProviderID id : allProviders)
        m.answer(id, ScriptedModel::snapshot(m.limit("session", 30, 5h)));
    m.model->start(); // the first pass runs at once
    for (ProviderID id : allProviders)
        ASSERT_TRUE(m.model->isLoggedIn(id));
    const TimePoint fetched = *m.model->state(claude).lastUpdated;

    // Claude's engine stops answering; two poll intervals on, its numbers are no longer current.
    m.provider(claude).gate = std::make_shared<AsyncEvent>();
    m.clock.advance(60s);
    EXPECT_FALSE(m.model->isStale(claude, m.model->now())) << "one missed poll is not yet stale";
    m.clock.advance(60s);
    m.clock.advance(60s);
    EXPECT_EQ(m.provider(cursor).fetches, 4) << "the others are polled all along";
    EXPECT_EQ(m.provider(codex).fetches, 4);
    EXPECT_EQ(m.provider(claude).fetches, 2) << "and the hanging one is not asked twice at once";
    const std::string notResponding = "Not responding · showing numbers from " + shortTime(fetched);
    EXPECT_EQ(m.model->state(claude).status, notResponding);
    const json status = json::parse(statusJson(*m.model, nullptr, m.model->now()));
    EXPECT_EQ(status["services"][0]["stale"], true);
    EXPECT_EQ(status["services"][0]["status"], notResponding);
    EXPECT_EQ(status["services"][1]["stale"], false);
    EXPECT_EQ(status["services"][1]["status"].get<std::string>().rfind("Updated ", 0), 0u);

    // Its answer at last: current again.
    m.provider(claude).gate->set();
    ASSERT_TRUE(runLoopUntil([&] { return !m.model->isRefreshing(); }, 5s));
    EXPECT_FALSE(m.model->isStale(claude, m.model->now()));
    EXPECT_EQ(m.model->state(claude).status.rfind("Updated ", 0), 0u) << m.model->state(claude).status;
}

TEST(UsageModelFaults, ALogOutTheStoreRefusedSaysSoAndKeepsTheLogin) {
    ScriptedModel m;
    ScopedLogSink sink([](const std::string&) {});
    m.succeed(claude, ScriptedModel::snapshot(m.limit("session", 30, 5h)));
    m.provider(claude).web_.logOutFailure = "Could not remove the stored site data";
    runSync(m.model->logOut(claude), 5s);
    const ProviderState s = m.model->state(claude);
    EXPECT_EQ(s.status, "Log-out failed: Could not remove the stored site data.");
    EXPECT_TRUE(m.model->isLoggedIn(claude)) << "the login is most likely still stored";
    EXPECT_EQ(m.provider(claude).resets, 0);

    m.model->switchAccount(claude);
    ASSERT_TRUE(runLoopUntil([&] { return m.provider(claude).web_.logOuts == 2; }, 5s));
    test::drain();
    EXPECT_TRUE(m.login.shown.empty()) << "no login page over the login that is still there";
}

} // namespace
} // namespace ostrel
