#pragma once
// Codex, read through the ChatGPT web site: the logged-in session's access token comes from the
// site's session endpoint and is sent as a bearer token to the usage endpoint. The token is kept
// for a quarter of an hour, and a rejected one is replaced once per fetch.

#include "async/clock.h"
#include "providers/service_config.h"
#include "providers/usage_provider.h"

#include <chrono>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

namespace ostrel {

class CodexProvider final : public UsageProvider {
  public:
    static constexpr const char* homePath = "/codex/settings/usage";
    static constexpr const char* loginPath = "/auth/login";
    static constexpr std::chrono::seconds tokenLifetime{900};

    // The domains whose website data make up a ChatGPT login: the site, then its account domain.
    static std::vector<std::string> loginDomains(const ServiceConfig& config);

    CodexProvider(std::unique_ptr<WebClient> web, ServiceEndpoint endpoint, const Clock& clock);

    ProviderID id() const override { return ProviderID::codex; }
    WebClient& web() override { return *web_; }
    std::string loginURL() const override { return endpoint_.url(loginPath); }
    // Browsers keep "__Secure-" cookies to HTTPS sites; over plain HTTP the site drops the prefix.
    std::string sessionCookieName() const override {
        return endpoint_.scheme == "https" ? "__Secure-next-auth.session-token" : "next-auth.session-token";
    }
    Task<UsageSnapshot> fetch() override;
    void reset() override { auth_.reset(); }

    // One rate-limit window of the usage answer.
    struct WindowInfo {
        UsageLimit limit;
        bool notStarted = false; // shown as a 0 placeholder when it is the main window
    };

    static UsageSnapshot parse(const nlohmann::json& object, TimePoint now);
    // No value when `value` is not an object or has no numeric "used_percent".
    static std::optional<WindowInfo> window(const nlohmann::json& value, const std::string& id,
                                            TimePoint now);
    static std::string title(double windowSeconds);
    // A JSON number (a Boolean counts as one) as a double; text and everything else is no number.
    static std::optional<double> number(const nlohmann::json& value);

  private:
    struct Auth {
        std::string token;
        TimePoint fetchedAt;
    };
    Task<std::optional<Auth>> findAuth();
    Task<HttpResult> requestUsage();

    std::unique_ptr<WebClient> web_;
    ServiceEndpoint endpoint_;
    const Clock& clock_;
    std::optional<Auth> auth_;
};

} // namespace ostrel
