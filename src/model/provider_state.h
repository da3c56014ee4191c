#pragma once
// What the model knows about one service.

#include "base/usage.h"

#include <optional>
#include <set>
#include <string>

namespace ostrel {

struct ProviderState {
    std::optional<UsageSnapshot> snapshot; // last good numbers; cleared only by logging out
    bool needsLogin = false;
    std::string status = "Loading…";
    std::optional<TimePoint> lastAttempt;
    std::optional<TimePoint> lastUpdated;
    std::optional<std::string> lastError;
    bool notifiedBelow50 = false;
    bool notifiedBelow10 = false;
    std::set<std::string> notifiedBelow10Others;
    std::optional<std::string> botCheckHost; // the site whose bot check the last attempt met
    std::optional<TimePoint> retryAt;        // rate limited or walled: no scheduled try before this
    std::optional<TimePoint> restingSince;   // when the current row of rate limits or walls began
    int rateLimits = 0;                      // rate limits in a row, for the back-off
    int botChecks = 0;                       // bot walls in a row, for the back-off of site visits
    std::optional<TimePoint> loginExpiresAt; // when the login cookie expires, if it says
    std::optional<TimePoint> expiryNotified; // the expiry whose advance notice went out
};

// "Logged in · expires in 5 days", for a login whose cookie has an expiry; nothing otherwise.
std::optional<std::string> loginExpiryText(const ProviderState& s, TimePoint now);

// The system notifications; the model decides when, this only posts.
class Notifier {
  public:
    virtual ~Notifier() = default;
    virtual void notifyBelow50(ProviderID id, const UsageLimit& limit) = 0;
    virtual void notifyBelow10(ProviderID id, const UsageLimit& limit) = 0;
    virtual void notifyReset(ProviderID id, const UsageLimit& limit) = 0;
    virtual void notifyLoginExpired(ProviderID id) = 0;
    // The login runs out in `days` (whole days, rounded up): a notice ahead of it.
    virtual void notifyLoginExpiring(ProviderID id, int days) = 0;
};

// Applies the notification memory to a fresh snapshot: what was already said is not said again,
// the first numbers of a run are silent, and a reset (the reset time moving more than a minute
// later after some use) clears the memory. `state` holds the memory and is updated.
void applyNotificationRules(ProviderID id, ProviderState& state,
                            const std::optional<UsageLimit>& previousMain,
                            const std::vector<UsageLimit>& previousOthers, const UsageSnapshot& fresh,
                            Notifier& notifier);

} // namespace ostrel
