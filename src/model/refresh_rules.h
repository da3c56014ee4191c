#pragma once
// What a refresh's failure means for a service, and when a rate-limited service may be asked again.
// Kept apart from the model so the rules read on their own and are tested without a refresh cycle.

#include "model/provider_state.h"

#include <chrono>
#include <exception>
#include <functional>
#include <optional>
#include <string>

namespace ostrel {

// The longest a service is left alone on its own say-so (Retry-After); longer, and the user would
// take the app for broken. Also how long a service may have waited before opening the panel tries
// it anyway.
inline constexpr std::chrono::seconds longestPause{3600};

// How long to leave a rate-limited service alone: what it asked for when it said (Retry-After), but
// no longer than `longestPause` or `untilReset` (the numbers change then), whichever is sooner;
// otherwise 2, 4, 8 … minutes for the 1st, 2nd, 3rd … limit in a row, at most 30, each stretched or
// shrunk by `jitter` (0.8…1.2) so that many users' apps do not come back in step. A bot wall that
// lasts backs off the same way, without a Retry-After.
std::chrono::seconds rateLimitPause(int inARow, std::optional<std::chrono::seconds> retryAfter, double jitter,
                                    std::optional<std::chrono::seconds> untilReset = std::nullopt);

// How long until the earliest reset time ahead among the numbers held; none without one.
std::optional<std::chrono::seconds> untilNextReset(const ProviderState& s, TimePoint now);

// Whether the poll leaves `s` alone at `now`: a rate limit or a bot wall asked for a pause.
bool isResting(const ProviderState& s, TimePoint now);

// Whether opening the panel tries `s` although it is resting: it has been left alone longer than
// `longestPause` (a row of limits or walls adds up).
bool retriesOnOpen(const ProviderState& s, TimePoint now);

// The poll's own rhythm, and the tick's: the wall clock moving on much further than a tick between
// two ticks means the machine slept (the main loop's timers stop meanwhile) or the clock was set.
inline constexpr std::chrono::seconds pollInterval{60};
inline constexpr std::chrono::seconds tickInterval{30};
bool clockJumped(TimePoint lastTick, TimePoint now);

// Whether the poll would have asked `s` by `now` had the machine not slept: not resting, and its
// last try at least a poll interval ago (or none).
bool pollDue(const ProviderState& s, TimePoint now);

// A fresh answer that would wipe the numbers held without saying why: no main limit, no message and
// nothing else, where the last answer had a main limit. Such an answer is a bad response.
bool isHollowAnswer(const ProviderState& s, const UsageSnapshot& fresh);

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
