// The usage history on disk: the write rules, pruning, a corrupt file, and the history following
// the model (log-out keeps it, clearing removes it, one pace warning per window).
#include "base/log.h"
#include "model/history_store.h"
#include "model/usage_history.h"
#include "scripted_model.h"
#include "support/loop.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using test::ScriptedModel;
using test::TempDir;

const TimePoint t0 = TimePoint(std::chrono::seconds(1'800'000'000));

UsageReading reading(double used, TimePoint at, std::string limit = "session", TimePoint reset = t0 + 5h) {
    return {ProviderID::claude, std::move(limit), "Session", used, reset, at};
}

int mode(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 ? static_cast<int>(st.st_mode & 0777) : -1;
}

TEST(HistoryStore, WritesOnlyChangesAtMostOnceAMinutePerLimit) {
    TempDir dir;
    const std::string path = dir.file("state/ostrel/history.sqlite");
    {
        HistoryStore store(path, t0 - 90 * 24h);
        EXPECT_TRUE(store.record(reading(10, t0)));
        EXPECT_FALSE(store.record(reading(10, t0 + 2min)));                     // unchanged
        EXPECT_FALSE(store.record(reading(12, t0 + 30s)));                      // changed, but too soon
        EXPECT_TRUE(store.record(reading(12, t0 + 61s)));                       // the change, a minute on
        EXPECT_TRUE(store.record(reading(12, t0 + 3min, "session", t0 + 10h))); // a new reset time
        EXPECT_TRUE(store.record(reading(50, t0 + 3min, "weekly"))); // another limit has its own minute
        const auto rows = store.readings(ProviderID::claude, "session", t0);
        ASSERT_EQ(rows.size(), 3u);
        EXPECT_EQ(rows[1], reading(12, t0 + 61s));
        EXPECT_TRUE(store.readings(ProviderID::codex, "session", t0).empty());
    }
    EXPECT_EQ(mode(path), 0600);
    EXPECT_EQ(mode(dir.file("state/ostrel")), 0700);
    // The rules hold across a restart: the newest row is remembered.
    HistoryStore again(path, t0 - 90 * 24h);
    EXPECT_FALSE(again.record(reading(12, t0 + 4min, "session", t0 + 10h)));
    EXPECT_EQ(again.readings(ProviderID::claude, "session", t0).size(), 3u);
}

TEST(HistoryStore, PrunesOldReadingsAtStartAndClears) {
    TempDir dir;
    const std::string path = dir.file("history.sqlite");
    {
        HistoryStore store(path, t0 - 200 * 24h);
        store.record(reading(10, t0 - 100 * 24h));
        store.record(reading(20, t0 - 89 * 24h));
        store.record(reading(30, t0));
    }
    HistoryStore store(path, t0 - 90 * 24h);
    auto rows = store.readings(ProviderID::claude, "session", TimePoint{});
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].percentUsed, 20);
    store.clear();
    EXPECT_TRUE(store.readings(ProviderID::claude, "session", TimePoint{}).empty());
    EXPECT_TRUE(store.record(reading(30, t0 + 1h))); // clearing forgets the last row too
}

TEST(HistoryStore, CorruptFileIsMovedAsideAndAFreshOneStarted) {
    TempDir dir;
    const std::string path = dir.file("history.sqlite");
    const std::string junk(8192, 'x');
    test::writeFile(path, junk);
    std::vector<std::string> lines;
    ScopedLogSink sink([&](const std::string& line) { lines.push_back(line); });
    HistoryStore store(path, t0 - 90 * 24h);
    ASSERT_TRUE(store.isOpen());
    EXPECT_EQ(test::readFile(path + ".bad"), junk);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("moved aside as history.sqlite.bad"), std::string::npos);
    EXPECT_TRUE(store.record(reading(10, t0)));
    EXPECT_EQ(store.readings(ProviderID::claude, "session", t0).size(), 1u);
}

TEST(HistoryStore, UnusableFolderTurnsHistoryOffWithoutFailing) {
    TempDir dir;
    test::writeFile(dir.file("blocker"), "a file where the folder should be");
    ScopedLogSink sink([](const std::string&) {});
    HistoryStore store(dir.file("blocker/history.sqlite"), t0);
    EXPECT_FALSE(store.isOpen());
    EXPECT_FALSE(store.record(reading(10, t0)));
    EXPECT_TRUE(store.readings(ProviderID::claude, "session", t0).empty());
}

TEST(UsageHistory, FollowsTheModelKeepsHistoryOverLogOutAndWarnsOncePerWindow) {
    ScriptedModel m;
    ScopedLogSink sink([](const std::string&) {});
    UsageHistory history(*m.model, m.dir.file("history.sqlite"));
    std::vector<std::string> warnings;
    history.onPaceWarning = [&](ProviderID, const std::string& text) { warnings.push_back(text); };

    // 1 % a minute with five hours to the reset: out in about an hour, long before the reset.
    const TimePoint reset = m.clock.now() + 5h;
    for (int minute = 0; minute <= 20; minute += 2) {
        UsageLimit main{"session", "Session", 40.0 + minute, reset};
        m.succeed(ProviderID::claude, ScriptedModel::snapshot(main, {m.limit("weekly", 5)}));
        m.clock.advance(2min);
    }
    EXPECT_EQ(history.mainReadings(ProviderID::claude).size(), 11u);
    EXPECT_EQ(history.store().readings(ProviderID::claude, "weekly", TimePoint{}).size(), 1u);
    ASSERT_TRUE(history.forecast(ProviderID::claude));
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].rfind("Claude: at this pace you run out in ", 0), 0u) << warnings[0];
    EXPECT_FALSE(history.forecast(ProviderID::codex)); // no data, no forecast

    runSync(m.model->logOut(ProviderID::claude), 5s);
    EXPECT_EQ(history.store().readings(ProviderID::claude, "session", TimePoint{}).size(), 11u);

    // A new window at the same pace warns again, once.
    const TimePoint reset2 = reset + 5h;
    for (int minute = 0; minute <= 20; minute += 2) {
        m.succeed(ProviderID::claude,
                  ScriptedModel::snapshot(UsageLimit{"session", "Session", 40.0 + minute, reset2}));
        m.clock.advance(2min);
    }
    EXPECT_EQ(warnings.size(), 2u);

    history.clear();
    EXPECT_TRUE(history.store().readings(ProviderID::claude, "session", TimePoint{}).empty());
    EXPECT_TRUE(history.mainReadings(ProviderID::claude).empty());
}

} // namespace
} // namespace ostrel
