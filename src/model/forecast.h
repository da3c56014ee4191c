#pragma once
// When a limit runs out at the recent pace. The history holds a row only when a value changed, so
// the readings are a step function: the value of the last reading holds until the next one (and
// until now). The pace is the Theil–Sen slope (median of pairwise slopes) of that step function
// sampled once a minute over the last 45 minutes of the current window, which a single burst or a
// noisy reading does not throw off.

#include "base/usage.h"

#include <optional>
#include <string>
#include <vector>

namespace ostrel {

// One recorded value of one limit.
struct UsageReading {
    ProviderID service = ProviderID::claude;
    std::string limitId;
    std::string title;
    double percentUsed = 0;
    std::optional<TimePoint> resetsAt;
    TimePoint at;
    bool operator==(const UsageReading&) const = default;
};

struct PaceForecast {
    TimePoint runsOutAt;
    std::optional<TimePoint> resetsAt;
    // Whether the limit runs out before it resets (always, when there is no reset time).
    bool runsOutFirst() const { return !resetsAt || runsOutAt < *resetsAt; }
};

// Whether `later` says something `earlier` did not: another value, a reset time that appeared or
// went, or one that moved by a minute or more. A reset derived from "seconds left" drifts by the
// request's latency on every reading; that drift is no news.
bool isChange(const UsageReading& earlier, const UsageReading& later);

// Whether `later` starts a new window after `earlier`: the reset time moved more than a minute
// later, or (with no reset times) the use fell by more than ten points.
bool isReset(const UsageReading& earlier, const UsageReading& later);

// The readings since the last reset in `readings` (oldest first).
std::vector<UsageReading> currentWindow(const std::vector<UsageReading>& readings);

// The forecast for a limit from its readings (oldest first, one limit); none until the data can say
// something: three readings of the current window spanning ten minutes, and use rising.
std::optional<PaceForecast> paceForecast(const std::vector<UsageReading>& readings, TimePoint now);

// "At this pace: runs out in 1h 20m, 45m before the reset" or "At this pace: lasts until the reset".
std::string paceText(const PaceForecast& forecast, TimePoint now);

// Whether the forecast is worth a notification: out at least 30 minutes before the reset and
// within the next two hours.
bool warrantsPaceWarning(const PaceForecast& forecast, TimePoint now);
// "Claude: at this pace you run out in 40m, 1h 30m before the reset".
std::string paceWarningText(ProviderID id, const PaceForecast& forecast, TimePoint now);

} // namespace ostrel
