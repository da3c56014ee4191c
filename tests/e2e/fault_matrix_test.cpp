#include "app_fixture.h"
#include "web/web_session.h"

#include <functional>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using fake::FakeAnswer;

namespace {

// What the user saw after one fault.
struct Seen {
    std::string fault, status, tray, notifications;
    bool numbersKept = false, cookieKept = false, recovered = false;
};

class FaultMatrix : public AppFixture {
  protected:
    void SetUp() override {
        AppFixture::SetUp();
        startApp();
        logInEverywhere();
    }
    // Shows good numbers for Claude, applies `fault`, refreshes, records what is seen, then puts the
    // good answer back and checks the app comes back without a new login.
    Seen tryClaudeFault(const std::string& name, const FakeAnswer& fault) {
        const auto now = std::chrono::system_clock::now();
        const FakeAnswer good = FakeAnswer::json(fake::FakeClaude::usageJson(30, now + 2h, 10, now + 72h));
        claude_.setUsageAnswer(good);
        refresh(ProviderID::claude);
        EXPECT_TRUE(model().isLoggedIn(ProviderID::claude))
            << name << ": " << model().state(ProviderID::claude).status;
        const std::string goodTitle = trayTitle();
        const std::size_t before = notifications_->received().size();

        claude_.setUsageAnswer(fault);
        refresh(ProviderID::claude);
        const ProviderState s = model().state(ProviderID::claude);
        Seen seen;
        seen.fault = name;
        seen.status = s.status;
        seen.tray = trayTitle();
        seen.numbersKept = s.snapshot && s.snapshot->main && s.snapshot->main->percentUsed == 30;
        seen.cookieKept = hasCookie(ProviderID::claude, fake::FakeClaude::cookieName);
        test::pump(100ms);
        for (std::size_t i = before; i < notifications_->received().size(); ++i)
            seen.notifications +=
                notifications_->received()[i].summary + " / " + notifications_->received()[i].body;

        claude_.setUsageAnswer(good);
        refresh(ProviderID::claude);
        seen.recovered =
            model().state(ProviderID::claude).status.rfind("Updated ", 0) == 0 && trayTitle() == goodTitle;
        return seen;
    }
};

FakeAnswer answerWith(std::function<void(FakeAnswer&)> f) {
    FakeAnswer a;
    f(a);
    return a;
}

std::string limitsJson(const std::string& percent, const std::string& resetsAt) {
    return R"({"limits":[{"kind":"session","percent":)" + percent + R"(,"resets_at":")" + resetsAt +
           R"("}]})";
}

} // namespace

TEST_F(FaultMatrix, BadAnswersKeepTheLastNumbersAndTheLogin) {
    const std::string errorTail = " Showing last known numbers.";
    struct Case {
        std::string name;
        FakeAnswer answer;
        std::string status; // what the status line must say
    };
    std::string big(50 * 1024 * 1024, 'x');
    const std::vector<Case> cases{
        {"HTML page with status 200",
         FakeAnswer::html(fake::htmlPage("Just a moment...", "<h1>Checking</h1>")),
         "Error: The data couldn't be read because it isn't valid JSON." + errorTail},
        {"HTTP 404", FakeAnswer::json("{}", 404), "Error: HTTP 404 from 127.0.0.2." + errorTail},
        {"HTTP 500", FakeAnswer::html("<h1>oops</h1>", 500), "Error: HTTP 500 from 127.0.0.2." + errorTail},
        {"a body that is not JSON", FakeAnswer::json("{\"limits\": [", 200),
         "Error: The data couldn't be read because it isn't valid JSON." + errorTail},
        {"JSON of the wrong shape", FakeAnswer::json("[1, 2, 3]"),
         "Error: Unexpected response from 127.0.0.2." + errorTail},
        {"a 50 MB body", FakeAnswer::json(big),
         "Error: The data couldn't be read because it isn't valid JSON." + errorTail},
        {"NaN where a number goes", FakeAnswer::json(limitsJson("NaN", "2099-01-01T00:00:00Z")),
         "Error: The data couldn't be read because it isn't valid JSON." + errorTail},
    };
    for (const Case& c : cases) {
        const Seen seen = tryClaudeFault(c.name, c.answer);
        EXPECT_EQ(seen.status, c.status) << c.name;
        EXPECT_TRUE(seen.numbersKept) << c.name;
        EXPECT_NE(seen.tray, "Ostrel") << c.name << ": the tray keeps the last numbers";
        EXPECT_TRUE(seen.cookieKept) << c.name;
        EXPECT_TRUE(seen.notifications.empty()) << c.name;
        EXPECT_TRUE(seen.recovered) << c.name;
    }
}

TEST_F(FaultMatrix, RefusalsAskForALoginButKeepTheStoredOne) {
    for (int code : {401, 403}) {
        const Seen seen = tryClaudeFault("HTTP " + std::to_string(code), FakeAnswer::json("{}", code));
        EXPECT_EQ(seen.status, "Not logged in. Click Log in to Claude.");
        EXPECT_EQ(seen.tray, "Ostrel") << "a service that needs a login leaves the tray";
        EXPECT_EQ(seen.notifications,
                  "Claude logged out / Ostrel stopped tracking usage. Log in again to resume.");
        EXPECT_TRUE(seen.cookieKept) << "nothing of ours deletes the login";
        EXPECT_TRUE(seen.recovered) << "the service taking the login again brings the numbers back";
    }
}

TEST_F(FaultMatrix, BrokenTransfersEndInABoundedErrorAndTheLoopRunsMeanwhile) {
    const Seen dropped = tryClaudeFault("connection dropped mid-body", answerWith([](FakeAnswer& a) {
                                            a.body =
                                                fake::FakeClaude::usageJson(1, std::nullopt, 1, std::nullopt);
                                            a.dropMidBody = true;
                                        }));
    EXPECT_EQ(dropped.status.rfind("Error: Page: ", 0), 0u) << dropped.status;
    EXPECT_NE(dropped.status.find(" | Direct: "), std::string::npos) << dropped.status;
    EXPECT_TRUE(dropped.numbersKept && dropped.recovered);

    // A usage endpoint that never answers: the page gives up after 15 s, the direct request after 15 s.
    int ticks = 0;
    guint counter = g_timeout_add(
        50, [](gpointer n) -> gboolean { return ++*static_cast<int*>(n), G_SOURCE_CONTINUE; }, &ticks);
    const gint64 start = g_get_monotonic_time();
    const Seen hung =
        tryClaudeFault("usage endpoint never answers", answerWith([](FakeAnswer& a) { a.hang = true; }));
    const double seconds = static_cast<double>(g_get_monotonic_time() - start) / G_USEC_PER_SEC;
    g_source_remove(counter);
    EXPECT_LT(seconds, 45) << "every wait is bounded";
    EXPECT_GT(ticks, static_cast<int>(seconds * 10))
        << "the main loop kept running: the panel stays responsive";
    EXPECT_NE(hung.status.find("AbortError"), std::string::npos) << hung.status;
    EXPECT_NE(hung.status.find("| Direct: The request timed out. Showing last known numbers."),
              std::string::npos)
        << hung.status;
    EXPECT_TRUE(hung.numbersKept && hung.cookieKept && hung.recovered);
}

// A slow service and its bot wall together: the page's request runs out of time, the direct
// request meets the wall. That is no log-out: numbers, tray entry and login stay, nothing is posted.
TEST_F(FaultMatrix, ASlowPageThenTheBotWallIsNotALogOut) {
    WebSession::Limits quick;
    quick.pageFetchAbort = 1s; // the page gives up after 6 s instead of 20
    core_->session(ProviderID::claude).setLimits(quick);
    claude_.site().setWall(fake::FakeSite::Wall::direct);
    const Seen walled =
        tryClaudeFault("slow page, then the bot wall", answerWith([](FakeAnswer& a) { a.hang = true; }));
    EXPECT_EQ(walled.status, "Blocked by 127.0.0.2's bot check. Showing last known numbers.");
    EXPECT_EQ(claude_.site().walledDirect(), 2) << "one try, then one more after visiting the site";
    EXPECT_NE(log_.find("Visiting " + claude_.origin() + "/settings/usage for the site's check"),
              std::string::npos);
    EXPECT_NE(walled.tray.find("Claude"), std::string::npos) << walled.tray;
    EXPECT_TRUE(walled.notifications.empty()) << walled.notifications;
    EXPECT_TRUE(walled.numbersKept && walled.cookieKept && walled.recovered);
}

TEST_F(FaultMatrix, OddNumbersAndDatesAreReadSafely) {
    const auto now = std::chrono::system_clock::now();
    struct Case {
        std::string name, json;
        std::string trayTitle; // what the tray says right after the odd answer (Claude shows its reset time)
    };
    const std::vector<Case> cases{
        {"percent 1e308", limitsJson("1e308", fake::isoDate(now + 2h)), "Claude 0% left, resets in 2h 0m"},
        {"negative percent", limitsJson("-40", fake::isoDate(now + 2h)), "Claude 100% left, resets in 2h 0m"},
        // Too large for a double: the reader refuses the answer and the last numbers stay.
        {"percent 1e999", limitsJson("1e999", fake::isoDate(now + 2h)), "Claude 100% left, resets in 2h 0m"},
        {"malformed date", limitsJson("20", "tomorrow-ish"), "Claude 80%"},
        {"far future date", limitsJson("20", "9999-12-31T23:59:59Z"), "Claude 80%"},
        {"far past date (session not started)", limitsJson("20", "1970-01-01T00:00:00Z"), "Claude 100%"},
    };
    for (const Case& c : cases) {
        claude_.setUsageAnswer(FakeAnswer::json(c.json));
        refresh(ProviderID::claude);
        EXPECT_EQ(trayTitle(), c.trayTitle) << c.name << " → " << model().state(ProviderID::claude).status;
        EXPECT_TRUE(model().isLoggedIn(ProviderID::claude)) << c.name;
        EXPECT_NE(trayLabel(), "") << c.name;
    }
}

TEST_F(FaultMatrix, TheWebProcessCrashingIsRecoveredByTheNextRefresh) {
    const auto now = std::chrono::system_clock::now();
    claude_.setUsageAnswer(FakeAnswer::json(fake::FakeClaude::usageJson(30, now + 2h, 10, now + 72h)));
    refresh(ProviderID::claude);
    ASSERT_TRUE(model().isLoggedIn(ProviderID::claude));
    WebKitWebView* view = core_->session(ProviderID::claude).webView();
    webkit_web_view_terminate_web_process(view);
    test::pump(500ms);
    claude_.setUsageAnswer(FakeAnswer::json(fake::FakeClaude::usageJson(45, now + 2h, 10, now + 72h)));
    claude_.server().clearRequests();
    refresh(ProviderID::claude);
    EXPECT_EQ(model().state(ProviderID::claude).status.rfind("Updated ", 0), 0u)
        << model().state(ProviderID::claude).status;
    EXPECT_EQ(trayTitle(), "Claude 55% left, resets in 2h 0m");
    EXPECT_NE(log_.find("Page fetch → HTTP 200"), std::string::npos) << "the page itself came back";
}

TEST_F(FaultMatrix, OtherServicesReportTheirOwnFaults) {
    const auto now = std::chrono::system_clock::now();
    cursor_.setUsageAnswer(FakeAnswer::json(fake::FakeCursor::usageJson(20, 40, now + 240h)));
    chatgpt_.setUsageAnswer(FakeAnswer::json(fake::FakeChatGPT::usageJson(30, 3600, 10, 86400)));
    refresh(ProviderID::cursor);
    refresh(ProviderID::codex);
    ASSERT_TRUE(model().isLoggedIn(ProviderID::cursor)) << model().state(ProviderID::cursor).status;
    ASSERT_TRUE(model().isLoggedIn(ProviderID::codex)) << model().state(ProviderID::codex).status;

    // Cursor reads a page where its summary should be as a lost login (its sign-in wall is a page).
    cursor_.setUsageAnswer(FakeAnswer::html(fake::htmlPage("Sign in", "")));
    refresh(ProviderID::cursor);
    EXPECT_EQ(model().state(ProviderID::cursor).status, "Not logged in. Click Log in to Cursor.");
    EXPECT_TRUE(hasCookie(ProviderID::cursor, fake::FakeCursor::cookieName));

    chatgpt_.setUsageAnswer(FakeAnswer::html(fake::htmlPage("Just a moment...", "")));
    refresh(ProviderID::codex);
    EXPECT_EQ(model().state(ProviderID::codex).status,
              "Error: 127.0.0.4 sent a page instead of usage data. Showing last known numbers.");
    chatgpt_.setUsageAnswer(FakeAnswer::json("{}", 500));
    refresh(ProviderID::codex);
    EXPECT_EQ(model().state(ProviderID::codex).status,
              "Error: HTTP 500 from 127.0.0.4. Showing last known numbers.");
    EXPECT_EQ(trayTitle(), "Codex 70%") << "Cursor left the tray; Codex kept its numbers";
}
