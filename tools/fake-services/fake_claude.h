#pragma once
// The Claude web site in miniature: a home page, a login form that sets the session cookie, and the
// two usage endpoints, which answer only to that cookie. Tests choose what the endpoints say.

#include "async/clock.h"
#include "fake_server.h"
#include "fake_site.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace ostrel::fake {

class FakeClaude {
  public:
    static constexpr const char* cookieName = "sessionKey";
    static constexpr const char* orgUuid = "6f1c2d7e-0a4b-4c55-9d1e-2b7f3a8c9e10";

    explicit FakeClaude(std::string address = "127.0.0.2", int port = 0);

    FakeServer& server() { return server_; }
    // How much it behaves like the real site: bot wall, single-page-app pages.
    FakeSite& site() { return site_; }
    std::string origin() const { return server_.origin(); }
    const std::string& host() const { return server_.address(); }

    // What the usage endpoint answers a logged-in request (default: a current-format answer).
    void setUsageAnswer(FakeAnswer answer) { usage_ = std::move(answer); }
    // What the organizations endpoint answers a logged-in request (default: one organization).
    void setOrganizationsAnswer(FakeAnswer answer) { orgs_ = std::move(answer); }

    // Session values the login form handed out (tests look for them where they must not be).
    const std::vector<std::string>& issuedSessions() const { return issued_; }
    // Issues a session as the form would and returns its cookie value.
    std::string issueSession();
    // Every issued session stops working (the login expired on the service's side).
    void expireSessions() { valid_.clear(); }

    // A current-format usage answer: session and weekly limits with reset times.
    static std::string usageJson(double sessionPercent, std::optional<TimePoint> sessionReset,
                                 double weeklyPercent, std::optional<TimePoint> weeklyReset);

  private:
    bool loggedIn(const FakeRequest& r) const;

    FakeServer server_;
    FakeSite site_{server_, {"/api/"}};
    FakeAnswer usage_;
    FakeAnswer orgs_;
    std::vector<std::string> issued_;
    std::vector<std::string> valid_;
};

} // namespace ostrel::fake
