#include "support/loop.h"

#include <algorithm>
#include <glib.h>

namespace ostrel {

Task<void> yieldToLoop() {
    co_await sleepFor(std::chrono::milliseconds(1)); // a destroyed frame takes its timer with it
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
