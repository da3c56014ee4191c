#pragma once
// Driving the main loop from a test.

#include "async/loop.h"

#include <chrono>

namespace ostrel::test {

// Runs the main loop for `d` (timers and callbacks fire meanwhile).
void pump(std::chrono::milliseconds d);
// Runs pending main-loop work that is ready now, without waiting.
void drain();

} // namespace ostrel::test
