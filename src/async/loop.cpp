#include "async/loop.h"

#include <cstdio>
#include <exception>
#include <functional>
#include <stdexcept>

namespace ostrel {

namespace detail {
void reportDetachedFailure(std::exception_ptr error) noexcept {
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "[Ostrel] background task failed: %s\n", e.what());
    } catch (...) {
        std::fprintf(stderr, "[Ostrel] background task failed\n");
    }
}
} // namespace detail

namespace {
guint addTimeout(std::chrono::milliseconds d, GSourceFunc fn, gpointer data) {
    return g_timeout_add_full(G_PRIORITY_DEFAULT, static_cast<guint>(std::max<long long>(0, d.count())), fn,
                              data, nullptr);
}
} // namespace

Deadline::Deadline(GCancellable* cancellable, std::chrono::milliseconds timeout)
    : cancellable_(GObjectPtr<GCancellable>::ref(cancellable)) {
    struct Ctx {
        GObjectPtr<GCancellable> c;
        std::shared_ptr<bool> expired;
    };
    auto* ctx = new Ctx{cancellable_, expired_};
    source_ = SourceId(g_timeout_add_full(
        G_PRIORITY_DEFAULT, static_cast<guint>(timeout.count()),
        [](gpointer data) -> gboolean {
            auto* c = static_cast<Ctx*>(data);
            *c->expired = true;
            g_cancellable_cancel(c->c.get());
            return G_SOURCE_REMOVE;
        },
        ctx, [](gpointer data) { delete static_cast<Ctx*>(data); }));
}

namespace {
// Suspends until a timer fires or the cancellable is cancelled, whichever is first.
struct SleepAwaiter {
    std::chrono::milliseconds duration;
    GCancellable* cancellable;
    std::coroutine_handle<> handle;
    guint timer = 0;
    guint idle = 0;
    gulong cancelHandler = 0;
    bool completed = false;

    bool await_ready() const noexcept { return duration.count() <= 0 && !cancellable; }
    void await_suspend(std::coroutine_handle<> h) {
        handle = h;
        if (cancellable && g_cancellable_is_cancelled(cancellable)) {
            idle = g_idle_add(&SleepAwaiter::onCancelledIdle, this);
            return;
        }
        timer = addTimeout(duration, &SleepAwaiter::onTimer, this);
        if (cancellable)
            cancelHandler = g_signal_connect_swapped(cancellable, "cancelled",
                                                     G_CALLBACK(&SleepAwaiter::onCancelled), this);
    }
    bool await_resume() const noexcept { return completed || (duration.count() <= 0 && !cancellable); }

    void disconnect() {
        if (cancelHandler) g_signal_handler_disconnect(cancellable, std::exchange(cancelHandler, 0));
    }
    static gboolean onTimer(gpointer data) {
        auto* self = static_cast<SleepAwaiter*>(data);
        self->timer = 0;
        self->completed = true;
        self->disconnect();
        self->handle.resume();
        return G_SOURCE_REMOVE;
    }
    static void onCancelled(gpointer data) {
        // Resume from an idle callback rather than inside the signal emission.
        auto* self = static_cast<SleepAwaiter*>(data);
        if (self->timer) g_source_remove(std::exchange(self->timer, 0));
        if (!self->idle) self->idle = g_idle_add(&SleepAwaiter::onCancelledIdle, self);
    }
    static gboolean onCancelledIdle(gpointer data) {
        auto* self = static_cast<SleepAwaiter*>(data);
        self->idle = 0;
        self->disconnect();
        self->handle.resume();
        return G_SOURCE_REMOVE;
    }
};
} // namespace

Task<bool> sleepFor(std::chrono::milliseconds duration, GCancellable* cancellable) {
    co_return co_await SleepAwaiter{duration, cancellable, {}};
}

Task<void> yieldToLoop() {
    struct IdleAwaiter {
        bool await_ready() const noexcept { return false; }
        void await_suspend(std::coroutine_handle<> h) {
            g_idle_add_full(
                G_PRIORITY_DEFAULT_IDLE,
                [](gpointer data) -> gboolean {
                    std::coroutine_handle<>::from_address(data).resume();
                    return G_SOURCE_REMOVE;
                },
                h.address(), nullptr);
        }
        void await_resume() const noexcept {}
    };
    co_await IdleAwaiter{};
}

void AsyncEvent::set() {
    if (set_) return;
    set_ = true;
    auto waiters = std::move(waiters_);
    for (auto h : waiters)
        h.resume();
}

bool runLoopUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
    GMainContext* ctx = g_main_context_default();
    bool timedOut = false;
    guint timer = addTimeout(
        timeout,
        [](gpointer flag) -> gboolean {
            *static_cast<bool*>(flag) = true;
            return G_SOURCE_REMOVE;
        },
        &timedOut);
    while (!done() && !timedOut)
        g_main_context_iteration(ctx, TRUE);
    if (!timedOut) g_source_remove(timer);
    return done();
}

} // namespace ostrel
