#pragma once
// Locale-aware times of day, from ICU's locale data (the locale comes from the environment).

#include "base/time.h"

#include <string>

namespace ostrel {

// The locale's short time style, no date: "3:45 PM", "15:45".
std::string shortTime(TimePoint t);
// Abbreviated weekday with hour and minute: "Thu 9:30 PM", "Do., 21:30".
std::string weekdayTime(TimePoint t);

} // namespace ostrel
