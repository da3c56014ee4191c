#pragma once
// What a refresh's failure means for a service, and when a rate-limited service may be asked again.
// Kept apart from the model so the rules read on their own and are tested without a refresh cycle.

#include "model/provider_state.h"

#include <chrono>
#include <exception>
#include <functional>
#include <string>

namespace ostrel {

// How long to leave a rate-limited service alone: what it asked for when it said (Retry-After),
// otherwise 2, 4, 8 … minutes for the 1st, 2nd, 3rd … limit in a row, at most 30, each stretched or
// shrunk by `jitter` (0.8…1.2) so that many users' apps do not come back in step.
std::chrono::seconds rateLimitPause(int inARow, std::optional<std::chrono::seconds> retryAfter,
                                    double jitter);

// "Rate limited; next try in 4m".
std::string rateLimitStatus(TimePoint retryAt, TimePoint now);

// Applies a failed fetch to `s` (the numbers always stay): a needed login, the site's bot check, a
// rate limit, or any other error. Returns the line for the log. Posts the login-expired notice when
// a service with numbers turns out to be logged out.
std::string applyFailure(ProviderID id, ProviderState& s, const std::exception_ptr& error, TimePoint now,
                         Notifier& notifier, const std::function<double()>& jitter);

// Posts the advance notice once per login when its cookie expires within two days.
void checkLoginExpiry(ProviderID id, ProviderState& s, TimePoint now, Notifier& notifier);

} // namespace ostrel
