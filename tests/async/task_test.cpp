#include "async/bounded_call.h"
#include "async/loop.h"
#include "async/task_group.h"
#include "support/loop.h"

#include <gio/gunixinputstream.h>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

using namespace ostrel;
using namespace std::chrono_literals;

namespace {

Task<void> noteAfter(std::chrono::milliseconds d, std::vector<std::string>& log, std::string name) {
    co_await sleepFor(d);
    log.push_back(name);
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

Task<void> waitOn(AsyncEvent& event) {
    co_await event.wait();
}

// Counts the frames that held one as a parameter and were destroyed: a parameter lives as long as
// its frame, where a local ends with the body.
struct FrameProbe {
    explicit FrameProbe(int& count) : destroyed(&count) {}
    FrameProbe(FrameProbe&& o) noexcept : destroyed(std::exchange(o.destroyed, nullptr)) {}
    ~FrameProbe() {
        if (destroyed) ++*destroyed;
    }
    int* destroyed;
};

template <typename T> Task<void> markAfter(Task<T> wait, [[maybe_unused]] FrameProbe probe, bool& resumed) {
    co_await std::move(wait);
    resumed = true;
}

} // namespace

TEST(Task, SleepingTasksWakeInTheOrderOfTheirTimers) {
    std::vector<std::string> log;
    spawn(noteAfter(30ms, log, "slow"));
    spawn(noteAfter(5ms, log, "fast"));
    runSync(noteAfter(60ms, log, "last"), 5s);
    EXPECT_EQ(log, (std::vector<std::string>{"fast", "slow", "last"}));
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
}

// A call that never answers, not even its cancellation (a stopped web process): the wait still ends
// soon after its bound, and the answer that comes at last is dropped without touching the frame.
TEST(BoundedCall, AbandonsACallThatNeverAnswersAndDropsItsLateAnswer) {
    GAsyncReadyCallback callback = nullptr;
    gpointer callbackData = nullptr;
    auto silent = [](GAsyncReadyCallback* cb, gpointer* data) -> Task<GioOutcome> {
        co_return co_await boundedCall(
            [=](GCancellable*, GAsyncReadyCallback c, gpointer d) {
                *cb = c;
                *data = d;
            },
            50ms);
    };
    const GioOutcome out = runSync(silent(&callback, &callbackData), 5s);
    EXPECT_TRUE(out.timedOut);
    EXPECT_TRUE(out.abandoned);
    EXPECT_FALSE(out.result);
    ASSERT_TRUE(callback);
    GObjectPtr<GTask> late = adopt(g_task_new(nullptr, nullptr, nullptr, nullptr));
    callback(nullptr, G_ASYNC_RESULT(late.get()), callbackData); // the waiter and its frame are gone
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
    bool resumed = false;
    int destroyed = 0;
    spawn(markAfter(waitOn(ev), FrameProbe(destroyed), resumed));
    EXPECT_TRUE(resumed) << "waiting on a set event does not suspend";
}

TEST(TaskGroup, DestroyingTheOwnerEndsTasksWhereverTheyWait) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    auto in = adopt(g_unix_input_stream_new(fds[0], TRUE));
    AsyncEvent event, never;
    int destroyed = 0;
    bool resumed = false;
    {
        TaskGroup group;
        group.spawn(markAfter(waitOn(event), FrameProbe(destroyed), resumed));
        event.set();
        EXPECT_TRUE(resumed);
        EXPECT_EQ(group.running(), 0u) << "a task that ended left the group";
        EXPECT_EQ(destroyed, 1) << "and its frame is freed";
        resumed = false;
        destroyed = 0;

        group.spawn(markAfter(sleepFor(30ms), FrameProbe(destroyed), resumed));
        group.spawn(markAfter(readWithin(G_INPUT_STREAM(in.get()), 5s), FrameProbe(destroyed), resumed));
        group.spawn(markAfter(waitOn(never), FrameProbe(destroyed), resumed));
        EXPECT_EQ(group.running(), 3u);
    }
    EXPECT_EQ(destroyed, 3) << "every frame is gone with its owner";
    // The timer, the event and the read's late answer find nobody to resume.
    never.set();
    test::pump(100ms);
    EXPECT_FALSE(resumed);
    EXPECT_FALSE(g_input_stream_has_pending(G_INPUT_STREAM(in.get()))) << "the read was cancelled";
    close(fds[1]);
}
