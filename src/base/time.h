#pragma once
// The one time type of the app: wall-clock instants, as the services' reset times are.

#include <chrono>

namespace ostrel {

using TimePoint = std::chrono::system_clock::time_point;

} // namespace ostrel
