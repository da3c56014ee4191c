#pragma once
// A clock whose time moves only when told: hours of the refresh cycle run in milliseconds.

#include "async/clock.h"

#include <chrono>
#include <coroutine>
#include <map>

namespace ostrel {

class ManualClock final : public Clock {
  public:
    explicit ManualClock(TimePoint start) : now_(start) {}
    ManualClock(const ManualClock&) = delete;
    ManualClock& operator=(const ManualClock&) = delete;
    // Sleepers still waiting never wake; their frames may be destroyed later without the clock.
    ~ManualClock() override;
    TimePoint now() const override { return now_; }
    Task<void> sleep(std::chrono::milliseconds d) override;

    // Moves time forward by `d`, waking each sleeper whose time has come, earliest first, and
    // letting each woken task run until it suspends again before the next one wakes.
    void advance(std::chrono::milliseconds d);

  private:
    struct Sleep;
    TimePoint now_;
    std::multimap<TimePoint, Sleep*> sleepers_;
};

} // namespace ostrel
