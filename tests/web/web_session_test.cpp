#include "base/usage.h"
#include "fake_claude.h"
#include "support/log_lines.h"
#include "support/loop.h"
#include "support/test_env.h"
#include "web_fixture.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using fake::FakeAnswer;
using fake::FakeClaude;

namespace {

class WebSessionTest : public WebFixture {
  protected:
    void SetUp() override {
        WebFixture::SetUp();
        makeSession("/settings/usage");
    }
    void TearDown() override {
        session_.reset();
        WebFixture::TearDown();
    }
    void makeSession(const std::string& homePath) {
        session_ = std::make_unique<WebSession>(*context_, claude_.host(), claude_.origin() + homePath);
        waitForLoad(session_->webView());
    }
    std::string usagePath() const {
        return std::string("/api/organizations/") + FakeClaude::orgUuid + "/usage";
    }
    std::string usageURL() const { return claude_.origin() + usagePath(); }
    // As the login window does: the form, then back to the light document.
    void logIn() {
        logInThroughForm(*session_, claude_.origin() + "/login", FakeClaude::cookieName);
        session_->rest();
        waitForLoad(session_->webView());
    }
    void addCookie(const std::string& domain, const std::string& name, const std::string& value) {
        runSync(context_->addCookie(name, value, domain, 3600), 10s);
    }

    // Runs a GET; what the session logged goes to `logged`.
    HttpResult get(const std::string& url, Headers headers, std::string& logged) {
        const LogLines log;
        std::exception_ptr error;
        HttpResult r;
        try {
            r = runSync(session_->get(url, std::move(headers)), 60s);
        } catch (...) {
            error = std::current_exception();
        }
        logged = log.text();
        if (error) std::rethrow_exception(error);
        return r;
    }
    std::string failure(const std::string& url, std::string& logged) {
        try {
            get(url, {}, logged);
        } catch (const std::exception& e) {
            return e.what();
        }
        return "no error";
    }
    void expectNoSecretIn(const std::string& text) {
        for (const auto& token : claude_.issuedSessions())
            EXPECT_EQ(text.find(token), std::string::npos);
    }

    FakeClaude claude_;
    std::unique_ptr<WebSession> session_;
};

} // namespace

TEST_F(WebSessionTest, LoginThroughTheFormThenFetchThroughThePage) {
    logIn();
    claude_.server().clearRequests();
    std::string logged;
    HttpResult r = get(usageURL(), {}, logged);
    EXPECT_EQ(r.code, 200);
    EXPECT_TRUE(nlohmann::json::parse(r.body).contains("limits"));
    const auto out = splitLines(logged);
    ASSERT_EQ(out.size(), 3u) << logged;
    EXPECT_EQ(out[0], "[Ostrel][127.0.0.2] GET " + usageURL());
    EXPECT_EQ(out[1], "[Ostrel][127.0.0.2] Page ready: " + claude_.origin() + "/robots.txt, loading: false");
    EXPECT_EQ(out[2], "[Ostrel][127.0.0.2] Page fetch → HTTP 200");
    const auto seen = claude_.server().requestsTo(usagePath());
    ASSERT_EQ(seen.size(), 1u) << "one request, no fall-back";
    EXPECT_EQ(seen[0].header("accept"), "application/json");
    EXPECT_EQ(seen[0].header("user-agent"), userAgent);
    EXPECT_EQ(seen[0].header("origin").empty() ? seen[0].header("referer").rfind(claude_.origin(), 0) : 0u,
              0u)
        << "the request comes from the service's own page";
    expectNoSecretIn(logged);
}

TEST_F(WebSessionTest, AnHttpErrorFromThePageIsAResultNotAFallBack) {
    logIn();
    claude_.setUsageAnswer(FakeAnswer::json(R"({"error":"nope"})", 401));
    claude_.server().clearRequests();
    std::string logged;
    HttpResult r = get(usageURL(), {}, logged);
    EXPECT_EQ(r.code, 401);
    EXPECT_EQ(r.body, R"({"error":"nope"})");
    EXPECT_EQ(claude_.server().requestsTo(usagePath()).size(), 1u);
}

TEST_F(WebSessionTest, BrokenPageFallsBackToTheDirectRouteWithTheCookies) {
    makeSession("/broken");
    logIn();
    loadAndWait(session_->webView(), claude_.origin() + "/broken");
    claude_.server().clearRequests();
    std::string logged;
    HttpResult r = get(usageURL(), {}, logged);
    EXPECT_EQ(r.code, 200);
    const auto out = splitLines(logged);
    ASSERT_EQ(out.size(), 4u) << logged;
    EXPECT_EQ(out[0].rfind("[Ostrel][127.0.0.2] GET ", 0), 0u);
    EXPECT_EQ(out[1].rfind("[Ostrel][127.0.0.2] Page ready: ", 0), 0u);
    EXPECT_EQ(out[2].rfind("[Ostrel][127.0.0.2] Page fetch failed: ", 0), 0u);
    EXPECT_NE(out[2].find("fetch is switched off on this page (page: " + claude_.origin() + "/broken)"),
              std::string::npos)
        << out[2];
    EXPECT_EQ(out[2].substr(out[2].size() - std::string(". Trying direct request…").size()),
              ". Trying direct request…");
    EXPECT_EQ(out[3], "[Ostrel][127.0.0.2] Direct request → HTTP 200");
    const auto seen = claude_.server().requestsTo(usagePath());
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_FALSE(seen[0].cookie(FakeClaude::cookieName).empty());
    EXPECT_EQ(seen[0].header("referer"), claude_.origin() + "/broken");
    EXPECT_EQ(seen[0].header("user-agent"), userAgent);
    expectNoSecretIn(logged);
}

// The services' bot wall lets a page's own request through and stops a plain HTTP client; the page
// route is what keeps us on the right side of it.
TEST_F(WebSessionTest, ABotWallStopsTheDirectRouteButNotThePage) {
    logIn();
    claude_.site().setWall(fake::FakeSite::Wall::direct);
    std::string logged;
    EXPECT_EQ(get(usageURL(), {}, logged).code, 200);
    EXPECT_EQ(claude_.site().walledDirect(), 0);

    makeSession("/broken");
    loadAndWait(session_->webView(), claude_.origin() + "/broken");
    HttpResult r = get(usageURL(), {}, logged);
    EXPECT_EQ(r.code, 403);
    EXPECT_NE(r.body.find("Just a moment..."), std::string::npos);
    EXPECT_EQ(claude_.site().walledDirect(), 1);
}

TEST_F(WebSessionTest, BothRoutesFailingGiveTheCombinedMessage) {
    makeSession("/broken");
    loadAndWait(session_->webView(), claude_.origin() + "/broken");
    std::string logged;
    const std::string message = failure(usageURL(), logged);
    EXPECT_EQ(message.rfind("Page: ", 0), 0u) << message;
    EXPECT_NE(message.find("(page: " + claude_.origin() + "/broken) | Direct: No 127.0.0.2 login found"),
              std::string::npos)
        << message;
    EXPECT_NE(logged.find("Direct request failed: No 127.0.0.2 login found"), std::string::npos) << logged;
}

TEST_F(WebSessionTest, CallerHeadersOverrideAcceptOnBothRoutes) {
    logIn();
    claude_.server().clearRequests();
    std::string logged;
    get(usageURL(), {{"Accept", "text/plain"}, {"X-Extra", "1"}}, logged);
    makeSession("/broken");
    loadAndWait(session_->webView(), claude_.origin() + "/broken");
    get(usageURL(), {{"Accept", "text/plain"}}, logged);
    ASSERT_NE(logged.find("Direct request → HTTP 200"), std::string::npos) << logged;
    const auto seen = claude_.server().requestsTo(usagePath());
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0].header("accept"), "text/plain");
    EXPECT_EQ(seen[0].header("x-extra"), "1");
    EXPECT_EQ(seen[1].header("accept"), "text/plain");
}

TEST_F(WebSessionTest, APageOnAnotherHostIsSentHomeFirst) {
    logIn();
    fake::FakeServer elsewhere("127.0.0.9");
    elsewhere.route("GET", "/",
                    [](const fake::FakeRequest&) { return FakeAnswer::html(fake::htmlPage("Else", "")); });
    loadAndWait(session_->webView(), elsewhere.origin() + "/");
    std::string logged;
    EXPECT_EQ(get(usageURL(), {}, logged).code, 200);
    EXPECT_NE(logged.find("Page ready: " + claude_.origin() + "/robots.txt"), std::string::npos) << logged;
    EXPECT_NE(logged.find("Page fetch → HTTP 200"), std::string::npos);
}

TEST_F(WebSessionTest, CookiesAreTheHostsOwn) {
    addCookie("127.0.0.9", FakeClaude::cookieName, "other-site");
    addCookie("other127.0.0.2", FakeClaude::cookieName, "look-alike");
    EXPECT_FALSE(runSync(session_->hasCookie(FakeClaude::cookieName), 10s));
    addCookie("127.0.0.2", FakeClaude::cookieName, "mine");
    EXPECT_TRUE(runSync(session_->hasCookie(FakeClaude::cookieName), 10s));
    EXPECT_FALSE(runSync(session_->hasCookie("sessionkey"), 10s)) << "names match exactly";
}

TEST_F(WebSessionTest, ARotatedCookieFromADirectAnswerIsKept) {
    makeSession("/broken");
    logIn();
    loadAndWait(session_->webView(), claude_.origin() + "/broken");
    FakeAnswer rotated = FakeAnswer::json(R"({"limits":[]})");
    rotated.headers.emplace_back("Set-Cookie", std::string(FakeClaude::cookieName) + "=" +
                                                   claude_.issueSession() + "; Path=/; Max-Age=3600");
    claude_.setUsageAnswer(rotated);
    std::string logged;
    ASSERT_EQ(get(usageURL(), {}, logged).code, 200);
    ASSERT_NE(logged.find("Direct request → HTTP 200"), std::string::npos) << logged;
    // The page now carries the new value.
    claude_.server().clearRequests();
    loadAndWait(session_->webView(), claude_.origin() + "/settings/usage");
    const auto seen = claude_.server().requestsTo("/settings/usage");
    ASSERT_FALSE(seen.empty());
    EXPECT_EQ(seen.back().cookie(FakeClaude::cookieName), claude_.issuedSessions().back());
}

TEST_F(WebSessionTest, AHungDirectRequestIsBounded) {
    makeSession("/broken");
    logIn();
    loadAndWait(session_->webView(), claude_.origin() + "/broken");
    FakeAnswer hang;
    hang.hang = true;
    claude_.setUsageAnswer(hang);
    WebSession::Limits limits;
    limits.directTimeout = 300ms;
    session_->setLimits(limits);
    std::string logged;
    const std::string message = failure(usageURL(), logged);
    EXPECT_EQ(message.substr(message.size() - std::string(" | Direct: The request timed out").size()),
              " | Direct: The request timed out")
        << message;
}

TEST_F(WebSessionTest, RefusesWhileTheLoginWindowShowsTheView) {
    GtkWidget* window = gtk_window_new();
    gtk_window_set_child(GTK_WINDOW(window), GTK_WIDGET(session_->webView()));
    gtk_window_present(GTK_WINDOW(window));
    claude_.server().clearRequests();
    std::string logged;
    try {
        get(usageURL(), {}, logged);
        ADD_FAILURE() << "expected a refusal";
    } catch (const ProviderError& e) {
        EXPECT_EQ(e.kind(), ProviderError::Kind::needsLogin);
    }
    EXPECT_EQ(logged, "[Ostrel][127.0.0.2] Skipping GET " + usageURL() + ": login window is open\n");
    EXPECT_TRUE(claude_.server().requestsTo(usagePath()).empty());
    gtk_window_set_child(GTK_WINDOW(window), nullptr);
    gtk_window_destroy(GTK_WINDOW(window));
}

TEST_F(WebSessionTest, LogOutRemovesOnlyTheLoginDomainsData) {
    logIn();
    addCookie("127.0.0.3", "WorkosCursorSessionToken", "other-service");
    addCookie("sub.127.0.0.2", "x", "1");
    addCookie("other127.0.0.2", "look-alike", "1");
    const LogLines log;
    runSync(session_->logOut(), 30s);
    const std::string logged = log.text();
    EXPECT_NE(logged.find("[Ostrel][127.0.0.2] Logged out ("), std::string::npos) << logged;
    EXPECT_FALSE(runSync(session_->hasCookie(FakeClaude::cookieName), 10s));
    WebSession cursor(*context_, "127.0.0.3", "http://127.0.0.3:1/");
    EXPECT_TRUE(runSync(cursor.hasCookie("WorkosCursorSessionToken"), 10s))
        << "another service's login stays";
    WebSession lookAlike(*context_, "other127.0.0.2", "http://127.0.0.3:1/");
    EXPECT_TRUE(runSync(lookAlike.hasCookie("look-alike"), 10s))
        << "same letters without a dot are another domain";
    waitForLoad(session_->webView());
    EXPECT_EQ(std::string(webkit_web_view_get_uri(session_->webView())), claude_.origin() + "/robots.txt");
}
