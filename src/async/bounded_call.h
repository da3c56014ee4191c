#pragma once
// A GIO-style asynchronous call with a time bound: the one way the app waits for GIO, libsoup,
// D-Bus or the web engine. The awaiter gives the call a cancellable of its own and cancels it when
// the bound passes. Most calls answer a cancellation at once; one that does not (a stopped web or
// network process never answers at all) is abandoned a moment later, so the wait always ends. The
// outcome carries the GAsyncResult for the call's _finish (which reports any error, a cancellation
// included), says whether the bound was what ended it, and whether the call was abandoned: then
// there is no result, and the call's _finish must not be called.
//
//   auto out = co_await boundedCall([&](GCancellable* c, GAsyncReadyCallback cb, gpointer data) {
//       soup_session_send_and_read_async(session, msg, G_PRIORITY_DEFAULT, c, cb, data);
//   }, 15s);
//   if (out.abandoned) throw ...;
//   GBytes* body = soup_session_send_and_read_finish(session, out.result.get(), err.out());
//
// A late answer, whether the call was abandoned or the waiting task destroyed first (its TaskGroup
// went away), is dropped: the callback never touches the awaiter or the frame.

#include "base/gobject_ptr.h"

#include <chrono>
#include <coroutine>
#include <functional>
#include <gio/gio.h>
#include <memory>

namespace ostrel {

struct GioOutcome {
    GObjectPtr<GAsyncResult> result; // for the call's _finish; empty when abandoned
    bool timedOut = false;           // the bound passed and cancelled the call
    bool abandoned = false;          // not even the cancellation was answered: no result
};

class BoundedCall {
  public:
    // Begins the operation with the given cancellable, callback and callback data.
    using Start = std::function<void(GCancellable*, GAsyncReadyCallback, gpointer)>;

    // How long a cancelled call has to answer before it is abandoned.
    static constexpr std::chrono::milliseconds cancelGrace{1000};

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
    static gboolean onGraceOver(gpointer self);

    Start start_;
    std::chrono::milliseconds timeout_;
    std::shared_ptr<Pending> pending_ = std::make_shared<Pending>();
    GObjectPtr<GCancellable> cancellable_ = adopt(g_cancellable_new());
    SourceId deadline_;
    SourceId grace_;
    bool timedOut_ = false;
    bool abandoned_ = false;
};

inline BoundedCall boundedCall(BoundedCall::Start start, std::chrono::milliseconds timeout) {
    return BoundedCall(std::move(start), timeout);
}

} // namespace ostrel
