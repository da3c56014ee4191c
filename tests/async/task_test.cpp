#include "async/loop.h"
#include "support/loop.h"

#include <gio/gunixinputstream.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

using namespace ostrel;
using namespace std::chrono_literals;

namespace {

Task<int> answerAfter(std::chrono::milliseconds d, int value, std::vector<std::string>& log,
                      std::string name) {
    log.push_back(name + " start");
    co_await sleepFor(d);
    log.push_back(name + " end");
    co_return value;
}

Task<int> failing() {
    co_await yieldToLoop();
    throw std::runtime_error("boom");
}

} // namespace

TEST(Task, IsLazyAndReturnsValueThroughAwait) {
    std::vector<std::string> log;
    auto task = answerAfter(1ms, 7, log, "a");
    EXPECT_TRUE(log.empty()) << "a task starts only when awaited or run";
    EXPECT_EQ(runSync(std::move(task)), 7);
    EXPECT_EQ(log, (std::vector<std::string>{"a start", "a end"}));
}

TEST(Task, ConcurrentTasksInterleaveByTimerOrder) {
    std::vector<std::string> log;
    auto both = [&]() -> Task<int> {
        int total = 0;
        // Coroutine lambdas take what they use as parameters: captures would die with the lambda.
        spawn([](int& sum, std::vector<std::string>& l) -> Task<void> {
            sum += co_await answerAfter(30ms, 1, l, "slow");
        }(total, log));
        total += co_await answerAfter(5ms, 2, log, "fast");
        co_await sleepFor(60ms);
        co_return total;
    };
    EXPECT_EQ(runSync(both()), 3);
    EXPECT_EQ(log, (std::vector<std::string>{"slow start", "fast start", "fast end", "slow end"}));
}

TEST(Task, ErrorsPropagateToTheAwaiter) {
    auto outer = []() -> Task<std::string> {
        try {
            co_await failing();
        } catch (const std::runtime_error& e) {
            co_return std::string("caught ") + e.what();
        }
        co_return "not thrown";
    };
    EXPECT_EQ(runSync(outer()), "caught boom");
}

TEST(Task, SleepingDoesNotBlockTheLoop) {
    int ticks = 0;
    guint id = g_timeout_add(
        5, [](gpointer p) -> gboolean { return ++*static_cast<int*>(p), G_SOURCE_CONTINUE; }, &ticks);
    runSync(sleepFor(200ms));
    g_source_remove(id);
    // A blocking sleep would have let at most one tick through.
    EXPECT_GE(ticks, 10);
}

TEST(Task, CancelledSleepEndsEarlyAndSaysSo) {
    Cancellable c;
    g_timeout_add(
        10,
        [](gpointer p) -> gboolean {
            return g_cancellable_cancel(static_cast<GCancellable*>(p)), G_SOURCE_REMOVE;
        },
        c.get());
    const gint64 start = g_get_monotonic_time();
    EXPECT_FALSE(runSync(sleepFor(5s, c.get())));
    EXPECT_LT(g_get_monotonic_time() - start, 2 * G_USEC_PER_SEC);
    // An already cancelled cancellable ends the next sleep at once too.
    EXPECT_FALSE(runSync(sleepFor(5s, c.get())));
}

TEST(Task, DeadlineBoundsAGioWait) {
    // A pipe that never gets data: reading from it would wait forever without the bound.
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    auto in = adopt(g_unix_input_stream_new(fds[0], TRUE));
    auto read = [&]() -> Task<std::string> {
        Cancellable c;
        Deadline deadline(c.get(), 50ms);
        char buf[16];
        auto res = co_await gioCall([&](GAsyncReadyCallback cb, gpointer ud) {
            g_input_stream_read_async(G_INPUT_STREAM(in.get()), buf, sizeof buf, G_PRIORITY_DEFAULT, c.get(),
                                      cb, ud);
        });
        GErrorOut err;
        g_input_stream_read_finish(G_INPUT_STREAM(in.get()), res.get(), err.out());
        co_return err.matches(G_IO_ERROR, G_IO_ERROR_CANCELLED) && deadline.expired() ? "timed out" : "other";
    };
    EXPECT_EQ(runSync(read(), 5s), "timed out");
    close(fds[1]);
}

TEST(Task, EventResumesAllWaitersInArrivalOrder) {
    AsyncEvent ev;
    std::vector<int> order;
    for (int i = 0; i < 3; ++i)
        spawn([](AsyncEvent& e, std::vector<int>& o, int n) -> Task<void> {
            co_await e.wait();
            o.push_back(n);
        }(ev, order, i));
    EXPECT_TRUE(order.empty());
    ev.set();
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2}));
    // Waiting on a set event does not suspend.
    spawn([](AsyncEvent& e, std::vector<int>& o) -> Task<void> {
        co_await e.wait();
        o.push_back(9);
    }(ev, order));
    EXPECT_EQ(order.back(), 9);
}

TEST(Task, RunSyncGivesUpOnAHungTask) {
    AsyncEvent never;
    auto hung = [&]() -> Task<int> {
        co_await never.wait();
        co_return 1;
    };
    EXPECT_THROW(runSync(hung(), 30ms), std::runtime_error);
    never.set(); // lets the abandoned task finish into its shared state
}
