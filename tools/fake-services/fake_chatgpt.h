#pragma once
// The ChatGPT web site in miniature, as far as Codex usage goes: a home page, a login that passes
// through the account domain (its own loopback address) and sets the session cookie, the session
// endpoint that hands out access tokens only to that cookie, and the usage endpoint that answers
// only to a valid bearer token. Tests choose what the endpoints say and can see which token each
// usage request carried.

#include "async/clock.h"
#include "fake_server.h"
#include "fake_site.h"

#include <optional>
#include <string>
#include <vector>

namespace ostrel::fake {

class FakeChatGPT {
  public:
    static constexpr const char* cookieName = "next-auth.session-token";
    static constexpr const char* accountCookieName = "auth-session";

    explicit FakeChatGPT(std::string address = "127.0.0.4", std::string accountAddress = "127.0.0.5",
                         int port = 0);

    FakeServer& server() { return server_; }
    // How much it behaves like the real site: bot wall, single-page-app pages.
    FakeSite& site() { return site_; }
    FakeServer& accountServer() { return account_; }
    std::string origin() const { return server_.origin(); }
    const std::string& host() const { return server_.address(); }
    const std::string& accountHost() const { return account_.address(); }

    // What the usage endpoint answers a request with a valid token (default: two running windows).
    void setUsageAnswer(FakeAnswer answer) { usage_ = std::move(answer); }
    // Replaces the session endpoint's own answer (a fresh token to a logged-in cookie, {} to anyone
    // else); no value goes back to that.
    void setSessionAnswer(std::optional<FakeAnswer> answer) { sessionOverride_ = std::move(answer); }
    // The next `count` usage requests are refused with 401 and their tokens revoked, as when the
    // service rotates a token before its time.
    void rejectNextUsage(int count = 1) { rejectNext_ = count; }

    // Issues a session as the login would and returns its cookie value.
    std::string issueSession();
    // Every issued session stops working (the login expired on the service's side).
    void expireSessions() { validSessions_.clear(); }
    // Every access token handed out so far stops working.
    void expireTokens() { validTokens_.clear(); }

    // Values handed out (tests look for them where they must not be, and compare them in memory).
    const std::vector<std::string>& issuedSessions() const { return sessions_; }
    const std::vector<std::string>& issuedTokens() const { return tokens_; }
    // The bearer token of each usage request, oldest first ("" for a request without one).
    std::vector<std::string> usageTokens() const;

    // One rate-limit window of a usage answer.
    struct Window {
        double usedPercent = 0;
        std::optional<double> windowSeconds = 5 * 3600;
        std::optional<double> resetAfterSeconds;
        std::optional<TimePoint> resetAt; // sent as seconds since 1970
    };
    // A usage answer with the given windows; with neither, a plan without rate limits.
    static std::string usageJson(std::optional<Window> primary,
                                 std::optional<Window> secondary = std::nullopt,
                                 const std::string& plan = "plus");
    // A typical paid-plan answer: a 5-hour window and a weekly one, each with its seconds to go.
    static std::string usageJson(double sessionPercent, double sessionResetAfter, double weeklyPercent,
                                 double weeklyResetAfter);

  private:
    bool loggedIn(const FakeRequest& r) const;
    FakeAnswer sessionAnswer(const FakeRequest& r);
    FakeAnswer usageAnswer(const FakeRequest& r);

    FakeServer server_;
    FakeSite site_{server_, {"/api/auth/session", "/backend-api/"}};
    FakeServer account_;
    FakeAnswer usage_;
    std::optional<FakeAnswer> sessionOverride_;
    int rejectNext_ = 0;
    std::vector<std::string> sessions_;
    std::vector<std::string> validSessions_;
    std::vector<std::string> tokens_;
    std::vector<std::string> validTokens_;
    std::vector<std::string> loginCodes_; // one-time codes from the account domain to the callback
};

} // namespace ostrel::fake
