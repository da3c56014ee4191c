#include "app_fixture.h"
#include "support/log_lines.h"
#include "support/loop.h"
#include "support/manual_clock.h"

#include <fstream>
#include <map>

using namespace ostrel;
using namespace ostrel::test;
using namespace std::chrono_literals;
using fake::FakeAnswer;

namespace {

long residentKiB() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6));
    return -1;
}

// Each service climbs from nothing used to nearly all of it over its own period, then resets:
// every period it crosses 50 % left once, 10 % left once, and (after the first) comes back once.
struct Sawtooth {
    int period;  // in poll cycles
    double step; // percent used added per cycle
    double usedAt(int cycle) const { return step * (cycle % period); }
    int periodOf(int cycle) const { return cycle / period; }
};

} // namespace

class LongRun : public AppFixture {};

TEST_F(LongRun, ThousandCyclesSendEveryNotificationOnceAndMemoryStaysFlat) {
    constexpr int cycles = 1000;
    const Sawtooth claude{20, 5}, cursor{25, 4}, codex{40, 2.5};
    const TimePoint start =
        std::chrono::time_point_cast<std::chrono::seconds>(std::chrono::system_clock::now());
    ManualClock clock(start);
    startApp(&clock);
    logInEverywhere();

    auto setAnswers = [&](int k) {
        const TimePoint now = start + k * 60s;
        auto periodEnd = [&](const Sawtooth& s) { return start + (s.periodOf(k) + 1) * s.period * 60s; };
        claude_.setUsageAnswer(FakeAnswer::json(
            fake::FakeClaude::usageJson(claude.usedAt(k), periodEnd(claude), 10, start + 2000h)));
        cursor_.setUsageAnswer(
            FakeAnswer::json(fake::FakeCursor::usageJson(0, cursor.usedAt(k), periodEnd(cursor))));
        const double untilReset = std::chrono::duration<double>(periodEnd(codex) - now).count();
        const double untilWeekly = std::chrono::duration<double>(start + 2000h - now).count();
        chatgpt_.setUsageAnswer(
            FakeAnswer::json(fake::FakeChatGPT::usageJson(codex.usedAt(k), untilReset, 10, untilWeekly)));
    };

    setAnswers(0);
    model().start();
    ASSERT_TRUE(runLoopUntil([&] { return !model().isRefreshing(); }, 60s));
    long rssAt100 = 0;
    for (int k = 1; k < cycles; ++k) {
        setAnswers(k);
        // The fakes live in this process too: their request logs are not the app's memory.
        for (fake::FakeServer* server : {&claude_.server(), &cursor_.server(), &chatgpt_.server()})
            server->clearRequests();
        clock.advance(60s);
        ASSERT_TRUE(runLoopUntil([&] { return !model().isRefreshing(); }, 60s)) << "cycle " << k;
        if (k == 100) rssAt100 = residentKiB();
    }
    runLoopUntil([&] { return false; }, 500ms); // the last notifications reach the service
    const long rssAt1000 = residentKiB();

    // Claude: 50 periods; Cursor: 40; Codex: 25. The first numbers of the run are silent.
    std::map<std::string, int> got;
    for (const auto& n : notifications_->received())
        got[n.summary.substr(0, n.summary.find(':')) + " | " + n.body]++;
    const std::map<std::string, int> expected = {
        {"Claude | 5-Hour Session has dropped below 50%.", 50},
        {"Claude | 5-Hour Session is almost gone.", 50},
        {"Claude reset | 5-Hour Session is back to 100%.", 49},
        {"Cursor | API pool has dropped below 50%.", 40},
        {"Cursor | API pool is almost gone.", 40},
        {"Cursor reset | API pool is back to 100%.", 39},
        {"Codex | 5-Hour Session has dropped below 50%.", 25},
        {"Codex | 5-Hour Session is almost gone.", 25},
        {"Codex reset | 5-Hour Session is back to 100%.", 24},
    };
    EXPECT_EQ(got, expected) << "each once per period, and nothing else";
    EXPECT_EQ(log_.text().find("error:"), std::string::npos) << "every fetch of the run succeeded";

    const double growthMiB = static_cast<double>(rssAt1000 - rssAt100) / 1024.0;
    EXPECT_LT(growthMiB, 5.0) << "resident memory at cycle 100: " << rssAt100 / 1024 << " MiB";
}
