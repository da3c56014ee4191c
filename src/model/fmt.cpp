#include "model/fmt.h"

#include <cmath>
#include <cstdint>

namespace ostrel::Fmt {

std::string percent(double value) {
    if (!std::isfinite(value)) value = 0; // callers pass percentLeft, which is always finite
    return std::to_string(static_cast<long long>(std::round(value))) + "%";
}

std::string duration(TimePoint until, TimePoint from, bool condensed) {
    using namespace std::chrono;
    const auto seconds = duration_cast<std::chrono::seconds>(until - from).count();
    const std::int64_t minutes = seconds / 60; // integer division truncates toward zero
    const std::int64_t m = minutes > 0 ? minutes : 0;
    const std::int64_t days = m / 1440, hours = (m % 1440) / 60, mins = m % 60;
    if (condensed && minutes >= 4320) return std::to_string(days) + "d";
    if (minutes >= 1440) return std::to_string(days) + "d " + std::to_string(hours) + "h";
    if (m >= 60) return std::to_string(hours) + "h " + std::to_string(mins) + "m";
    return std::to_string(mins) + "m";
}

} // namespace ostrel::Fmt
