#include "model/refresh_rules.h"

#include "model/fmt.h"

#include <algorithm>
#include <cmath>

namespace ostrel {

using namespace std::chrono_literals;

std::chrono::seconds rateLimitPause(int inARow, std::optional<std::chrono::seconds> retryAfter,
                                    double jitter) {
    if (retryAfter && retryAfter->count() > 0) return *retryAfter;
    const int doublings = std::clamp(inARow, 1, 5); // 2, 4, 8, 16, 32 → capped at 30
    const auto base = std::min<std::chrono::seconds>(2min * (1 << (doublings - 1)), 30min);
    const double factor = std::clamp(jitter, 0.8, 1.2);
    return std::chrono::seconds(std::llround(static_cast<double>(base.count()) * factor));
}

std::string rateLimitStatus(TimePoint retryAt, TimePoint now) {
    return "Rate limited; next try in " + Fmt::duration(retryAt, now, false);
}

std::string applyFailure(ProviderID id, ProviderState& s, const std::exception_ptr& error, TimePoint now,
                         Notifier& notifier, const std::function<double()>& jitter) {
    const std::string name(displayName(id));
    const ProviderError* known = asProviderError(error);
    const auto kind = known ? known->kind() : ProviderError::Kind::http;
    const std::string keeping = s.snapshot ? " Showing last known numbers." : "";
    s.botCheckHost.reset();

    if (known && kind == ProviderError::Kind::needsLogin) {
        if (!s.needsLogin && s.snapshot) notifier.notifyLoginExpired(id);
        s.needsLogin = true;
        s.lastError.reset();
        s.status = "Not logged in. Click Log in to " + name + ".";
        return name + " needs login";
    }
    const std::string description = errorDescription(error);
    s.lastError = description;
    if (known && kind == ProviderError::Kind::botCheck) {
        // The login is fine; the site wants a browser to prove itself. Numbers and tray item stay.
        s.botCheckHost = known->host();
        s.status = description + "." + keeping;
        return name + " blocked: " + description;
    }
    if (known && kind == ProviderError::Kind::rateLimited) {
        ++s.rateLimits;
        s.retryAt = now + rateLimitPause(s.rateLimits, known->retryAfter(), jitter ? jitter() : 1.0);
        s.status = rateLimitStatus(*s.retryAt, now);
        return name + " rate limited; next try in " + Fmt::duration(*s.retryAt, now, false);
    }
    s.status = "Error: " + description + "." + keeping;
    return name + " error: " + description;
}

void checkLoginExpiry(ProviderID id, ProviderState& s, TimePoint now, Notifier& notifier) {
    if (!s.loginExpiresAt || *s.loginExpiresAt <= now || s.expiryNotified == s.loginExpiresAt) return;
    const auto left = *s.loginExpiresAt - now;
    if (left > 48h) return;
    const int days =
        static_cast<int>(std::ceil(std::chrono::duration<double, std::ratio<86400>>(left).count()));
    notifier.notifyLoginExpiring(id, std::max(1, days));
    s.expiryNotified = s.loginExpiresAt;
}

std::optional<std::string> loginExpiryText(const ProviderState& s, TimePoint now) {
    if (s.needsLogin || !s.snapshot || !s.loginExpiresAt) return std::nullopt;
    if (*s.loginExpiresAt <= now) return std::string("Logged in · expired");
    const auto left = *s.loginExpiresAt - now;
    const auto days = std::chrono::duration_cast<std::chrono::days>(left).count();
    if (days >= 2) return "Logged in · expires in " + std::to_string(days) + " days";
    if (days == 1) return std::string("Logged in · expires in 1 day");
    return "Logged in · expires in " + Fmt::duration(*s.loginExpiresAt, now, false);
}

} // namespace ostrel
