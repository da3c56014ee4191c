#pragma once
// Awaitables that suspend a Task on the GLib main context: timers, GIO-style async calls, one-shot
// events. Every wait here can be bounded: sleeps by their duration, GIO calls by a Deadline that
// cancels their GCancellable.

#include "async/task.h"
#include "base/gobject_ptr.h"

#include <chrono>
#include <coroutine>
#include <functional>
#include <gio/gio.h>
#include <memory>
#include <vector>

namespace ostrel {

// An owned GCancellable.
class Cancellable {
  public:
    Cancellable() : c_(adopt(g_cancellable_new())) {}
    GCancellable* get() const { return c_.get(); }
    void cancel() const { g_cancellable_cancel(c_.get()); }
    bool isCancelled() const { return g_cancellable_is_cancelled(c_.get()); }

  private:
    GObjectPtr<GCancellable> c_;
};

// Cancels `cancellable` when `timeout` passes, unless destroyed first: the bound of a GIO wait.
class Deadline {
  public:
    Deadline(GCancellable* cancellable, std::chrono::milliseconds timeout);
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
    bool expired() const { return *expired_; }

  private:
    GObjectPtr<GCancellable> cancellable_;
    std::shared_ptr<bool> expired_ = std::make_shared<bool>(false);
    SourceId source_;
};

// Sleeps on the main loop. Returns true when the full time passed, false when `cancellable` fired
// first (callers treat an interrupted sleep as done).
Task<bool> sleepFor(std::chrono::milliseconds duration, GCancellable* cancellable = nullptr);

// Lets the main loop run one round before continuing (pending sources get their turn).
Task<void> yieldToLoop();

// Awaits a GIO-style asynchronous call. `start(callback, user_data)` must begin the operation; the
// awaiter resumes with the GAsyncResult from the main context, to be handed to the matching _finish.
template <typename Start> class GioCall {
  public:
    explicit GioCall(Start start) : start_(std::move(start)) {}
    bool await_ready() noexcept { return false; }
    void await_suspend(std::coroutine_handle<> h) {
        handle_ = h;
        start_(&GioCall::onReady, this);
    }
    GObjectPtr<GAsyncResult> await_resume() { return std::move(result_); }

  private:
    static void onReady(GObject*, GAsyncResult* res, gpointer self) {
        auto* call = static_cast<GioCall*>(self);
        call->result_ = GObjectPtr<GAsyncResult>::ref(res);
        call->handle_.resume();
    }
    Start start_;
    std::coroutine_handle<> handle_;
    GObjectPtr<GAsyncResult> result_;
};

template <typename Start> GioCall<Start> gioCall(Start start) {
    return GioCall<Start>(std::move(start));
}

// A one-shot event many tasks can wait for; set() resumes all of them, in the order they came.
class AsyncEvent {
  public:
    bool isSet() const { return set_; }
    void set();
    auto wait() {
        struct Awaiter {
            AsyncEvent& ev;
            bool await_ready() const noexcept { return ev.set_; }
            void await_suspend(std::coroutine_handle<> h) { ev.waiters_.push_back(h); }
            void await_resume() const noexcept {}
        };
        return Awaiter{*this};
    }

  private:
    bool set_ = false;
    std::vector<std::coroutine_handle<>> waiters_;
};

// Runs the default main context until `done()` holds or `timeout` passes; true when done. For
// programs and tests that drive a task from a plain function.
bool runLoopUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout);

// Starts `task` and runs the main context until it finishes; rethrows its error. Throws
// std::runtime_error when it does not finish within `timeout`.
template <typename T> T runSync(Task<T> task, std::chrono::milliseconds timeout = std::chrono::seconds(120));

} // namespace ostrel

#include "async/loop_impl.h"
