#include "support/loop.h"

#include "base/gobject_ptr.h"

#include <algorithm>
#include <coroutine>
#include <glib.h>

namespace ostrel {

Task<void> yieldToLoop() {
    // A destroyed frame takes its idle source with it.
    struct IdleAwaiter {
        SourceId idle;
        bool await_ready() const noexcept { return false; }
        void await_suspend(std::coroutine_handle<> h) {
            idle = SourceId(g_idle_add_full(
                G_PRIORITY_DEFAULT_IDLE,
                [](gpointer data) -> gboolean {
                    auto* self = static_cast<IdleAwaiter*>(data);
                    self->idle.forget();
                    self->handle.resume();
                    return G_SOURCE_REMOVE;
                },
                this, nullptr));
            handle = h;
        }
        void await_resume() const noexcept {}
        std::coroutine_handle<> handle;
    };
    co_await IdleAwaiter{};
}

bool runLoopUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
    GMainContext* ctx = g_main_context_default();
    bool timedOut = false;
    const guint timer = g_timeout_add_full(
        G_PRIORITY_DEFAULT, static_cast<guint>(std::max<long long>(0, timeout.count())),
        [](gpointer flag) -> gboolean {
            *static_cast<bool*>(flag) = true;
            return G_SOURCE_REMOVE;
        },
        &timedOut, nullptr);
    while (!done() && !timedOut)
        g_main_context_iteration(ctx, TRUE);
    if (!timedOut) g_source_remove(timer);
    return done();
}

namespace test {

void pump(std::chrono::milliseconds d) {
    runLoopUntil([] { return false; }, d);
}

void drain() {
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
}

} // namespace test

} // namespace ostrel
