#pragma once
// The two formatters every displayed figure goes through.

#include "base/time.h"

#include <string>

namespace ostrel::Fmt {

// Nearest whole number, halves away from zero, then "%": 42.5 → "43%".
std::string percent(double value);

// Time from `from` to `until`: "45m", "3h 7m", "1d 5h"; condensed gives "4d" from three days on.
// A target in the past gives "0m".
std::string duration(TimePoint until, TimePoint from, bool condensed);

} // namespace ostrel::Fmt
