#pragma once
// The value records every subsystem exchanges: services, limits, snapshots and provider errors.

#include "base/time.h"

#include <array>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel {

enum class ProviderID { claude, cursor, codex };

// Declaration order, which every list of services follows (Cursor before Codex).
inline constexpr std::array<ProviderID, 3> allProviders{ProviderID::claude, ProviderID::cursor,
                                                        ProviderID::codex};

std::string_view rawValue(ProviderID id);
std::string_view displayName(ProviderID id);
// Exactly the three raw values, case-sensitively; anything else is no service.
std::optional<ProviderID> providerFromRaw(std::string_view raw);

enum class UsageLevel { low, medium, high, veryHigh };

// The band of a remaining percentage; NaN and 100 and above are veryHigh, negatives low.
UsageLevel levelForPercentLeft(double percentLeft);

struct UsageLimit {
    std::string id;
    std::string title;
    double percentUsed = 0;
    std::optional<TimePoint> resetsAt;

    // 100 − percentUsed clamped to [0, 100]; a NaN use reads as nothing used, like its level.
    double percentLeft() const;
    UsageLevel level() const;
    bool operator==(const UsageLimit&) const = default;
};

struct UsageSnapshot {
    std::optional<UsageLimit> main;
    bool mainNotStarted = false;
    std::vector<UsageLimit> others;
    std::optional<std::string> note;
    std::optional<std::string> message;
    bool operator==(const UsageSnapshot&) const = default;
};

// What a provider throws for what a service answered. what() is the user-facing description.
class ProviderError : public std::runtime_error {
  public:
    enum class Kind { http, badResponse, needsLogin, botCheck, rateLimited };

    static ProviderError http(int code, std::string host);
    static ProviderError badResponse(std::string message);
    static ProviderError needsLogin();
    // The site's bot protection answered instead of the service: not a log-out.
    static ProviderError botCheck(std::string host);
    // The service asked us to slow down, for `retryAfter` when it said how long.
    static ProviderError rateLimited(std::string host, std::optional<std::chrono::seconds> retryAfter);

    Kind kind() const { return kind_; }
    int code() const { return code_; }
    const std::string& host() const { return host_; }
    const std::optional<std::chrono::seconds>& retryAfter() const { return retryAfter_; }

  private:
    ProviderError(Kind kind, const std::string& description, int code, std::string host)
        : std::runtime_error(description), kind_(kind), code_(code), host_(std::move(host)) {}
    Kind kind_;
    int code_ = 0;
    std::string host_;
    std::optional<std::chrono::seconds> retryAfter_;
};

// The provider error inside `error`, or null when it holds another kind of failure (or none).
const ProviderError* asProviderError(const std::exception_ptr& error);
bool isNeedsLogin(const std::exception_ptr& error);
// The description the model shows for any error that escaped a fetch.
std::string errorDescription(const std::exception_ptr& error);

} // namespace ostrel
