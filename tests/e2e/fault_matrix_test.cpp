#include "app_fixture.h"
#include "model/status_json.h"
#include "web/engine_processes.h"
#include "web/web_session.h"

#include <nlohmann/json.hpp>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using fake::FakeAnswer;

namespace {

class FaultMatrix : public AppFixture {
  protected:
    void SetUp() override {
        AppFixture::SetUp();
        startApp();
        logInEverywhere();
    }
    void showNumbers(double used = 30) {
        const auto now = std::chrono::system_clock::now();
        claude_.setUsageAnswer(FakeAnswer::json(fake::FakeClaude::usageJson(used, now + 2h, 10, now + 72h)));
        refresh(ProviderID::claude);
    }
    // Shows good numbers for Claude, then refreshes with `fault`: the status line says `status`, and
    // the stored login stays. Unless the fault `logsOut` (then the service asks for a login, leaves
    // the tray and says so once), the last numbers stay on show and nothing is posted. With the good
    // answer back the app comes back too, without a new login.
    void expectFault(const FakeAnswer& fault, const std::string& status, bool logsOut = false) {
        showNumbers();
        const std::size_t before = notifications_->received().size();
        claude_.setUsageAnswer(fault);
        refresh(ProviderID::claude);
        const ProviderState s = model().state(ProviderID::claude);
        EXPECT_NE(s.status.find(status), std::string::npos) << s.status;
        EXPECT_EQ(trayTitle().rfind(logsOut ? "Ostrel" : "Claude 70% left", 0), 0u) << trayTitle();
        EXPECT_TRUE(runSync(core_->session(ProviderID::claude).hasCookie(fake::FakeClaude::cookieName), 10s))
            << "nothing of ours deletes it";
        test::pump(100ms);
        std::string posted;
        for (std::size_t i = before; i < notifications_->received().size(); ++i)
            posted += notifications_->received()[i].summary;
        EXPECT_EQ(posted, logsOut ? "Claude logged out" : "");
        showNumbers(45);
        EXPECT_EQ(trayTitle(), "Claude 55% left, resets in 2h 0m")
            << model().state(ProviderID::claude).status;
    }
};

} // namespace

// A page where the numbers should be, and a body far too big to be them.
TEST_F(FaultMatrix, BadAnswersKeepTheLastNumbersAndTheLogin) {
    for (const FakeAnswer& answer :
         {FakeAnswer::html(fake::htmlPage("Just a moment...", "<h1>Checking</h1>")),
          FakeAnswer::json(std::string(50 * 1024 * 1024, 'x'))})
        expectFault(
            answer,
            "Error: The data couldn't be read because it isn't valid JSON. Showing last known numbers.");
}

TEST_F(FaultMatrix, ARefusalAsksForALoginButKeepsTheStoredOne) {
    expectFault(FakeAnswer::json("{}", 401), "Not logged in. Click Log in to Claude.", true);
}

// A slow service and its bot wall together: the page's request runs out of time, the direct
// request meets the wall. That is no log-out: numbers, tray entry and login stay, nothing is posted.
// Every wait is bounded, and the main loop runs all along, so the panel stays responsive.
TEST_F(FaultMatrix, ASlowPageThenTheBotWallIsNotALogOutAndTheLoopRunsMeanwhile) {
    WebSession::Limits quick;
    quick.pageFetchAbort = 1s; // the page gives up after 1 s instead of 15
    core_->session(ProviderID::claude).setLimits(quick);
    claude_.site().setWall(fake::FakeSite::Wall::direct);
    FakeAnswer hanging;
    hanging.hang = true;
    int ticks = 0;
    guint counter = g_timeout_add(
        50, [](gpointer n) -> gboolean { return ++*static_cast<int*>(n), G_SOURCE_CONTINUE; }, &ticks);
    const gint64 start = g_get_monotonic_time();
    expectFault(hanging, "Blocked by 127.0.0.2's bot check. Showing last known numbers.");
    const double seconds = static_cast<double>(g_get_monotonic_time() - start) / G_USEC_PER_SEC;
    g_source_remove(counter);
    EXPECT_LT(seconds, 30) << "every wait is bounded";
    EXPECT_GT(ticks, static_cast<int>(seconds * 10)) << "the main loop kept running";
    EXPECT_NE(log_.text().find("Page fetch failed: AbortError"), std::string::npos)
        << "the page gave up itself";
    EXPECT_EQ(claude_.site().walledDirect(), 2) << "one try, then one more after visiting the site";
    EXPECT_NE(log_.text().find("Visiting " + claude_.origin() + "/settings/usage for the site's check"),
              std::string::npos);
}

// A usage answer that redirects to a stranger on another loopback host, willing to share its answer
// with the page: neither route reads the stranger's answer as Claude's, and no cookie of Claude's
// reaches it.
TEST_F(FaultMatrix, ARedirectToAnotherHostIsNotTheAnswerAndGetsNoCookie) {
    fake::FakeServer stranger("127.0.0.9");
    const std::string claudeOrigin = claude_.origin();
    stranger.route("GET", "/*", [claudeOrigin](const fake::FakeRequest&) {
        const auto now = std::chrono::system_clock::now();
        FakeAnswer a = FakeAnswer::json(fake::FakeClaude::usageJson(99, now + 2h, 99, now + 72h));
        a.headers.emplace_back("Access-Control-Allow-Origin", claudeOrigin);
        a.headers.emplace_back("Access-Control-Allow-Credentials", "true");
        return a;
    });
    expectFault(FakeAnswer::redirect(stranger.origin() + "/usage"),
                "Direct: Redirected to another host: 127.0.0.9");
    for (const fake::FakeRequest& r : stranger.requests()) // (the cookie itself is never printed)
        EXPECT_TRUE(r.header("cookie").empty()) << "a cookie reached " << r.path;
}

// Claude's web process stopped for a while (a debugger, a frozen session): the other services go on
// being polled, Claude's numbers read as stale instead of "Updated", and once the process goes on
// (or has been replaced) Claude is current again. Poll and bounds are shortened to keep it quick: a
// 3-second poll stands for the minute, and the stop lasts five polls.
TEST_F(FaultMatrix, AStoppedWebProcessLeavesItsServiceStaleAndTheOthersPolled) {
    showNumbers();
    refresh(ProviderID::cursor);
    refresh(ProviderID::codex);
    for (ProviderID id : allProviders)
        ASSERT_TRUE(model().isLoggedIn(id)) << model().state(id).status;
    claude_.site().setWall(fake::FakeSite::Wall::direct); // Claude's page is its only way in
    WebSession::Limits quick;
    quick.pagePoll = 100ms;
    quick.pagePolls = 20;
    quick.pageFetchAbort = 4s;
    quick.pageUnresponsive = 2s;
    quick.directTimeout = 3s;
    for (ProviderID id : allProviders)
        core_->session(id).setLimits(quick);
    model().setTiming({.poll = 3s, .tick = 250ms});

    const pid_t stopped = stopWebProcessOf(core_->session(ProviderID::claude).webView());
    ASSERT_NE(stopped, 0) << "no web process of Claude's page found";
    model().start();
    bool claudeStale = false, freshClaimedWhileStale = false;
    std::map<ProviderID, std::set<TimePoint>> readings;
    const auto stop = std::chrono::steady_clock::now() + 5 * model().pollInterval();
    while (std::chrono::steady_clock::now() < stop) {
        test::pump(100ms);
        const auto status = nlohmann::json::parse(statusJson(model(), nullptr, model().now()));
        for (const auto& service : status["services"]) {
            const bool stale = service["stale"];
            if (service["id"] == "claude") claudeStale = claudeStale || stale;
            if (stale && service["status"].get<std::string>().rfind("Updated ", 0) == 0)
                freshClaimedWhileStale = true;
        }
        for (ProviderID id : allProviders)
            if (auto at = model().state(id).lastUpdated) readings[id].insert(*at);
    }
    kill(stopped, SIGCONT);
    EXPECT_TRUE(claudeStale) << model().state(ProviderID::claude).status;
    EXPECT_FALSE(freshClaimedWhileStale) << "stale numbers were shown as just updated";
    EXPECT_GE(readings[ProviderID::cursor].size(), 3u) << "Cursor went on being polled";
    EXPECT_GE(readings[ProviderID::codex].size(), 3u) << "Codex went on being polled";
    EXPECT_NE(log_.text().find("Page fetch failed: The page did not answer in time"), std::string::npos);

    // Claude comes back, current, with its login and no notification of a log-out.
    ASSERT_TRUE(runLoopUntil(
        [&] {
            const auto status = nlohmann::json::parse(statusJson(model(), nullptr, model().now()));
            return status["services"][0]["stale"] == false &&
                   model().state(ProviderID::claude).status.rfind("Updated ", 0) == 0;
        },
        60s))
        << model().state(ProviderID::claude).status;
    EXPECT_TRUE(model().isLoggedIn(ProviderID::claude));
    for (const auto& n : notifications_->received())
        EXPECT_EQ(n.summary.find("logged out"), std::string::npos) << n.summary;
}
