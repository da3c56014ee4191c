#include "async/clock.h"

#include "async/loop.h"

namespace ostrel {

Task<bool> SystemClock::sleep(std::chrono::milliseconds d) {
    co_return co_await sleepFor(d);
}

Task<bool> ManualClock::sleep(std::chrono::milliseconds d) {
    struct Awaiter {
        ManualClock& clock;
        TimePoint wake;
        bool await_ready() const noexcept { return false; }
        void await_suspend(std::coroutine_handle<> h) { clock.sleepers_.emplace(wake, h); }
        bool await_resume() const noexcept { return true; }
    };
    co_return co_await Awaiter{*this, now_ + d};
}

void ManualClock::advance(std::chrono::milliseconds d) {
    const TimePoint target = now_ + d;
    while (!sleepers_.empty() && sleepers_.begin()->first <= target) {
        auto it = sleepers_.begin();
        now_ = std::max(now_, it->first);
        auto h = it->second;
        sleepers_.erase(it);
        h.resume();
    }
    now_ = target;
}

} // namespace ostrel
