#pragma once
// A GIO-style asynchronous call with a time bound: the one way the app waits for GIO, libsoup,
// D-Bus or the web engine. The awaiter gives the call a cancellable of its own and cancels it when
// the bound passes; the outcome carries the GAsyncResult for the call's _finish (which reports any
// error, a cancellation included) and says whether the bound was what ended it.
//
//   auto out = co_await boundedCall([&](GCancellable* c, GAsyncReadyCallback cb, gpointer data) {
//       soup_session_send_and_read_async(session, msg, G_PRIORITY_DEFAULT, c, cb, data);
//   }, 15s);
//   GBytes* body = soup_session_send_and_read_finish(session, out.result.get(), err.out());
//
// When the waiting task is destroyed first (its TaskGroup went away), the call is cancelled and its
// late answer is dropped: the callback never touches the destroyed frame.

#include "base/gobject_ptr.h"

#include <chrono>
#include <coroutine>
#include <functional>
#include <gio/gio.h>
#include <memory>

namespace ostrel {

struct GioOutcome {
    GObjectPtr<GAsyncResult> result; // for the call's _finish
    bool timedOut = false;           // the bound passed and cancelled the call
};

class BoundedCall {
  public:
    // Begins the operation with the given cancellable, callback and callback data.
    using Start = std::function<void(GCancellable*, GAsyncReadyCallback, gpointer)>;

    BoundedCall(Start start, std::chrono::milliseconds timeout);
    BoundedCall(const BoundedCall&) = delete;
    BoundedCall& operator=(const BoundedCall&) = delete;
    ~BoundedCall();

    bool await_ready() const noexcept { return false; }
    void await_suspend(std::coroutine_handle<> waiter);
    GioOutcome await_resume();

  private:
    // What the call's callback needs; shared, because the callback may come after the awaiter.
    struct Pending {
        std::coroutine_handle<> waiter; // empty once nobody waits any more
        GObjectPtr<GAsyncResult> result;
    };
    static void onReady(GObject*, GAsyncResult* result, gpointer data);
    static gboolean onTimeout(gpointer self);

    Start start_;
    std::chrono::milliseconds timeout_;
    std::shared_ptr<Pending> pending_ = std::make_shared<Pending>();
    GObjectPtr<GCancellable> cancellable_ = adopt(g_cancellable_new());
    SourceId deadline_;
    bool timedOut_ = false;
};

inline BoundedCall boundedCall(BoundedCall::Start start, std::chrono::milliseconds timeout) {
    return BoundedCall(std::move(start), timeout);
}

} // namespace ostrel
