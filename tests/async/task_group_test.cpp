#include "async/bounded_call.h"
#include "async/loop.h"
#include "async/task_group.h"
#include "support/loop.h"
#include "support/manual_clock.h"

#include <gio/gunixinputstream.h>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace ostrel;
using namespace std::chrono_literals;

namespace {

// Counts how many frames that hold one were destroyed.
struct FrameProbe {
    int& destroyed;
    ~FrameProbe() { ++destroyed; }
};

Task<void> sleepThenMark(int& destroyed, bool& resumed) {
    FrameProbe probe{destroyed};
    co_await sleepFor(30ms);
    resumed = true;
}

Task<void> clockSleepThenMark(ManualClock& clock, int& destroyed, bool& resumed) {
    FrameProbe probe{destroyed};
    co_await clock.sleep(60s);
    resumed = true;
}

Task<void> readThenMark(GInputStream* in, int& destroyed, bool& resumed) {
    FrameProbe probe{destroyed};
    char buf[8];
    GioOutcome out = co_await boundedCall(
        [&](GCancellable* c, GAsyncReadyCallback cb, gpointer data) {
            g_input_stream_read_async(in, buf, sizeof buf, G_PRIORITY_DEFAULT, c, cb, data);
        },
        5s);
    g_input_stream_read_finish(in, out.result.get(), nullptr);
    resumed = true;
}

Task<void> waitThenMark(AsyncEvent& event, int& destroyed, bool& resumed) {
    FrameProbe probe{destroyed};
    co_await event.wait();
    resumed = true;
}

} // namespace

TEST(TaskGroup, DestroyingTheOwnerEndsTasksWhereverTheyWait) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    auto in = adopt(g_unix_input_stream_new(fds[0], TRUE));
    ManualClock clock(TimePoint{});
    AsyncEvent event;
    AsyncEvent never;
    int destroyed = 0;
    bool resumed = false;
    {
        TaskGroup group;
        group.spawn(waitThenMark(event, destroyed, resumed));
        event.set();
        EXPECT_TRUE(resumed);
        EXPECT_EQ(group.running(), 0u) << "a task that ended left the group";
        EXPECT_EQ(destroyed, 1) << "and its frame is freed";
        resumed = false;
        destroyed = 0;

        group.spawn(sleepThenMark(destroyed, resumed));
        group.spawn(clockSleepThenMark(clock, destroyed, resumed));
        group.spawn(readThenMark(G_INPUT_STREAM(in.get()), destroyed, resumed));
        group.spawn(waitThenMark(never, destroyed, resumed));
        EXPECT_EQ(group.running(), 4u);
    }
    EXPECT_EQ(destroyed, 4) << "every frame is gone with its owner";
    EXPECT_EQ(clock.sleepers(), 0u);
    // The timer, the clock, the event and the read's late answer find nobody to resume.
    clock.advance(2min);
    never.set();
    test::pump(100ms);
    EXPECT_FALSE(resumed);
    EXPECT_FALSE(g_input_stream_has_pending(G_INPUT_STREAM(in.get()))) << "the read was cancelled";
    close(fds[1]);
}
