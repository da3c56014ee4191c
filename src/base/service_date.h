#pragma once
// The one rule for the services' text dates: cut fractions of a second to three digits, then read
// an RFC 3339 internet date-time with, then without, fractional seconds. Anything else is no date.

#include "base/time.h"

#include <optional>
#include <string>
#include <string_view>

namespace ostrel {

// Replaces every match of "(\.\d{3})\d+" with its first group.
std::string cutFractionToMillis(std::string_view text);

std::optional<TimePoint> parseServiceDate(std::string_view text);

} // namespace ostrel
