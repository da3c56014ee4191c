#pragma once
// The time source of the refresh cycle. The app uses the wall clock and main-loop timers; tests
// use a clock of their own whose time moves only when told, so hours of polling run in
// milliseconds without sleeping.

#include "async/task.h"
#include "base/time.h"

#include <chrono>

namespace ostrel {

class Clock {
  public:
    virtual ~Clock() = default;
    virtual TimePoint now() const = 0;
    // Suspends for `d`.
    virtual Task<void> sleep(std::chrono::milliseconds d) = 0;
};

class SystemClock final : public Clock {
  public:
    TimePoint now() const override { return std::chrono::system_clock::now(); }
    Task<void> sleep(std::chrono::milliseconds d) override;
};

} // namespace ostrel
