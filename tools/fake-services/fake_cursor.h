#pragma once
// The Cursor web site in miniature: a dashboard page that shows a login form until the session
// cookie is set, and the usage summary endpoint, which answers only to that cookie. Tests choose
// what the endpoint says; usageJson builds the summary in each shape the app reads.

#include "async/clock.h"
#include "fake_server.h"
#include "fake_site.h"

#include <optional>
#include <string>
#include <vector>

namespace ostrel::fake {

class FakeCursor {
  public:
    static constexpr const char* cookieName = "WorkosCursorSessionToken";

    explicit FakeCursor(std::string address = "127.0.0.3", int port = 0);

    FakeServer& server() { return server_; }
    // How much it behaves like the real site: bot wall, single-page-app pages.
    FakeSite& site() { return site_; }
    std::string origin() const { return server_.origin(); }
    const std::string& host() const { return server_.address(); }

    // What the usage summary answers a logged-in request (default: a plan with two pools in use).
    void setUsageAnswer(FakeAnswer answer) { usage_ = std::move(answer); }

    // Issues a session as the form would and returns its cookie value.
    std::string issueSession();
    const std::vector<std::string>& issuedSessions() const { return issued_; }
    // Every issued session stops working (the login expired on the service's side).
    void expireSessions() { valid_.clear(); }

    // The members of a usage summary; an absent value leaves its member out.
    struct Summary {
        std::string membershipType = "pro";
        bool isUnlimited = false;
        std::optional<TimePoint> billingCycleEnd;
        std::optional<double> planLimit = 2000; // no value: no "plan" at all
        std::optional<double> autoPercentUsed;
        std::optional<double> apiPercentUsed;
        std::optional<double> totalPercentUsed;
        bool onDemandEnabled = false;
        double onDemandUsedCents = 0;
    };
    static std::string usageJson(const Summary& summary);
    // A paid plan with both pools in use, the cycle ending `cycleEnd`, and on-demand spending.
    static std::string usageJson(double autoPercent, double apiPercent, TimePoint cycleEnd,
                                 double onDemandCents = 0);

  private:
    bool loggedIn(const FakeRequest& r) const;

    FakeServer server_;
    FakeSite site_{server_, {"/api/"}};
    FakeAnswer usage_;
    std::vector<std::string> issued_;
    std::vector<std::string> valid_;
};

} // namespace ostrel::fake
