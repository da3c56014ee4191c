// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// What /proc says about the web engine's network process: the engine tells nothing of it, and a
// network process that dies while it answers a store call answers "nothing stored" and no error.

#include <optional>

namespace ostrel {

// Time since boot, in clock ticks (the unit /proc gives start times in).
std::optional<unsigned long long> ticksSinceBoot();
// When this process's network process started, in clock ticks since boot; nothing without one.
std::optional<unsigned long long> networkProcessStart();

} // namespace ostrel
