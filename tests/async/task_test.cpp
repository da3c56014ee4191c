#include "async/bounded_call.h"
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

Task<void> addAnswer(int& sum, std::vector<std::string>& log) {
    sum += co_await answerAfter(30ms, 1, log, "slow");
}

Task<int> slowAndFast(std::vector<std::string>& log) {
    int total = 0;
    spawn(addAnswer(total, log));
    total += co_await answerAfter(5ms, 2, log, "fast");
    co_await sleepFor(60ms);
    co_return total;
}

Task<int> failing() {
    co_await yieldToLoop();
    throw std::runtime_error("boom");
}

// Reads from `in` within `bound`: "data", "timed out" or the error text.
Task<std::string> readWithin(GInputStream* in, std::chrono::milliseconds bound) {
    char buf[16];
    GioOutcome out = co_await boundedCall(
        [&](GCancellable* c, GAsyncReadyCallback cb, gpointer data) {
            g_input_stream_read_async(in, buf, sizeof buf, G_PRIORITY_DEFAULT, c, cb, data);
        },
        bound);
    GErrorOut err;
    const gssize n = g_input_stream_read_finish(in, out.result.get(), err.out());
    if (n > 0) co_return std::string(buf, static_cast<std::size_t>(n));
    co_return out.timedOut ? "timed out" : err.message();
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
    EXPECT_EQ(runSync(slowAndFast(log)), 3);
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

TEST(BoundedCall, GivesTheAnswerOrSaysTheBoundPassed) {
    // A pipe that gets no data: reading from it would wait forever without the bound.
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    auto in = adopt(g_unix_input_stream_new(fds[0], TRUE));
    EXPECT_EQ(runSync(readWithin(G_INPUT_STREAM(in.get()), 50ms), 5s), "timed out");

    ASSERT_EQ(write(fds[1], "hi", 2), 2);
    EXPECT_EQ(runSync(readWithin(G_INPUT_STREAM(in.get()), 5s), 5s), "hi");
    close(fds[1]);
    EXPECT_EQ(runSync(readWithin(G_INPUT_STREAM(in.get()), 5s), 5s), "")
        << "end of stream: no error, no data";
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
