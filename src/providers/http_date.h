// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// HTTP dates, as a Retry-After header may give one.

#include "base/time.h"

#include <optional>
#include <string_view>

namespace ostrel {

// An HTTP date in any of the three forms a server may send: "Sun, 06 Nov 1994 08:49:37 GMT" (the
// one in use), "Sunday, 06-Nov-94 08:49:37 GMT" and "Sun Nov  6 08:49:37 1994". No value for
// anything else, a date that does not exist included.
std::optional<TimePoint> parseHttpDate(std::string_view text);

} // namespace ostrel
