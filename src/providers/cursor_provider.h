#pragma once
// Cursor: the monthly included usage from the usage summary endpoint, as one limit (the busier of
// the plan's pools) that resets with the billing cycle, with the cycle's on-demand spending as a
// note. A missing session cookie means logged out, known without asking the service.

#include "async/clock.h"
#include "providers/service_config.h"
#include "providers/usage_provider.h"

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

namespace ostrel {

class CursorProvider final : public UsageProvider {
  public:
    static constexpr const char* homePath = "/dashboard";
    static constexpr const char* loginPath = "/dashboard";
    static constexpr const char* sessionCookie = "WorkosCursorSessionToken";

    // The domains whose website data make up a Cursor login: the site, then its older domain.
    static std::vector<std::string> loginDomains(const ServiceConfig& config);

    // Built like the other providers; nothing Cursor reports depends on the current time, so the
    // clock is not kept.
    CursorProvider(std::unique_ptr<WebClient> web, ServiceEndpoint endpoint, const Clock& clock);

    ProviderID id() const override { return ProviderID::cursor; }
    WebClient& web() override { return *web_; }
    std::string loginURL() const override { return endpoint_.url(loginPath); }
    std::string sessionCookieName() const override { return sessionCookie; }
    Task<UsageSnapshot> fetch() override;
    // Nothing is cached beyond the web session's cookies.
    void reset() override {}

    static UsageSnapshot parse(const nlohmann::json& object);
    // A JSON number (a Boolean counts as one) as a double; text and everything else is no number.
    static std::optional<double> number(const nlohmann::json& value);
    // "$12.34 on-demand this cycle" for 1234 cents, with a "." whatever the user's locale.
    static std::string onDemandNote(double cents);

  private:
    std::unique_ptr<WebClient> web_;
    ServiceEndpoint endpoint_;
};

} // namespace ostrel
