#include "async/loop.h"

#include "base/gobject_ptr.h"
#include "base/log.h"

#include <algorithm>
#include <exception>
#include <string>

namespace ostrel {

namespace detail {
void reportDetachedFailure(std::exception_ptr error) noexcept {
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& e) {
        log(std::string("background task failed: ") + e.what());
    } catch (...) {
        log("background task failed");
    }
}
} // namespace detail

namespace {
// Suspends until a main-loop timer fires; a destroyed frame takes its timer with it.
struct SleepAwaiter {
    std::chrono::milliseconds duration;
    std::coroutine_handle<> handle;
    SourceId timer;

    bool await_ready() const noexcept { return duration.count() <= 0; }
    void await_suspend(std::coroutine_handle<> h) {
        handle = h;
        timer = SourceId(g_timeout_add_full(G_PRIORITY_DEFAULT, static_cast<guint>(duration.count()),
                                            &SleepAwaiter::onTimer, this, nullptr));
    }
    void await_resume() const noexcept {}

    static gboolean onTimer(gpointer data) {
        auto* self = static_cast<SleepAwaiter*>(data);
        self->timer.forget();
        self->handle.resume();
        return G_SOURCE_REMOVE;
    }
};
} // namespace

Task<void> sleepFor(std::chrono::milliseconds duration) {
    co_await SleepAwaiter{duration, {}, {}};
}

AsyncEvent::Waiter::~Waiter() {
    if (queued_) std::erase(event_.waiters_, this);
}

void AsyncEvent::Waiter::await_suspend(std::coroutine_handle<> h) {
    handle_ = h;
    queued_ = true;
    event_.waiters_.push_back(this);
}

AsyncEvent::~AsyncEvent() {
    if (destroyed_) *destroyed_ = true;
}

void AsyncEvent::set() {
    if (set_) return;
    set_ = true;
    bool destroyed = false;
    destroyed_ = &destroyed;
    // One at a time: a resumed waiter may destroy another waiting frame, which then leaves the queue.
    while (!waiters_.empty()) {
        Waiter* next = waiters_.front();
        waiters_.erase(waiters_.begin());
        next->queued_ = false;
        next->handle_.resume();
        if (destroyed) return;
    }
    destroyed_ = nullptr;
}

} // namespace ostrel
