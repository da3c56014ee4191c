#include "base/usage.h"
#include "engine_processes.h"
#include "fake_chatgpt.h"
#include "fake_claude.h"
#include "providers/codex_provider.h"
#include "support/log_lines.h"
#include "support/loop.h"
#include "support/test_env.h"
#include "web_fixture.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using fake::FakeAnswer;
using fake::FakeChatGPT;
using fake::FakeClaude;

namespace {

const std::string usagePath = std::string("/api/organizations/") + FakeClaude::orgUuid + "/usage";

class WebSessionTest : public WebFixture {
  protected:
    void TearDown() override {
        session_.reset();
        WebFixture::TearDown();
    }
    void makeSession(const std::string& homePath) {
        session_ = std::make_unique<WebSession>(*context_, claude_.host(), claude_.origin() + homePath);
        waitForLoad(session_->webView());
    }
    std::string usageURL() const { return claude_.origin() + usagePath; }
    // As the login window does: the form, then back to the light document.
    void logIn() {
        logInThroughForm(*session_, claude_.origin() + "/login", FakeClaude::cookieName);
        session_->rest();
        waitForLoad(session_->webView());
    }
    void load(const std::string& path) { loadAndWait(session_->webView(), claude_.origin() + path); }
    // A GET; log_ then holds what the session logged for it.
    HttpResult get(const std::string& url, Headers headers = {}) {
        log_.take();
        return runSync(session_->get(url, std::move(headers)), 60s);
    }
    std::string failure(const std::string& url) {
        try {
            get(url);
        } catch (const std::exception& e) {
            return e.what();
        }
        return "no error";
    }
    bool logged(const std::string& part) const { return log_.text().find(part) != std::string::npos; }

    FakeClaude claude_;
    std::unique_ptr<WebSession> session_;
    LogLines log_;
};

} // namespace

// The service's own page makes the request: the bot wall lets it through, script arguments arrive
// as values, an HTTP error is an answer rather than a reason to fall back, a page left on another
// host is sent home first, and one whose web process died serves the next request again.
TEST_F(WebSessionTest, ThePageRouteCarriesTheRequestAsGiven) {
    makeSession("/settings/usage");
    logIn();
    claude_.site().setWall(fake::FakeSite::Wall::direct);
    claude_.server().route("GET", "/echo",
                           [](const fake::FakeRequest&) { return FakeAnswer::json(R"({"no":1})", 401); });
    const std::string nasty = R"(a'b"c\d</script><script>alert(1)</script>${x}`)";
    GCharPtr escaped(g_uri_escape_string(nasty.c_str(), nullptr, FALSE));
    const HttpResult r = get(claude_.origin() + "/echo?q=" + escaped.get() + "&raw=');alert(1);//",
                             {{"Accept", "text/plain"}, {"X-Probe", nasty}});
    EXPECT_EQ(r.code, 401);
    EXPECT_EQ(r.body, R"({"no":1})");
    EXPECT_TRUE(logged("Page fetch → HTTP 401")) << log_.text();
    const auto seen = claude_.server().requestsTo("/echo");
    ASSERT_EQ(seen.size(), 1u) << "no fall-back";
    EXPECT_EQ(seen[0].header("accept"), "text/plain");
    EXPECT_EQ(seen[0].header("x-probe"), nasty);
    EXPECT_EQ(seen[0].header("user-agent"), userAgent);
    EXPECT_EQ(seen[0].header("origin").empty() ? seen[0].header("referer").rfind(claude_.origin(), 0) : 0u,
              0u)
        << "the request comes from the service's own page";
    GCharPtr query(g_uri_unescape_string(seen[0].query.c_str(), nullptr));
    EXPECT_EQ(std::string(query.get()), "q=" + nasty + "&raw=');alert(1);//");

    fake::FakeServer elsewhere("127.0.0.9");
    elsewhere.route("GET", "/",
                    [](const fake::FakeRequest&) { return FakeAnswer::html(fake::htmlPage("Else", "")); });
    loadAndWait(session_->webView(), elsewhere.origin() + "/");
    EXPECT_EQ(get(usageURL()).code, 200);
    EXPECT_TRUE(logged("] GET " + usageURL() + "\n")) << log_.text();
    EXPECT_TRUE(logged("Page ready: " + claude_.origin() + "/robots.txt")) << log_.text();
    // Its web process gone, the page still serves the next request; the direct route meets the wall.
    webkit_web_view_terminate_web_process(session_->webView());
    pump(500ms);
    EXPECT_EQ(get(usageURL()).code, 200);
    EXPECT_EQ(claude_.site().walledDirect(), 0);
}

// A page that cannot fetch: the request goes out directly, with the host's cookies and our headers,
// bounded in time, and a cookie its answer rotates is kept for the page too.
TEST_F(WebSessionTest, ABrokenPageFallsBackToTheDirectRoute) {
    makeSession("/broken");
    load("/broken");
    const std::string noLogin = failure(usageURL());
    EXPECT_NE(noLogin.find("(page: " + claude_.origin() + "/broken) | Direct: No 127.0.0.2 login found"),
              std::string::npos)
        << noLogin;
    EXPECT_TRUE(logged("Direct request failed: No 127.0.0.2 login found")) << log_.text();

    logIn();
    load("/broken");
    FakeAnswer rotated = FakeAnswer::json(R"({"limits":[]})");
    rotated.headers.emplace_back("Set-Cookie", std::string(FakeClaude::cookieName) + "=" +
                                                   claude_.issueSession() + "; Path=/; Max-Age=3600");
    claude_.setUsageAnswer(rotated);
    claude_.server().clearRequests();
    EXPECT_EQ(get(usageURL(), {{"X-Extra", "1"}}).code, 200);
    const auto seen = claude_.server().requestsTo(usagePath);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_FALSE(seen[0].cookie(FakeClaude::cookieName).empty());
    EXPECT_EQ(seen[0].header("referer"), claude_.origin() + "/broken");
    EXPECT_EQ(seen[0].header("user-agent"), userAgent);
    EXPECT_EQ(seen[0].header("accept"), "application/json");
    EXPECT_EQ(seen[0].header("x-extra"), "1");
    load("/settings/usage");
    EXPECT_EQ(claude_.server().requestsTo("/settings/usage").back().cookie(FakeClaude::cookieName),
              claude_.issuedSessions().back());

    // Redirects: one on the service's own host is followed; one to another host is not, and the
    // session's cookies never reach it.
    fake::FakeServer elsewhere("127.0.0.9");
    elsewhere.route("GET", "/*",
                    [](const fake::FakeRequest&) { return FakeAnswer::json(R"({"limits":[]})"); });
    claude_.server().route("GET", "/moved",
                           [&](const fake::FakeRequest&) { return FakeAnswer::redirect(usagePath); });
    EXPECT_EQ(get(claude_.origin() + "/moved").code, 200);
    claude_.setUsageAnswer(FakeAnswer::redirect(elsewhere.origin() + "/collect"));
    const std::string away = failure(usageURL());
    EXPECT_NE(away.find(" | Direct: Redirected to another host: 127.0.0.9"), std::string::npos) << away;
    EXPECT_TRUE(logged("Direct request redirected to 127.0.0.9; not followed")) << log_.text();
    EXPECT_NE(failure(elsewhere.origin() + "/collect").find("Direct: Not an address of 127.0.0.2"),
              std::string::npos);
    for (const fake::FakeRequest& r : elsewhere.requests()) // the page's own request may go there
        EXPECT_TRUE(r.header("cookie").empty()) << "a cookie of 127.0.0.2 left its site";

    load("/broken");
    FakeAnswer hang;
    hang.hang = true;
    claude_.setUsageAnswer(hang);
    WebSession::Limits limits;
    limits.directTimeout = 300ms;
    session_->setLimits(limits);
    const std::string hung = failure(usageURL());
    EXPECT_NE(hung.find(" | Direct: The request timed out"), std::string::npos) << hung;
}

// The Codex provider on a real session: its token reaches the usage request from inside the page, and
// logging out removes the data of the site and its account domain, and nobody else's. Its rules
// (token reuse, refusals, answers) are tested on a scripted web in tests/providers.
TEST_F(WebFixture, CodexFetchesWithItsTokenFromThePageAndLogsOutOfItsDomainsOnly) {
    FakeChatGPT chatgpt;
    SystemClock clock;
    LogLines log;
    // The session's login domains as the app configures them.
    ServiceConfig config;
    config.chatgpt = *ServiceEndpoint::parse(chatgpt.origin());
    config.chatgptAccountDomain = chatgpt.accountHost();
    auto owned =
        std::make_unique<WebSession>(*context_, chatgpt.host(), config.chatgpt.url(CodexProvider::homePath),
                                     CodexProvider::loginDomains(config));
    WebSession& web = *owned;
    waitForLoad(web.webView());
    CodexProvider provider(std::move(owned), config.chatgpt, clock);
    logInThroughForm(web, config.chatgpt.url(CodexProvider::loginPath), FakeChatGPT::cookieName);
    runSync(provider.fetch(), 90s);
    ASSERT_EQ(chatgpt.issuedTokens().size(), 1u);
    EXPECT_TRUE(chatgpt.usageTokens() == chatgpt.issuedTokens()) << "the usage request carried the token";
    EXPECT_EQ(log.text().find("Page fetch failed"), std::string::npos) << "all of it from inside the page";

    WebSession account(*context_, chatgpt.accountHost(), chatgpt.origin() + "/");
    EXPECT_TRUE(runSync(account.hasCookie(FakeChatGPT::accountCookieName), 10s));
    WebSession other(*context_, "127.0.0.3", "http://127.0.0.3:1/");
    runSync(context_->addCookie("WorkosCursorSessionToken", "another-service", "127.0.0.3", 3600), 10s);
    EXPECT_FALSE(runSync(other.hasCookie(FakeChatGPT::cookieName), 10s)) << "a cookie is its host's own";
    runSync(web.logOut(), 30s);
    EXPECT_NE(log.text().find("Logged out ("), std::string::npos) << log.text();
    EXPECT_FALSE(runSync(web.hasCookie(FakeChatGPT::cookieName), 10s));
    EXPECT_FALSE(runSync(account.hasCookie(FakeChatGPT::accountCookieName), 10s));
    EXPECT_TRUE(runSync(other.hasCookie("WorkosCursorSessionToken"), 10s));
    waitForLoad(web.webView());
    EXPECT_EQ(std::string(webkit_web_view_get_uri(web.webView())), chatgpt.origin() + "/robots.txt");
}

// A web process that stops answering (stopped, as a debugger or a frozen desktop would) holds no
// request past its bound: the page's call is given up, that process ended and a fresh page made,
// and the next request is served from the page again.
TEST_F(WebSessionTest, AStoppedWebProcessIsEndedAndItsPageMadeAfresh) {
    makeSession("/settings/usage");
    logIn();
    claude_.site().setWall(fake::FakeSite::Wall::direct); // only the page gets through the wall
    WebSession::Limits quick;
    quick.pageFetchAbort = 1s;
    quick.pageUnresponsive = 1s;
    session_->setLimits(quick);
    const auto stuck = GObjectPtr<WebKitWebView>::ref(session_->webView());
    const std::set<pid_t> stopped = engineProcesses(EngineProcess::web);
    ASSERT_FALSE(stopped.empty());
    signalAll(stopped, SIGSTOP);
    HttpResult walled;
    try {
        walled = get(usageURL());
    } catch (const std::exception& e) {
        signalAll(stopped, SIGCONT);
        FAIL() << e.what();
    }
    signalAll(stopped, SIGCONT);
    EXPECT_EQ(walled.code, 403) << "the direct route's answer, the wall";
    EXPECT_TRUE(logged("Page fetch failed: The page did not answer in time")) << log_.text();
    EXPECT_NE(session_->webView(), stuck.get()) << "a fresh page";
    EXPECT_EQ(get(usageURL()).code, 200);
    EXPECT_TRUE(logged("Page fetch → HTTP 200")) << log_.text();
}

// The cookie store when its network process hangs or dies: a read that gets no answer in time, or
// an empty answer from a process that died while reading, is no "no cookie"; nor is a log-out whose
// store does not answer a log-out done.
TEST_F(WebSessionTest, AStoreThatFailsIsNeitherNoLoginNorALogOut) {
    makeSession("/settings/usage");
    logIn();
    WebSession::Limits quick;
    quick.cookieStoreTimeout = 500ms;
    quick.dataStoreTimeout = 500ms;
    session_->setLimits(quick);
    std::set<pid_t> network = engineProcesses(EngineProcess::network);
    ASSERT_FALSE(network.empty());
    signalAll(network, SIGSTOP);
    auto outcome = [&](Task<void> task) {
        try {
            runSync(std::move(task), 20s);
        } catch (const std::exception& e) {
            return std::string(e.what());
        }
        return std::string("done");
    };
    auto readCookie = [](WebSession* web, bool* found) -> Task<void> {
        *found = co_await web->hasCookie(FakeClaude::cookieName);
    };
    bool found = false;
    EXPECT_EQ(outcome(readCookie(session_.get(), &found)), "Could not read the cookie store");
    EXPECT_EQ(outcome(session_->logOut()), "Could not read the stored site data");
    EXPECT_FALSE(logged("Logged out")) << log_.text();

    session_->setLimits({});
    auto state = std::make_shared<detail::SyncState<bool>>();
    detail::runInto<bool>(session_->hasCookie(FakeClaude::cookieName), state).detach();
    pump(300ms); // the read is under way, in the stopped process
    signalAll(network, SIGKILL);
    ASSERT_TRUE(runLoopUntil([&] { return state->done; }, 30s));
    ASSERT_TRUE(state->error) << "a read the process died in is not \"no cookie\"";
    try {
        std::rethrow_exception(state->error);
    } catch (const WebError& e) {
        EXPECT_STREQ(e.what(), "Could not read the cookie store");
    }
}
