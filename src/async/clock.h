#pragma once
// The time source of the refresh cycle. The app uses the wall clock and main-loop timers; tests
// and the long-run suite use ManualClock, whose time moves only when told, so hours of polling run
// in milliseconds without sleeping.

#include "async/task.h"
#include "base/time.h"

#include <chrono>
#include <coroutine>
#include <map>

namespace ostrel {

class Clock {
  public:
    virtual ~Clock() = default;
    virtual TimePoint now() const = 0;
    // Suspends for `d`; true when the full time passed.
    virtual Task<bool> sleep(std::chrono::milliseconds d) = 0;
};

class SystemClock final : public Clock {
  public:
    TimePoint now() const override { return std::chrono::system_clock::now(); }
    Task<bool> sleep(std::chrono::milliseconds d) override;
};

class ManualClock final : public Clock {
  public:
    explicit ManualClock(TimePoint start) : now_(start) {}
    TimePoint now() const override { return now_; }
    Task<bool> sleep(std::chrono::milliseconds d) override;

    // Moves time forward by `d`, waking each sleeper whose time has come, earliest first, and
    // letting each woken task run until it suspends again before the next one wakes.
    void advance(std::chrono::milliseconds d);
    std::size_t sleepers() const { return sleepers_.size(); }

  private:
    TimePoint now_;
    std::multimap<TimePoint, std::coroutine_handle<>> sleepers_;
};

} // namespace ostrel
