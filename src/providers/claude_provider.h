#pragma once
// Claude: discovers the user's organization, then reads its usage endpoint. Two answer formats are
// read: a "limits" list, and an earlier one with fixed "five_hour" and "seven_day" members.

#include "async/clock.h"
#include "providers/service_config.h"
#include "providers/usage_provider.h"

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>

namespace ostrel {

class ClaudeProvider final : public UsageProvider {
  public:
    static constexpr const char* homePath = "/settings/usage";
    static constexpr const char* loginPath = "/login";

    ClaudeProvider(std::unique_ptr<WebClient> web, ServiceEndpoint endpoint, const Clock& clock);

    ProviderID id() const override { return ProviderID::claude; }
    WebClient& web() override { return *web_; }
    std::string loginURL() const override { return endpoint_.url(loginPath); }
    std::string sessionCookieName() const override { return "sessionKey"; }
    Task<UsageSnapshot> fetch() override;
    void reset() override { usageURL_.reset(); }

    // The discovered usage endpoint, kept across fetches until a 401/403/404 or reset().
    const std::optional<std::string>& usageURL() const { return usageURL_; }

    static UsageSnapshot parse(const nlohmann::json& object, TimePoint now);

  private:
    Task<std::optional<std::string>> findUsageURL();
    // The error for a 200 answer that is not the service's JSON.
    ProviderError unexpected() const;

    std::unique_ptr<WebClient> web_;
    ServiceEndpoint endpoint_;
    const Clock& clock_;
    std::optional<std::string> usageURL_;
};

} // namespace ostrel
