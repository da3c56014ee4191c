#include "model/refresh_rules.h"

#include "model/fmt.h"

#include <algorithm>
#include <cmath>

namespace ostrel {

using namespace std::chrono_literals;

std::chrono::seconds rateLimitPause(int inARow, std::optional<std::chrono::seconds> retryAfter, double jitter,
                                    std::optional<std::chrono::seconds> untilReset) {
    if (retryAfter && retryAfter->count() > 0) {
        auto pause = std::min(*retryAfter, longestPause);
        if (untilReset && untilReset->count() > 0) pause = std::min(pause, *untilReset);
        return pause;
    }
    const int doublings = std::clamp(inARow, 1, 5); // 2, 4, 8, 16, 32 → capped at 30
    const auto base = std::min<std::chrono::seconds>(2min * (1 << (doublings - 1)), 30min);
    const double factor = std::clamp(jitter, 0.8, 1.2);
    return std::chrono::seconds(std::llround(static_cast<double>(base.count()) * factor));
}

std::optional<std::chrono::seconds> untilNextReset(const ProviderState& s, TimePoint now) {
    if (!s.snapshot) return std::nullopt;
    std::optional<TimePoint> next;
    auto consider = [&](const UsageLimit& l) {
        if (l.resetsAt && *l.resetsAt > now && (!next || *l.resetsAt < *next)) next = l.resetsAt;
    };
    if (s.snapshot->main) consider(*s.snapshot->main);
    for (const UsageLimit& l : s.snapshot->others)
        consider(l);
    if (!next) return std::nullopt;
    return std::chrono::ceil<std::chrono::seconds>(*next - now);
}

bool isResting(const ProviderState& s, TimePoint now) {
    return s.retryAt && now < *s.retryAt;
}

bool retriesOnOpen(const ProviderState& s, TimePoint now) {
    return isResting(s, now) && s.restingSince && now - *s.restingSince > longestPause;
}

bool clockJumped(TimePoint lastTick, TimePoint now) {
    const auto moved = now - lastTick;
    return moved > 3 * tickInterval || moved < -tickInterval;
}

bool pollDue(const ProviderState& s, TimePoint now) {
    if (isResting(s, now)) return false;
    return !s.lastAttempt || now - *s.lastAttempt >= pollInterval || now < *s.lastAttempt;
}

bool isHollowAnswer(const ProviderState& s, const UsageSnapshot& fresh) {
    const bool hadNumbers = s.snapshot && s.snapshot->main;
    return hadNumbers && !fresh.main && !fresh.message && fresh.others.empty();
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
        // Each try costs a full load of the site's page, so a wall that stays is tried less often.
        s.botCheckHost = known->host();
        ++s.botChecks;
        if (!s.restingSince) s.restingSince = now;
        s.retryAt = now + rateLimitPause(s.botChecks, std::nullopt, jitter ? jitter() : 1.0);
        s.status = description + "." + keeping;
        return name + " blocked: " + description + "; next try in " + Fmt::duration(*s.retryAt, now, false);
    }
    if (known && kind == ProviderError::Kind::rateLimited) {
        ++s.rateLimits;
        if (!s.restingSince) s.restingSince = now;
        s.retryAt = now + rateLimitPause(s.rateLimits, known->retryAfter(), jitter ? jitter() : 1.0,
                                         untilNextReset(s, now));
        s.status = rateLimitStatus(*s.retryAt, now);
        return name + " rate limited; next try in " + Fmt::duration(*s.retryAt, now, false);
    }
    s.restingSince.reset(); // the service answered something of its own: the row of refusals ended
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
