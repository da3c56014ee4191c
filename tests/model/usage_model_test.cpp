#include "base/log.h"
#include "model/refresh_rules.h"
#include "model/usage_model.h"
#include "scripted_model.h"
#include "support/log_lines.h"
#include "support/loop.h"
#include "support/test_env.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;

namespace {

class UsageModelTest : public ::testing::Test, protected ScriptedModel {
  protected:
    UsageModelTest() {
        model->changed.connect([this] { ++changes; });
    }

    static UsageSnapshot snap(std::optional<UsageLimit> main, std::vector<UsageLimit> others = {}) {
        return snapshot(std::move(main), std::move(others));
    }
    // Only Claude is tracked unless a test says otherwise, to keep the expectations short.
    void onlyClaude() {
        settings.setEnabled({ProviderID::claude}); // refreshes at once, with nothing scripted yet
        for (auto& [id, p] : scripted)
            p->fetches = 0;
    }

    // Answers the next Claude refresh with `s`; the notifications that refresh sent.
    std::vector<std::string> stepClaude(UsageSnapshot s) {
        auto* p = scripted[ProviderID::claude];
        p->script.clear();
        p->then(std::move(s));
        refresh(ProviderID::claude);
        return notifier.take();
    }

    int changes = 0;
    LogLines log; // the refresh lines, read by the tests that check them
};

} // namespace

TEST_F(UsageModelTest, PollRunsAtOnceThenEveryMinuteAndLogsEachRefresh) {
    scripted[ProviderID::claude]->then(snap(limit("session", 30, 2h)));
    scripted[ProviderID::cursor]->then(snap(std::nullopt));
    scripted[ProviderID::codex]->thenThrow(ProviderError::http(500, "chatgpt.test"));
    model->start();
    EXPECT_EQ(log.take(),
              (std::vector<std::string>{"[Ostrel] Refreshing Claude…", "[Ostrel] Claude OK, main: 70% left",
                                        "[Ostrel] Refreshing Cursor…", "[Ostrel] Cursor OK, main: none",
                                        "[Ostrel] Refreshing Codex…",
                                        "[Ostrel] Codex error: HTTP 500 from chatgpt.test"}));
    EXPECT_EQ(changes, 3) << "one published change per refresh";
    EXPECT_EQ(model->state(ProviderID::claude).status.rfind("Updated ", 0), 0u);
    EXPECT_EQ(model->state(ProviderID::cursor).status, "No usage data in the response");
    EXPECT_EQ(model->state(ProviderID::codex).status, "Error: HTTP 500 from chatgpt.test.");

    clock.advance(59s);
    EXPECT_EQ(scripted[ProviderID::claude]->fetches, 1);
    clock.advance(1s);
    EXPECT_EQ(scripted[ProviderID::claude]->fetches, 2);
    clock.advance(10min);
    EXPECT_EQ(scripted[ProviderID::claude]->fetches, 12);
    EXPECT_EQ(scripted[ProviderID::codex]->fetches, 12) << "failures never stop the cycle";
}

TEST_F(UsageModelTest, OneFetchPerServiceAtATimeAndCallersJoinIt) {
    auto* claude = scripted[ProviderID::claude];
    claude->then(snap(limit("session", 10)));
    claude->gate = std::make_shared<AsyncEvent>();
    int finished = 0;
    auto call = [](UsageModel& m, int& done) -> Task<void> {
        co_await m.refresh(ProviderID::claude);
        ++done;
    };
    spawn(call(*model, finished));
    spawn(call(*model, finished));
    EXPECT_EQ(claude->fetches, 1);
    EXPECT_EQ(finished, 0);
    claude->gate->set();
    EXPECT_EQ(finished, 2);
    EXPECT_EQ(claude->fetches, 1);
    // Another service is not held up by Claude's fetch.
    claude->gate = std::make_shared<AsyncEvent>();
    scripted[ProviderID::codex]->then(snap(limit("primary", 1)));
    spawn(call(*model, finished));
    refresh(ProviderID::codex);
    EXPECT_TRUE(model->isLoggedIn(ProviderID::codex));
    claude->gate->set();
}

TEST_F(UsageModelTest, MainLimitNotificationsFollowTheMemory) {
    onlyClaude();
    auto step = [&](double used, std::optional<std::chrono::seconds> resetIn = 3h) {
        return stepClaude(snap(limit("session", used, resetIn)));
    };
    using V = std::vector<std::string>;
    EXPECT_EQ(step(70), V{}) << "the first numbers of a run are silent";
    EXPECT_TRUE(model->state(ProviderID::claude).notifiedBelow50);
    EXPECT_FALSE(model->state(ProviderID::claude).notifiedBelow10);
    EXPECT_EQ(step(92), V{"claude below10 session"});
    EXPECT_EQ(step(95), V{});
    EXPECT_EQ(step(20), V{}) << "a falling use alone does not clear the memory";
    EXPECT_EQ(step(95, 3h + 30s), V{}) << "a reset time 30 s later is not a reset";
    EXPECT_EQ(step(5, 3h + 30s + 61s), V{"claude reset session"});
    EXPECT_FALSE(model->state(ProviderID::claude).notifiedBelow50);
    EXPECT_EQ(step(55, 3h + 91s), V{"claude below50 session"});
    EXPECT_EQ(step(92, 3h + 91s), V{"claude below10 session"});
    // From full to eight in one step: only the almost-gone notification, and both flags set.
    EXPECT_EQ(step(0, 10h), V{"claude reset session"});
    EXPECT_EQ(step(92, 10h), V{"claude below10 session"});
    EXPECT_TRUE(model->state(ProviderID::claude).notifiedBelow50);
}

TEST_F(UsageModelTest, ResetNeedsEarlierUseAndNotStartedLeavesTheMemoryAlone) {
    onlyClaude();
    auto step = [&](UsageSnapshot s) { return stepClaude(std::move(s)); };
    using V = std::vector<std::string>;
    EXPECT_EQ(step(snap(limit("session", 0, 1h))), V{});
    EXPECT_EQ(step(snap(limit("session", 55, 2h))), V{"claude below50 session"})
        << "no reset from an unused limit; the thresholds then run as usual";
    UsageSnapshot notStarted = snap(limit("session", 95, 5h));
    notStarted.mainNotStarted = true;
    EXPECT_EQ(step(notStarted), V{});
    EXPECT_FALSE(model->state(ProviderID::claude).notifiedBelow10);
    EXPECT_TRUE(model->state(ProviderID::claude).notifiedBelow50);
}

TEST_F(UsageModelTest, SecondaryLimitsOnlyGetAlmostGoneOnce) {
    onlyClaude();
    auto step = [&](double weeklyUsed, std::chrono::seconds weeklyReset, double opusUsed) {
        return stepClaude(snap(limit("session", 10, 1h),
                               {limit("weekly", weeklyUsed, weeklyReset), limit("opus", opusUsed, 48h)}));
    };
    using V = std::vector<std::string>;
    EXPECT_EQ(step(95, 72h, 10), V{}) << "first seen at 5 % left: recorded, not sent";
    EXPECT_TRUE(model->state(ProviderID::claude).notifiedBelow10Others.contains("weekly"));
    EXPECT_EQ(step(96, 72h, 50), V{});
    EXPECT_EQ(step(96, 72h, 91), V{"claude below10 opus"});
    EXPECT_EQ(step(97, 72h, 99), V{});
    EXPECT_EQ(step(1, 72h + 7 * 24h, 99), V{}) << "a reset clears the memory silently";
    EXPECT_EQ(step(93, 72h + 7 * 24h, 99), V{"claude below10 weekly"});
}

TEST_F(UsageModelTest, LoginAndErrorStatuses) {
    onlyClaude();
    auto* p = scripted[ProviderID::claude];
    p->thenThrow(ProviderError::needsLogin());
    refresh(ProviderID::claude);
    EXPECT_EQ(model->state(ProviderID::claude).status, "Not logged in. Click Log in to Claude.");
    EXPECT_TRUE(notifier.take().empty()) << "no login-expired without numbers";

    p->script.clear();
    p->thenThrow(std::runtime_error("The request timed out"));
    refresh(ProviderID::claude);
    EXPECT_EQ(model->state(ProviderID::claude).status, "Error: The request timed out.");
    EXPECT_TRUE(model->state(ProviderID::claude).needsLogin) << "an error leaves the login state alone";

    p->script.clear();
    p->then(snap(limit("session", 40, 1h)));
    refresh(ProviderID::claude);
    ASSERT_TRUE(model->isLoggedIn(ProviderID::claude));

    p->script.clear();
    p->thenThrow(WebError("Page: x | Direct: y"));
    refresh(ProviderID::claude);
    const ProviderState afterError = model->state(ProviderID::claude);
    EXPECT_EQ(afterError.status, "Error: Page: x | Direct: y. Showing last known numbers.");
    EXPECT_EQ(afterError.lastError, "Page: x | Direct: y");
    EXPECT_TRUE(afterError.snapshot && afterError.snapshot->main) << "the last good numbers stay";
    EXPECT_TRUE(model->isLoggedIn(ProviderID::claude));

    p->script.clear();
    p->thenThrow(ProviderError::needsLogin());
    refresh(ProviderID::claude);
    refresh(ProviderID::claude);
    EXPECT_EQ(notifier.take(), (std::vector<std::string>{"claude loginExpired"}))
        << "once, on the transition";
    EXPECT_FALSE(model->isLoggedIn(ProviderID::claude));
    EXPECT_FALSE(model->state(ProviderID::claude).lastError);
    EXPECT_TRUE(log.has("[Ostrel] Claude needs login"));
    EXPECT_TRUE(log.has("[Ostrel] Claude error: Page: x | Direct: y"));
}

TEST_F(UsageModelTest, TickRefetchesAPassedResetButNotTooOften) {
    onlyClaude();
    auto* p = scripted[ProviderID::claude];
    p->then(snap(limit("session", 50, 45s)));
    model->start();
    EXPECT_EQ(p->fetches, 1);
    clock.advance(30s);
    EXPECT_EQ(p->fetches, 1) << "reset not yet passed";
    clock.advance(30s); // tick at 60 s and poll at 60 s
    const int afterMinute = p->fetches;
    EXPECT_EQ(afterMinute, 2) << "the poll refreshed; the tick saw the attempt was just now";
    clock.advance(30s); // tick at 90 s: the reset time stays in the past, last attempt 30 s ago
    EXPECT_EQ(p->fetches, 3);
    EXPECT_EQ(model->now(), clock.now()) << "the tick moves the model's clock";
}

TEST_F(UsageModelTest, TrackingChangesRefreshAndAllOffDoesNothing) {
    settings.setEnabled({});
    runSync(model->refreshAll(), 5s);
    for (auto& [id, p] : scripted)
        EXPECT_EQ(p->fetches, 0);
    EXPECT_TRUE(model->activeProviders().empty());
    scripted[ProviderID::cursor]->then(snap(limit("monthly", 10)));
    settings.setProviderEnabled(ProviderID::cursor, true);
    EXPECT_EQ(scripted[ProviderID::cursor]->fetches, 1) << "turning a service on refreshes at once";
    EXPECT_EQ(scripted[ProviderID::claude]->fetches, 0);
    EXPECT_EQ(model->tabProviders(), std::vector<ProviderID>{ProviderID::cursor});
}

TEST_F(UsageModelTest, LogOutClearsTheServiceAndTheNextDataIsSilent) {
    onlyClaude();
    auto* p = scripted[ProviderID::claude];
    p->then(snap(limit("session", 95, 1h)));
    refresh(ProviderID::claude);
    runSync(model->logOut(ProviderID::claude), 5s);
    const ProviderState s = model->state(ProviderID::claude);
    EXPECT_EQ(s.status, "Logged out");
    EXPECT_FALSE(s.snapshot);
    EXPECT_TRUE(s.needsLogin);
    EXPECT_TRUE(s.lastAttempt);
    EXPECT_EQ(p->web_.logOuts, 1);
    EXPECT_EQ(p->resets, 1);
    p->script.clear();
    p->thenThrow(ProviderError::needsLogin());
    refresh(ProviderID::claude);
    p->script.clear();
    p->then(snap(limit("session", 96, 1h)));
    refresh(ProviderID::claude);
    EXPECT_TRUE(notifier.take().empty()) << "no login-expired after a log-out; first data after it is silent";
}

TEST_F(UsageModelTest, LoginWindowActions) {
    model->showLogin(ProviderID::codex);
    EXPECT_EQ(login.shown, std::vector<ProviderID>{ProviderID::codex});
    model->switchAccount(ProviderID::cursor);
    EXPECT_EQ(scripted[ProviderID::cursor]->web_.logOuts, 1);
    EXPECT_EQ(login.shown.back(), ProviderID::cursor) << "log-out first, then the login page";
    scripted[ProviderID::cursor]->then(snap(limit("monthly", 10)));
    login.onClose(ProviderID::cursor);
    EXPECT_EQ(scripted[ProviderID::cursor]->fetches, 1) << "closing the window refreshes that service";
}

// The site's bot check and a rate limit keep the numbers, the login and the tray entry; a rate limit
// also keeps the poll and the reset-time re-fetch away until its time, but not the user's Refresh.
TEST_F(UsageModelTest, WallsAndRateLimitsKeepTheNumbersAndTheLogin) {
    ScopedLogSink quiet([](const std::string&) {});
    onlyClaude();
    model->setJitter([] { return 1.0; });
    auto* p = scripted[ProviderID::claude];
    p->then(snap(limit("session", 40, 10min)));
    refresh(ProviderID::claude);

    fail(ProviderID::claude, ProviderError::botCheck("claude.test"));
    ProviderState s = model->state(ProviderID::claude);
    EXPECT_EQ(s.status, "Blocked by claude.test's bot check. Showing last known numbers.");
    EXPECT_EQ(s.botCheckHost, "claude.test");
    EXPECT_TRUE(model->isLoggedIn(ProviderID::claude));
    EXPECT_EQ(model->trayEntries().size(), 1u);

    fail(ProviderID::claude, ProviderError::rateLimited("claude.test", 240s));
    s = model->state(ProviderID::claude);
    EXPECT_EQ(s.status, "Rate limited; next try in 4m");
    EXPECT_FALSE(s.botCheckHost);
    EXPECT_TRUE(model->isLoggedIn(ProviderID::claude));
    EXPECT_TRUE(notifier.take().empty()) << "neither is a log-out";

    p->fetches = 0;
    p->script.clear();
    p->thenThrow(ProviderError::rateLimited("claude.test", std::nullopt));
    model->start(); // the poll's first pass comes at once
    clock.advance(3min);
    EXPECT_EQ(p->fetches, 0) << "neither the poll nor the passed reset time asks before the wait is over";
    EXPECT_EQ(model->state(ProviderID::claude).status, "Rate limited; next try in 1m")
        << "the countdown moves";
    clock.advance(1min);
    EXPECT_EQ(p->fetches, 1);
    EXPECT_EQ(model->state(ProviderID::claude).status, "Rate limited; next try in 4m")
        << "the second limit in a row, without Retry-After: 2 minutes doubled";
    runSync(model->refreshAll(), 5s);
    EXPECT_EQ(p->fetches, 2) << "the user's Refresh tries at once";
    EXPECT_EQ(model->state(ProviderID::claude).status, "Rate limited; next try in 8m");
    p->script.clear();
    p->then(snap(limit("session", 50, 10min)));
    runSync(model->refreshAll(), 5s);
    EXPECT_FALSE(model->state(ProviderID::claude).retryAt) << "a success ends the back-off";
    EXPECT_EQ(rateLimitPause(1, std::nullopt, 0.8), 96s);
    EXPECT_EQ(rateLimitPause(9, std::nullopt, 1.2), 36min) << "30 minutes at most, before the spread";
}

// A log-out while a refresh of that service is under way wins: the old login's answer is dropped.
TEST_F(UsageModelTest, ALogOutDuringARefreshWins) {
    ScopedLogSink quiet([](const std::string&) {});
    onlyClaude();
    auto* p = scripted[ProviderID::claude];
    p->then(snap(limit("session", 95, 1h)));
    refresh(ProviderID::claude);
    p->gate = std::make_shared<AsyncEvent>();
    p->script.clear();
    p->thenThrow(ProviderError::needsLogin());
    spawn(model->refresh(ProviderID::claude));
    runSync(model->logOut(ProviderID::claude), 5s);
    p->gate->set();
    runLoopUntil([&] { return !model->isRefreshing(); }, 5s);
    const ProviderState s = model->state(ProviderID::claude);
    EXPECT_EQ(s.status, "Logged out");
    EXPECT_FALSE(s.snapshot);
    EXPECT_TRUE(notifier.take().empty()) << "no login-expired for the refresh that lost";
    EXPECT_EQ(p->resets, 2) << "whatever the old refresh cached is forgotten again";

    // A refresh that starts while the log-out is still removing the site's data, and ends after it.
    p->gate.reset();
    p->script.clear();
    p->then(snap(limit("session", 90, 1h)));
    refresh(ProviderID::claude);
    p->gate = std::make_shared<AsyncEvent>();
    p->web_.logOutGate = std::make_shared<AsyncEvent>();
    spawn(model->logOut(ProviderID::claude));
    spawn(model->refresh(ProviderID::claude));
    p->web_.logOutGate->set();
    ASSERT_TRUE(runLoopUntil([&] { return !model->state(ProviderID::claude).snapshot; }, 5s));
    p->gate->set();
    runLoopUntil([&] { return !model->isRefreshing(); }, 5s);
    EXPECT_FALSE(model->state(ProviderID::claude).snapshot) << "the log-out is not undone";
    EXPECT_EQ(model->state(ProviderID::claude).status, "Logged out");
}

TEST_F(UsageModelTest, ALoginThatExpiresIsSeenComing) {
    ScopedLogSink quiet([](const std::string&) {});
    onlyClaude();
    auto* p = scripted[ProviderID::claude];
    p->then(snap(limit("session", 10, 1h)));
    p->web_.expiry = clock.now() + 5 * 24h + 1h;
    refresh(ProviderID::claude);
    EXPECT_EQ(loginExpiryText(model->state(ProviderID::claude), clock.now()),
              "Logged in · expires in 5 days");
    EXPECT_TRUE(notifier.take().empty());
    p->web_.expiry = clock.now() + 47h;
    refresh(ProviderID::claude);
    refresh(ProviderID::claude);
    EXPECT_EQ(notifier.take(), std::vector<std::string>{"claude loginExpiring 2"}) << "once per login";
    p->web_.expiry.reset(); // a session-only cookie says nothing
    refresh(ProviderID::claude);
    EXPECT_EQ(loginExpiryText(model->state(ProviderID::claude), clock.now()), std::nullopt);
}
