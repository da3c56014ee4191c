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

constexpr ProviderID claude = ProviderID::claude, cursor = ProviderID::cursor, codex = ProviderID::codex;
using Sent = std::vector<std::string>;

class UsageModelTest : public ::testing::Test, protected ScriptedModel {
  protected:
    // Only Claude is tracked unless a test says otherwise, to keep the expectations short.
    void onlyClaude() {
        settings.setEnabled({claude}); // refreshes at once, with nothing scripted yet
        provider(claude).fetches = 0;
    }
    // Answers the next Claude refresh with `s`; the notifications that refresh sent.
    Sent step(UsageSnapshot s) {
        succeed(claude, std::move(s));
        return notifier.take();
    }
    Sent step(double used, std::chrono::seconds resetIn, std::vector<UsageLimit> others = {}) {
        return step(snapshot(limit("session", used, resetIn), std::move(others)));
    }
    ProviderState claudeState() const { return model->state(claude); }

    int changes = 0;
    LogLines log; // keeps the refresh lines out of the output
};

} // namespace

TEST_F(UsageModelTest, PollRunsAtOnceThenEveryMinuteAndFailuresDoNotStopIt) {
    answer(claude, snapshot(limit("session", 30, 2h)));
    answer(cursor, snapshot(std::nullopt));
    provider(codex).thenThrow(ProviderError::http(500, "chatgpt.test"));
    model->changed.connect([this] { ++changes; });
    model->start();
    EXPECT_EQ(log.take().size(), 6u) << "a line as each refresh starts and one as it ends";
    EXPECT_EQ(changes, 3) << "one published change per refresh";
    EXPECT_EQ(claudeState().status.rfind("Updated ", 0), 0u);
    EXPECT_EQ(model->state(cursor).status, "No usage data in the response");

    clock.advance(59s);
    EXPECT_EQ(provider(claude).fetches, 1);
    clock.advance(1s);
    EXPECT_EQ(provider(claude).fetches, 2);
    clock.advance(10min);
    EXPECT_EQ(provider(claude).fetches, 12);
    EXPECT_EQ(provider(codex).fetches, 12);
}

TEST_F(UsageModelTest, OneFetchAtATimeAndCallersJoinIt) {
    ScriptedProvider& p = provider(claude);
    p.then(snapshot(limit("session", 10)));
    p.gate = std::make_shared<AsyncEvent>();
    int finished = 0;
    auto call = [](UsageModel& m, int& done) -> Task<void> {
        co_await m.refresh(claude);
        ++done;
    };
    spawn(call(*model, finished));
    spawn(call(*model, finished));
    EXPECT_EQ(p.fetches, 1);
    EXPECT_EQ(finished, 0);
    p.gate->set();
    EXPECT_EQ(finished, 2);
    EXPECT_EQ(p.fetches, 1);
}

TEST_F(UsageModelTest, MainLimitNotificationsFollowTheMemory) {
    onlyClaude();
    EXPECT_EQ(step(70, 3h), Sent{}) << "the first numbers of a run are silent";
    EXPECT_TRUE(claudeState().notifiedBelow50);
    EXPECT_FALSE(claudeState().notifiedBelow10);
    EXPECT_EQ(step(92, 3h), Sent{"claude below10 session"});
    EXPECT_EQ(step(95, 3h), Sent{});
    EXPECT_EQ(step(20, 3h), Sent{}) << "a falling use alone does not clear the memory";
    EXPECT_EQ(step(95, 3h + 30s), Sent{}) << "a reset time 30 s later is not a reset";
    EXPECT_EQ(step(5, 3h + 30s + 61s), Sent{"claude reset session"});
    EXPECT_FALSE(claudeState().notifiedBelow50);
    EXPECT_EQ(step(55, 3h + 91s), Sent{"claude below50 session"});
    // From full to eight in one step: only the almost-gone notification, and both flags set.
    EXPECT_EQ(step(0, 10h), Sent{"claude reset session"});
    EXPECT_EQ(step(92, 10h), Sent{"claude below10 session"});
    EXPECT_TRUE(claudeState().notifiedBelow50);
    // A limit nobody had used is not reset by a later reset time; the thresholds then run as usual.
    EXPECT_EQ(step(0, 20h), Sent{"claude reset session"});
    EXPECT_EQ(step(55, 21h), Sent{"claude below50 session"});
    UsageSnapshot notStarted = snapshot(limit("session", 95, 22h));
    notStarted.mainNotStarted = true;
    EXPECT_EQ(step(notStarted), Sent{});
    EXPECT_FALSE(claudeState().notifiedBelow10) << "a window not started leaves the memory alone";
}

TEST_F(UsageModelTest, SecondaryLimitsOnlyGetAlmostGoneOnce) {
    onlyClaude();
    auto others = [&](double weeklyUsed, std::chrono::seconds weeklyReset, double opusUsed) {
        return step(10, 1h, {limit("weekly", weeklyUsed, weeklyReset), limit("opus", opusUsed, 48h)});
    };
    EXPECT_EQ(others(95, 72h, 10), Sent{}) << "first seen at 5 % left: recorded, not sent";
    EXPECT_TRUE(claudeState().notifiedBelow10Others.contains("weekly"));
    EXPECT_EQ(others(96, 72h, 50), Sent{});
    EXPECT_EQ(others(96, 72h, 91), Sent{"claude below10 opus"});
    EXPECT_EQ(others(97, 72h, 99), Sent{});
    EXPECT_EQ(others(1, 72h + 7 * 24h, 99), Sent{}) << "a reset clears the memory silently";
    EXPECT_EQ(others(93, 72h + 7 * 24h, 99), Sent{"claude below10 weekly"});
}

TEST_F(UsageModelTest, LoginAndErrorStatuses) {
    onlyClaude();
    fail(claude, ProviderError::needsLogin());
    EXPECT_EQ(claudeState().status, "Not logged in. Click Log in to Claude.");
    EXPECT_TRUE(notifier.take().empty()) << "no login-expired without numbers";
    fail(claude, std::runtime_error("The request timed out"));
    EXPECT_TRUE(claudeState().needsLogin) << "an error leaves the login state alone";

    succeed(claude, snapshot(limit("session", 40, 1h)));
    fail(claude, WebError("Page: x | Direct: y"));
    EXPECT_TRUE(model->isLoggedIn(claude));

    fail(claude, ProviderError::needsLogin());
    refresh(claude);
    EXPECT_EQ(notifier.take(), Sent{"claude loginExpired"}) << "once, on the transition";
    EXPECT_FALSE(model->isLoggedIn(claude));
    EXPECT_FALSE(claudeState().lastError);
    EXPECT_TRUE(model->trayEntries().empty()) << "a lost login hides the numbers";
}

TEST_F(UsageModelTest, TickRefetchesAPassedResetButNotTooOften) {
    onlyClaude();
    answer(claude, snapshot(limit("session", 50, 45s)));
    model->start();
    EXPECT_EQ(provider(claude).fetches, 1);
    clock.advance(30s);
    EXPECT_EQ(provider(claude).fetches, 1) << "reset not yet passed";
    clock.advance(30s); // tick at 60 s and poll at 60 s
    EXPECT_EQ(provider(claude).fetches, 2) << "the poll refreshed; the tick saw the attempt was just now";
    clock.advance(30s); // tick at 90 s: the reset time stays in the past, last attempt 30 s ago
    EXPECT_EQ(provider(claude).fetches, 3);
    EXPECT_EQ(model->now(), clock.now()) << "the tick moves the model's clock";
}

TEST_F(UsageModelTest, TrackingChangesAndAClosedLoginWindowRefreshAndAllOffDoesNothing) {
    settings.setEnabled({});
    runSync(model->refreshAll(), 5s);
    for (auto& [id, p] : scripted)
        EXPECT_EQ(p->fetches, 0);
    answer(cursor, snapshot(limit("monthly", 10)));
    settings.setProviderEnabled(cursor, true);
    EXPECT_EQ(provider(cursor).fetches, 1) << "turning a service on refreshes at once";
    EXPECT_EQ(provider(claude).fetches, 0);
    EXPECT_EQ(model->tabProviders(), std::vector<ProviderID>{cursor});
    login.onClose(cursor);
    EXPECT_EQ(provider(cursor).fetches, 2) << "closing the login window refreshes that service";
}

// A rate limit keeps the login, and keeps the poll and the reset-time re-fetch away until its time,
// but not the user's Refresh.
TEST_F(UsageModelTest, RateLimitsKeepTheLoginAndHoldThePollBack) {
    onlyClaude();
    model->setJitter([] { return 1.0; });
    succeed(claude, snapshot(limit("session", 40, 10min)));
    fail(claude, ProviderError::botCheck("claude.test"));
    fail(claude, ProviderError::rateLimited("claude.test", 240s));
    EXPECT_EQ(claudeState().status, "Rate limited; next try in 4m");
    EXPECT_FALSE(claudeState().botCheckHost) << "the bot check is over";
    EXPECT_TRUE(model->isLoggedIn(claude));
    EXPECT_TRUE(notifier.take().empty()) << "neither is a log-out";

    ScriptedProvider& p = provider(claude);
    p.fetches = 0;
    p.script.clear();
    p.thenThrow(ProviderError::rateLimited("claude.test", std::nullopt));
    model->start(); // the poll's first pass comes at once
    clock.advance(3min);
    EXPECT_EQ(p.fetches, 0) << "neither the poll nor the passed reset time asks before the wait is over";
    EXPECT_EQ(claudeState().status, "Rate limited; next try in 1m") << "the countdown moves";
    clock.advance(1min);
    EXPECT_EQ(p.fetches, 1);
    EXPECT_EQ(claudeState().status, "Rate limited; next try in 4m")
        << "the second limit in a row, without Retry-After: 2 minutes doubled";
    runSync(model->refreshAll(), 5s);
    EXPECT_EQ(p.fetches, 2) << "the user's Refresh tries at once";
    answer(claude, snapshot(limit("session", 50, 10min)));
    runSync(model->refreshAll(), 5s);
    EXPECT_FALSE(claudeState().retryAt) << "a success ends the back-off";
    EXPECT_EQ(rateLimitPause(1, std::nullopt, 0.8), 96s);
    EXPECT_EQ(rateLimitPause(9, std::nullopt, 1.2), 36min) << "30 minutes at most, before the spread";
}

// An answer that drops the numbers without a word (a 200 of the wrong shape) is a bad response: the
// last good numbers and what was already said about them stay.
TEST_F(UsageModelTest, AHollowAnswerKeepsTheNumbersAndTheNotificationMemory) {
    onlyClaude();
    EXPECT_EQ(step(40, 3h), Sent{});
    EXPECT_EQ(step(snapshot(std::nullopt)), Sent{});
    const ProviderState s = claudeState();
    ASSERT_TRUE(s.snapshot && s.snapshot->main);
    EXPECT_EQ(s.snapshot->main->percentUsed, 40);
    EXPECT_EQ(s.status, "Error: No usage data in the response. Showing last known numbers.");
    EXPECT_TRUE(model->isLoggedIn(claude));
    EXPECT_EQ(step(55, 3h), Sent{"claude below50 session"}) << "the memory did not start over";
    UsageSnapshot free = snapshot(std::nullopt);
    free.message = "Free plan: no included usage to track";
    step(free);
    EXPECT_EQ(claudeState().snapshot, free) << "an answer that says why replaces the numbers";
}

// A Retry-After is honoured up to an hour, or up to the next reset when that comes sooner; a
// service that has waited longer than that is tried when the panel opens.
TEST_F(UsageModelTest, RetryAfterHasACeilingAndOpeningThePanelEndsALongWait) {
    onlyClaude();
    model->setJitter([] { return 1.0; });
    succeed(claude, snapshot(limit("session", 40, 20min), {limit("weekly", 10, 72h)}));
    fail(claude, ProviderError::rateLimited("claude.test", 24h));
    EXPECT_EQ(claudeState().status, "Rate limited; next try in 20m") << "the reset comes first";
    succeed(claude, snapshot(limit("session", 40, 5h)));
    fail(claude, ProviderError::rateLimited("claude.test", 24h));
    EXPECT_EQ(claudeState().status, "Rate limited; next try in 1h 0m");

    ScriptedProvider& p = provider(claude);
    p.fetches = 0;
    clock.advance(59min);
    runSync(model->refreshOnOpen(), 5s);
    EXPECT_EQ(p.fetches, 0) << "within the ceiling, opening the panel does not ask early";
    clock.advance(1min);
    runSync(model->refreshDue(), 5s); // limited again: another hour
    EXPECT_EQ(p.fetches, 1);
    clock.advance(2min);
    runSync(model->refreshDue(), 5s);
    EXPECT_EQ(p.fetches, 1);
    runSync(model->refreshOnOpen(), 5s);
    EXPECT_EQ(p.fetches, 2) << "silent for over an hour: opening the panel tries it";
}

// A bot wall that stays costs a full load of the site's page per try: the tries back off like rate
// limits (2, 4, 8, 16, 30 minutes), and the wall's own words stay on show.
TEST_F(UsageModelTest, ALastingBotWallIsTriedLessAndLessOften) {
    onlyClaude();
    model->setJitter([] { return 1.0; });
    succeed(claude, snapshot(limit("session", 40, 10h)));
    ScriptedProvider& p = provider(claude);
    p.script.clear();
    p.thenThrow(ProviderError::botCheck("claude.test"));
    p.fetches = 0;
    model->start();
    clock.advance(29min);
    EXPECT_EQ(p.fetches, 4) << "at 0, 2, 6 and 14 minutes";
    EXPECT_EQ(claudeState().botCheckHost, std::optional<std::string>("claude.test"));
    EXPECT_EQ(claudeState().status.rfind("Blocked by claude.test", 0), 0u) << claudeState().status;
    clock.advance(1min);
    EXPECT_EQ(p.fetches, 5);
    EXPECT_TRUE(model->isLoggedIn(claude));
    answer(claude, snapshot(limit("session", 45, 10h)));
    login.onClose(claude); // the user passed the check in the site's own page
    EXPECT_EQ(p.fetches, 6);
    EXPECT_FALSE(claudeState().retryAt) << "through the wall: the back-off is over";
}

// The main loop's timers stand still while the machine sleeps; on waking (the system says so, or
// the tick finds the clock far ahead) what is due refreshes at once, not a poll interval late.
TEST_F(UsageModelTest, WakingFromSleepRefreshesWhatIsDue) {
    settings.setEnabled({claude, cursor});
    model->setJitter([] { return 1.0; });
    succeed(claude, snapshot(limit("session", 40, 10h)));
    succeed(cursor, snapshot(limit("monthly", 10, 20 * 24h)));
    clock.advance(8h);
    fail(cursor, ProviderError::rateLimited("cursor.test", 30min));
    ScriptedProvider &c = provider(claude), &k = provider(cursor);
    c.fetches = k.fetches = 0;
    model->resumed();
    EXPECT_EQ(c.fetches, 1) << "its poll was due hours ago";
    EXPECT_EQ(k.fetches, 0) << "it asked to be left alone";
    model->resumed();
    EXPECT_EQ(c.fetches, 1) << "just asked: not due";
    runSync(model->tick(), 5s); // the first tick since the jump finds nothing left to do

    clock.advance(20s);
    runSync(model->tick(), 5s);
    EXPECT_EQ(c.fetches, 1) << "an ordinary tick";
    clock.advance(3h);
    runSync(model->tick(), 5s);
    EXPECT_EQ(c.fetches, 2) << "the clock jumped: the machine slept";
    EXPECT_EQ(k.fetches, 1);
}

// While the network is down a failure is no news: no error, no notification, the numbers and the
// login stay. Back online, every service refreshes within a few seconds.
TEST_F(UsageModelTest, OfflineFailuresChangeNothingAndReconnectingRefreshes) {
    settings.setEnabled({claude, cursor});
    succeed(claude, snapshot(limit("session", 40, 10h)));
    succeed(cursor, snapshot(limit("monthly", 10, 20 * 24h)));
    const ProviderState before = claudeState();
    model->changed.connect([this] { ++changes; });
    model->setOnline(false);
    EXPECT_TRUE(model->isOffline());
    EXPECT_EQ(changes, 1) << "the panel shows it";
    fail(claude, WebError("Could not resolve host"));
    fail(cursor, ProviderError::needsLogin());
    EXPECT_EQ(claudeState().status, before.status);
    EXPECT_FALSE(claudeState().lastError);
    EXPECT_TRUE(model->isLoggedIn(cursor));
    EXPECT_TRUE(notifier.take().empty());

    answer(claude, snapshot(limit("session", 50, 10h)));
    answer(cursor, snapshot(limit("monthly", 12, 20 * 24h)));
    provider(claude).fetches = provider(cursor).fetches = 0;
    model->setOnline(true);
    EXPECT_FALSE(model->isOffline());
    clock.advance(5s);
    EXPECT_EQ(provider(claude).fetches, 1);
    EXPECT_EQ(provider(cursor).fetches, 1);
    EXPECT_EQ(claudeState().snapshot->main->percentUsed, 50);
    fail(claude, WebError("Could not resolve host"));
    EXPECT_TRUE(claudeState().lastError) << "online, a failure shows again";
}

// A log-out clears the service; when a refresh of it is under way, the log-out wins: the old
// login's answer is dropped.
TEST_F(UsageModelTest, ALogOutClearsTheServiceAndWinsOverARefreshUnderWay) {
    onlyClaude();
    succeed(claude, snapshot(limit("session", 95, 1h)));
    ScriptedProvider& p = provider(claude);
    p.gate = std::make_shared<AsyncEvent>();
    p.script.clear();
    p.thenThrow(ProviderError::needsLogin());
    spawn(model->refresh(claude));
    runSync(model->logOut(claude), 5s);
    p.gate->set();
    runLoopUntil([&] { return !model->isRefreshing(); }, 5s);
    const ProviderState s = claudeState();
    EXPECT_EQ(s.status, "Logged out");
    EXPECT_FALSE(s.snapshot);
    EXPECT_TRUE(s.needsLogin);
    EXPECT_EQ(p.resets, 2) << "the log-out forgets the login's cache, and again what the old refresh cached";
    EXPECT_TRUE(notifier.take().empty()) << "no login-expired for the refresh that lost";
    p.gate.reset();
    fail(claude, ProviderError::needsLogin());
    EXPECT_EQ(step(96, 1h), Sent{}) << "no login-expired after a log-out; first data after it is silent";

    // A refresh that starts while the log-out is still removing the site's data, and ends after it.
    p.gate = std::make_shared<AsyncEvent>();
    p.web_.logOutGate = std::make_shared<AsyncEvent>();
    spawn(model->logOut(claude));
    spawn(model->refresh(claude));
    p.web_.logOutGate->set();
    ASSERT_TRUE(runLoopUntil([&] { return !claudeState().snapshot; }, 5s));
    p.gate->set();
    runLoopUntil([&] { return !model->isRefreshing(); }, 5s);
    EXPECT_FALSE(claudeState().snapshot) << "the log-out is not undone";
}

TEST_F(UsageModelTest, ALoginThatExpiresIsSeenComing) {
    onlyClaude();
    provider(claude).web_.expiry = clock.now() + 5 * 24h + 1h;
    EXPECT_EQ(step(10, 1h), Sent{}) << "five days ahead is not yet worth a word";
    provider(claude).web_.expiry = clock.now() + 47h;
    refresh(claude);
    refresh(claude);
    EXPECT_EQ(notifier.take(), Sent{"claude loginExpiring 2"}) << "once per login";
}

TEST_F(UsageModelTest, TrayEntriesTextsLevelsAndSpokenForm) {
    settings.setResetTimeShown({claude, codex});
    succeed(claude, snapshot(limit("main", 92.4, 50min + 30s)));
    succeed(cursor, snapshot(limit("main", 58, 3h)));     // reset time not asked for
    succeed(codex, snapshot(limit("main", 20, 4 * 24h))); // days only, past three
    EXPECT_EQ(model->trayEntries(), (std::vector<TrayEntry>{{claude, "8% · 50m", UsageLevel::low},
                                                            {cursor, "42%", UsageLevel::medium},
                                                            {codex, "80% · 4d", UsageLevel::veryHigh}}));
    EXPECT_EQ(model->trayAccessibilityText(),
              "Claude 8% left, resets in 50m, Cursor 42%, Codex 80% left, resets in 4d");
}
