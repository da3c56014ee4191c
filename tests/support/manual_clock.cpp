#include "support/manual_clock.h"

namespace ostrel {

// A sleeper leaves the queue when its frame is destroyed before its time comes.
struct ManualClock::Sleep {
    ManualClock& clock;
    TimePoint wake;
    std::coroutine_handle<> handle;
    std::multimap<TimePoint, Sleep*>::iterator entry{};
    bool queued = false;

    Sleep(ManualClock& c, TimePoint w) : clock(c), wake(w) {}
    Sleep(const Sleep&) = delete;
    Sleep& operator=(const Sleep&) = delete;
    ~Sleep() {
        if (queued) clock.sleepers_.erase(entry);
    }
    bool await_ready() const noexcept { return false; }
    void await_suspend(std::coroutine_handle<> h) {
        handle = h;
        entry = clock.sleepers_.emplace(wake, this);
        queued = true;
    }
    void await_resume() const noexcept {}
};

ManualClock::~ManualClock() {
    for (auto& [wake, sleeper] : sleepers_)
        sleeper->queued = false;
}

Task<void> ManualClock::sleep(std::chrono::milliseconds d) {
    co_await Sleep(*this, now_ + d);
}

void ManualClock::advance(std::chrono::milliseconds d) {
    const TimePoint target = now_ + d;
    while (!sleepers_.empty() && sleepers_.begin()->first <= target) {
        auto it = sleepers_.begin();
        now_ = std::max(now_, it->first);
        Sleep* sleeper = it->second;
        sleepers_.erase(it);
        sleeper->queued = false;
        sleeper->handle.resume();
    }
    now_ = target;
}

} // namespace ostrel
