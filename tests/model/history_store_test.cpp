// The usage history on disk: the write rules, pruning, a corrupt file, a folder that cannot be made.
#include "base/log.h"
#include "model/history_store.h"
#include "support/log_lines.h"
#include "support/test_env.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using test::TempDir;

const TimePoint t0 = TimePoint(std::chrono::seconds(1'800'000'000));

UsageReading reading(double used, TimePoint at, std::string limit = "session", TimePoint reset = t0 + 5h) {
    return {ProviderID::claude, std::move(limit), "Session", used, reset, at};
}

int mode(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 ? static_cast<int>(st.st_mode & 0777) : -1;
}

TEST(HistoryStore, WritesOnlyChangesAtMostOnceAMinutePerLimitPrunesAndClears) {
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
    }
    EXPECT_EQ(mode(path), 0600);
    EXPECT_EQ(mode(dir.file("state/ostrel")), 0700);
    // The rules hold across a restart: the newest row is remembered; rows older than the cut-off go.
    HistoryStore again(path, t0 + 1min);
    EXPECT_FALSE(again.record(reading(12, t0 + 4min, "session", t0 + 10h)));
    EXPECT_EQ(again.readings(ProviderID::claude, "session", TimePoint{}).size(), 2u);
    again.clear();
    EXPECT_TRUE(again.readings(ProviderID::claude, "session", TimePoint{}).empty());
    EXPECT_TRUE(again.record(reading(12, t0 + 5min, "session", t0 + 10h)))
        << "clearing forgets the last row too";
}

TEST(HistoryStore, CorruptFileIsMovedAsideAndAFreshOneStarted) {
    TempDir dir;
    const std::string path = dir.file("history.sqlite");
    const std::string junk(8192, 'x');
    test::writeFile(path, junk);
    test::LogLines log;
    HistoryStore store(path, t0 - 90 * 24h);
    ASSERT_TRUE(store.isOpen());
    EXPECT_EQ(test::readFile(path + ".bad"), junk);
    EXPECT_EQ(log.lines().size(), 1u) << "one line says where the old file went";
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

} // namespace
} // namespace ostrel
