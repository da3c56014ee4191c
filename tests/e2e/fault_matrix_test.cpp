#include "app_fixture.h"
#include "web/web_session.h"

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
