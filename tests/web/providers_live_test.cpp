// The Codex and Cursor providers on the real web engine, against the fake sites: log in through
// the site's own form in the web view, then fetch, and watch what reaches the server.

#include "fake_chatgpt.h"
#include "fake_cursor.h"
#include "providers/codex_provider.h"
#include "providers/cursor_provider.h"
#include "support/log_lines.h"
#include "support/loop.h"
#include "support/manual_clock.h"
#include "web_fixture.h"

#include <gtest/gtest.h>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using fake::FakeAnswer;
using fake::FakeChatGPT;
using fake::FakeCursor;

namespace {

ServiceEndpoint endpointOf(const std::string& origin) {
    auto e = ServiceEndpoint::parse(origin);
    if (!e) throw std::runtime_error("not an origin: " + origin);
    return *e;
}

class ProvidersLive : public WebFixture {
  protected:
    void TearDown() override {
        codexProvider_.reset();
        cursorProvider_.reset();
        WebFixture::TearDown();
    }

    // A Codex provider on a real session, its login domains as the app configures them.
    void makeCodex() {
        ServiceConfig config;
        config.chatgpt = endpointOf(chatgpt_.origin());
        config.chatgptAccountDomain = chatgpt_.accountHost();
        auto session = std::make_unique<WebSession>(*context_, chatgpt_.host(),
                                                    chatgpt_.origin() + CodexProvider::homePath,
                                                    CodexProvider::loginDomains(config));
        codexWeb_ = session.get();
        waitForLoad(codexWeb_->webView());
        codexProvider_ = std::make_unique<CodexProvider>(std::move(session), config.chatgpt, clock_);
    }
    void makeCursor() {
        ServiceConfig config;
        config.cursor = endpointOf(cursor_.origin());
        auto session = std::make_unique<WebSession>(*context_, cursor_.host(),
                                                    cursor_.origin() + CursorProvider::homePath,
                                                    CursorProvider::loginDomains(config));
        cursorWeb_ = session.get();
        waitForLoad(cursorWeb_->webView());
        cursorProvider_ = std::make_unique<CursorProvider>(std::move(session), config.cursor, clock_);
    }

    // Fetches, keeping what the session logged in `logged_`.
    UsageSnapshot fetch(UsageProvider& provider) {
        ostrel::test::LogCapture capture;
        std::exception_ptr error;
        UsageSnapshot s;
        try {
            s = runSync(provider.fetch(), 90s);
        } catch (...) {
            error = std::current_exception();
        }
        logged_ += capture.finish();
        if (error) std::rethrow_exception(error);
        return s;
    }
    std::string fetchError(UsageProvider& provider) {
        try {
            fetch(provider);
        } catch (const std::exception& e) {
            return e.what();
        }
        return "no error";
    }
    void expectNoSecretLogged() {
        for (const auto* values :
             {&chatgpt_.issuedTokens(), &chatgpt_.issuedSessions(), &cursor_.issuedSessions()})
            for (const auto& secret : *values)
                EXPECT_TRUE(logged_.find(secret) == std::string::npos) << "a secret was logged";
    }
    std::size_t requestsTo(fake::FakeServer& server, const char* path) {
        return server.requestsTo(path).size();
    }

    ManualClock clock_{
        std::chrono::time_point_cast<std::chrono::milliseconds>(std::chrono::system_clock::now())};
    FakeChatGPT chatgpt_;
    FakeCursor cursor_;
    WebSession* codexWeb_ = nullptr;
    WebSession* cursorWeb_ = nullptr;
    std::unique_ptr<CodexProvider> codexProvider_;
    std::unique_ptr<CursorProvider> cursorProvider_;
    std::string logged_;
};

} // namespace

TEST_F(ProvidersLive, CodexCachesItsTokenAndReplacesARejectedOne) {
    makeCodex();
    logInThroughForm(*codexWeb_, chatgpt_.origin() + CodexProvider::loginPath, FakeChatGPT::cookieName);
    fake::FakeServer& site = chatgpt_.server();
    site.clearRequests();

    const UsageSnapshot s = fetch(*codexProvider_);
    ASSERT_TRUE(s.main);
    EXPECT_FALSE(s.mainNotStarted);
    EXPECT_EQ(*s.main, (UsageLimit{"primary", "5-Hour Session", 23, clock_.now() + 2h}));
    ASSERT_EQ(s.others.size(), 1u);
    EXPECT_EQ(s.others[0],
              (UsageLimit{"secondary", "Weekly Limit", 41, clock_.now() + std::chrono::days(3)}));
    EXPECT_EQ(requestsTo(site, "/api/auth/session"), 1u);
    ASSERT_EQ(chatgpt_.issuedTokens().size(), 1u);
    EXPECT_TRUE(chatgpt_.usageTokens() == chatgpt_.issuedTokens()) << "the usage request carried the token";

    // Within 900 seconds the token is sent again without asking the session endpoint.
    clock_.advance(900s);
    fetch(*codexProvider_);
    EXPECT_EQ(requestsTo(site, "/api/auth/session"), 1u);
    ASSERT_EQ(chatgpt_.usageTokens().size(), 2u);
    EXPECT_TRUE(chatgpt_.usageTokens()[1] == chatgpt_.issuedTokens()[0]);

    // At 901 seconds it is read anew.
    clock_.advance(1s);
    fetch(*codexProvider_);
    EXPECT_EQ(requestsTo(site, "/api/auth/session"), 2u);
    ASSERT_EQ(chatgpt_.issuedTokens().size(), 2u);
    EXPECT_TRUE(chatgpt_.usageTokens().back() == chatgpt_.issuedTokens()[1]);

    // A refused token: one fresh read, one more request with the new token.
    chatgpt_.rejectNextUsage(1);
    EXPECT_EQ(fetch(*codexProvider_).main->percentUsed, 23);
    EXPECT_EQ(requestsTo(site, "/api/auth/session"), 3u);
    auto tokens = chatgpt_.usageTokens();
    ASSERT_EQ(tokens.size(), 5u);
    EXPECT_TRUE(tokens[3] == chatgpt_.issuedTokens()[1]);
    EXPECT_TRUE(tokens[4] == chatgpt_.issuedTokens()[2]);
    EXPECT_FALSE(tokens[3] == tokens[4]);

    // Refused twice: logged out, with no third attempt.
    chatgpt_.rejectNextUsage(2);
    EXPECT_EQ(fetchError(*codexProvider_), "Not logged in");
    EXPECT_EQ(chatgpt_.usageTokens().size(), 7u);
    EXPECT_EQ(requestsTo(site, "/api/auth/session"), 4u);
    // All of it from inside the site's page, the bearer token included.
    EXPECT_EQ(logged_.find("Page fetch failed"), std::string::npos) << logged_;
    expectNoSecretLogged();
}

TEST_F(ProvidersLive, CodexLogOutClearsTheSiteAndItsAccountDomain) {
    makeCodex();
    // Not logged in: the session endpoint answers {} and no usage request is made.
    EXPECT_EQ(fetchError(*codexProvider_), "Not logged in");
    EXPECT_EQ(requestsTo(chatgpt_.server(), "/backend-api/wham/usage"), 0u);

    logInThroughForm(*codexWeb_, chatgpt_.origin() + CodexProvider::loginPath, FakeChatGPT::cookieName);

    // Logging out clears the site and its account domain alike.
    WebSession account(*context_, chatgpt_.accountHost(), chatgpt_.origin() + "/");
    EXPECT_TRUE(runSync(account.hasCookie(FakeChatGPT::accountCookieName), 10s));
    ostrel::test::LogCapture capture2;
    runSync(codexProvider_->web().logOut(), 30s);
    logged_ += capture2.finish();
    codexProvider_->reset(); // as the app does on a log-out
    EXPECT_FALSE(runSync(codexWeb_->hasCookie(FakeChatGPT::cookieName), 10s));
    EXPECT_FALSE(runSync(account.hasCookie(FakeChatGPT::accountCookieName), 10s));
    waitForLoad(codexWeb_->webView());
    EXPECT_EQ(fetchError(*codexProvider_), "Not logged in");
    expectNoSecretLogged();
}

TEST_F(ProvidersLive, CursorWithoutItsCookieAsksNothing) {
    makeCursor();
    EXPECT_EQ(fetchError(*cursorProvider_), "Not logged in");
    EXPECT_EQ(requestsTo(cursor_.server(), "/api/usage-summary"), 0u);
    EXPECT_EQ(logged_, "") << "not even a GET was started";
}

TEST_F(ProvidersLive, CursorLogsInAndReadsTheSummary) {
    makeCursor();
    logInThroughForm(*cursorWeb_, cursor_.origin() + CursorProvider::loginPath, FakeCursor::cookieName);
    const TimePoint cycleEnd = clock_.now() + std::chrono::days(12);
    cursor_.setUsageAnswer(FakeAnswer::json(FakeCursor::usageJson(18, 37, cycleEnd, 1234)));
    cursor_.server().clearRequests();

    const UsageSnapshot s = fetch(*cursorProvider_);
    ASSERT_TRUE(s.main);
    EXPECT_EQ(*s.main, (UsageLimit{"monthly", "API pool", 37, cycleEnd}));
    EXPECT_EQ(s.note, "$12.34 on-demand this cycle");
    EXPECT_TRUE(s.others.empty());
    const auto seen = cursor_.server().requestsTo("/api/usage-summary");
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_TRUE(seen[0].cookie(FakeCursor::cookieName) == cursor_.issuedSessions().back());
    EXPECT_NE(logged_.find("Page fetch → HTTP 200"), std::string::npos) << logged_;

    // A session the service ended is a log-out.
    cursor_.expireSessions();
    EXPECT_EQ(fetchError(*cursorProvider_), "Not logged in");
    expectNoSecretLogged();
}
