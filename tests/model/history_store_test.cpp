// The usage history on disk: the write rules, upkeep, and the faults a user's disk brings (full,
// locked by another program, damaged, a clock that ran ahead), none of which may cost the history.
#include "base/log.h"
#include "model/history_store.h"
#include "model/usage_history.h"
#include "scripted_model.h"
#include "support/log_lines.h"
#include "support/loop.h"
#include "support/test_env.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using test::TempDir;
constexpr ProviderID claude = ProviderID::claude;

const TimePoint t0 = TimePoint(std::chrono::seconds(1'800'000'000));

UsageReading reading(double used, TimePoint at, std::string limit = "session", TimePoint reset = t0 + 5h) {
    return {claude, std::move(limit), "Session", used, reset, at};
}

int mode(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 ? static_cast<int>(st.st_mode & 0777) : -1;
}
bool exists(const std::string& path) {
    return mode(path) >= 0;
}

std::size_t count(HistoryStore& store, const std::string& limit = "session") {
    return store.readings(claude, limit, TimePoint{}).size();
}

// `n` readings a minute apart from `from`, each a little higher than the last.
void fill(HistoryStore& store, TimePoint from, int n, const std::string& limit = "session") {
    for (int i = 0; i < n; ++i)
        ASSERT_TRUE(store.record(reading(i % 100, from + i * 1min, limit, from + (i / 100) * 5h)));
}

void maintainFully(HistoryStore& store, TimePoint now) {
    for (int i = 0; i < 100'000 && store.maintain(now, 5ms); ++i) {
    }
}

// A second program on the same file, as the sqlite3 shell or a backup tool would be.
class OtherConnection {
  public:
    explicit OtherConnection(const std::string& path) { sqlite3_open(path.c_str(), &db_); }
    ~OtherConnection() { sqlite3_close(db_); }
    OtherConnection(const OtherConnection&) = delete;
    OtherConnection& operator=(const OtherConnection&) = delete;
    void exec(const char* sql) {
        ASSERT_EQ(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sql;
    }
    std::int64_t pageBytes() {
        sqlite3_stmt* q = nullptr;
        sqlite3_prepare_v2(db_, "SELECT page_count * page_size FROM pragma_page_count, pragma_page_size", -1,
                           &q, nullptr);
        sqlite3_step(q);
        const std::int64_t bytes = sqlite3_column_int64(q, 0);
        sqlite3_finalize(q);
        return bytes;
    }

  private:
    sqlite3* db_ = nullptr;
};

TEST(HistoryStore, TakesOnlyChangesAtMostOnceAMinutePerLimitAndRemembersOverARestart) {
    TempDir dir;
    const std::string path = dir.file("state/ostrel/history.sqlite");
    {
        HistoryStore store(path);
        const struct {
            const char* what;
            UsageReading reading;
            bool taken;
        } steps[] = {
            {"the first reading", reading(10, t0), true},
            {"changed, but too soon", reading(12, t0 + 30s), false},
            {"unchanged", reading(10, t0 + 2min), false},
            {"the reset drifted by the request's latency", reading(10, t0 + 3min, "session", t0 + 5h + 40s),
             false},
            {"the change, a minute on", reading(12, t0 + 4min), true},
            {"a new reset time", reading(12, t0 + 5min, "session", t0 + 10h), true},
            {"another limit has its own minute", reading(50, t0 + 5min, "weekly"), true},
        };
        for (const auto& step : steps)
            EXPECT_EQ(store.record(step.reading), step.taken) << step.what;
        const auto rows = store.readings(claude, "session", t0);
        ASSERT_EQ(rows.size(), 3u);
        EXPECT_EQ(rows[1], reading(12, t0 + 4min));
        EXPECT_EQ(store.waiting(), 0u);
    }
    EXPECT_EQ(mode(path), 0600);
    EXPECT_EQ(mode(dir.file("state/ostrel")), 0700);
    HistoryStore again(path);
    EXPECT_FALSE(again.record(reading(12, t0 + 6min, "session", t0 + 10h))) << "the newest row is remembered";
    EXPECT_TRUE(again.record(reading(13, t0 + 6min, "session", t0 + 10h)));
}

TEST(HistoryStore, ARowFromAClockThatRanAheadNeitherBlocksWritesNorShows) {
    TempDir dir;
    const std::string path = dir.file("history.sqlite");
    {
        HistoryStore ahead(path);
        ASSERT_TRUE(ahead.record(reading(40, t0 + 3h)));
        EXPECT_TRUE(ahead.record(reading(15, t0 - 10min))) << "the clock was set right";
    }
    for (int run = 0; run < 2; ++run) { // after a restart, and the next one
        HistoryStore store(path);
        const TimePoint now = t0 + run * 10min;
        EXPECT_TRUE(store.record(reading(40 + run, now))) << "run " << run;
        const auto shown = store.readings(claude, "session", now - 1h, now);
        ASSERT_FALSE(shown.empty());
        EXPECT_EQ(shown.back().at, now) << "run " << run;
    }
}

TEST(HistoryStore, AFullDiskKeepsTheHistoryAndWritesResumeWhenThereIsRoom) {
    TempDir dir;
    const std::string path = dir.file("history.sqlite");
    {
        HistoryStore store(path);
        fill(store, t0, 1000);
    }
    std::int64_t size = 0;
    {
        OtherConnection other(path); // something else fills the rest of the disk
        other.exec("CREATE TABLE filler (b BLOB); INSERT INTO filler VALUES (zeroblob(400000))");
        size = other.pageBytes();
    }
    test::LogLines log;
    HistoryStore store(path, size);
    int tried = 0;
    for (; store.waiting() == 0 && tried < 500; ++tried)
        ASSERT_TRUE(store.record(reading(tried % 7, t0 + 1000min + tried * 1min, "full")));
    ASSERT_GT(store.waiting(), 0u) << "the disk never filled";
    EXPECT_EQ(count(store), 1000u);
    EXPECT_FALSE(exists(path + ".bad"));
    ASSERT_TRUE(store.record(reading(50, t0 + 2000min, "full")));
    EXPECT_GT(store.waiting(), 1u) << "readings wait while the disk is full";
    ASSERT_FALSE(log.lines().empty());
    EXPECT_NE(log.lines()[0].find("History not written for now"), std::string::npos) << log.lines()[0];

    OtherConnection(path).exec("DROP TABLE filler");
    EXPECT_TRUE(store.record(reading(51, t0 + 2001min, "full")));
    EXPECT_EQ(store.waiting(), 0u);
    EXPECT_EQ(count(store, "full"), static_cast<std::size_t>(tried + 2));
    EXPECT_EQ(count(store), 1000u);
}

TEST(HistoryStore, AnotherProgramsLockDelaysTheWriteAndTakesNothing) {
    TempDir dir;
    const std::string path = dir.file("history.sqlite");
    ScopedLogSink quiet([](const std::string&) {});
    HistoryStore store(path);
    ASSERT_TRUE(store.record(reading(10, t0)));
    OtherConnection other(path);
    other.exec("BEGIN IMMEDIATE; INSERT INTO readings VALUES ('claude', 'other', 'Other', 1, NULL, 1)");
    EXPECT_TRUE(store.record(reading(11, t0 + 1min)));
    EXPECT_EQ(store.waiting(), 1u);
    EXPECT_FALSE(exists(path + ".bad"));
    EXPECT_TRUE(exists(path + "-wal"));
    EXPECT_TRUE(exists(path + "-shm"));
    other.exec("COMMIT"); // the other program's work is intact

    EXPECT_FALSE(store.record(reading(11, t0 + 2min))) << "unchanged, but the waiting one goes in";
    EXPECT_EQ(store.waiting(), 0u);
    EXPECT_EQ(count(store), 2u);
    EXPECT_EQ(count(store, "other"), 1u);
}

TEST(HistoryStore, OnlyADamagedFileIsMovedAsideAndEarlierCopiesAreKept) {
    TempDir dir;
    const std::string path = dir.file("history.sqlite");
    test::LogLines log;
    for (int round = 1; round <= 4; ++round) {
        test::writeFile(path, std::string(8192, static_cast<char>('0' + round)));
        test::writeFile(path + "-wal", "journal " + std::to_string(round));
        HistoryStore store(path);
        EXPECT_TRUE(store.record(reading(10, t0)));
        ASSERT_TRUE(store.isOpen());
        EXPECT_EQ(count(store), 1u) << "a fresh file, without the old journal's frames";
    }
    EXPECT_EQ(log.lines().size(), 4u) << "one line each time says where the old file went";
    // The newest copy is ".bad"; three are kept; the oldest (round 1) is gone.
    for (int n = 0; n < 3; ++n) {
        const std::string copy = path + ".bad" + (n ? "." + std::to_string(n) : "");
        EXPECT_EQ(test::readFile(copy), std::string(8192, static_cast<char>('4' - n))) << copy;
        EXPECT_EQ(test::readFile(copy + "-wal"), "journal " + std::to_string(4 - n)) << copy;
    }
    EXPECT_FALSE(exists(path + ".bad.3"));
}

TEST(HistoryStore, ClearingLeavesNothingReadableInTheFileOrItsJournal) {
    TempDir dir;
    const std::string path = dir.file("history.sqlite");
    test::writeFile(path + ".bad", "an older history");
    HistoryStore store(path);
    fill(store, t0, 50, "marker-limit-zq");
    store.clear();
    for (const char* file : {"", "-wal"})
        EXPECT_EQ(test::readFile(path + file).find("marker-limit-zq"), std::string::npos) << file;
    EXPECT_FALSE(exists(path + ".bad"));
    EXPECT_EQ(count(store, "marker-limit-zq"), 0u);
    EXPECT_TRUE(store.record(reading(3, t0 + 2h, "marker-limit-zq"))) << "clearing forgets the last row too";
}

TEST(HistoryStore, UpkeepDropsRowsPast90DaysThinsRowsPastAWeekAndGivesTheSpaceBack) {
    for (bool older : {false, true}) {
        SCOPED_TRACE(older ? "a file made before space was given back" : "a new file");
        TempDir dir;
        const std::string path = dir.file("history.sqlite");
        const TimePoint now = t0 + 100 * 24h;
        if (older)
            OtherConnection(path).exec("CREATE TABLE readings (service TEXT NOT NULL, limit_id TEXT NOT NULL,"
                                       " title TEXT NOT NULL, percent_used REAL NOT NULL, resets_at INTEGER,"
                                       " read_at INTEGER NOT NULL)");
        {
            HistoryStore store(path);
            fill(store, now - 95 * 24h, 3000, "old");
            ASSERT_TRUE(store.record(reading(3, now - 91 * 24h)));
            ASSERT_TRUE(store.record(reading(7, now - 89 * 24h)));
            // An hour of rising use ten days ago: four quarters, each keeping its highest reading.
            for (int m = 0; m < 60; ++m)
                ASSERT_TRUE(store.record(reading(m, now - 10 * 24h + m * 1min)));
            ASSERT_TRUE(store.record(reading(80, now - 5 * 24h)));
            ASSERT_TRUE(store.record(reading(81, now - 5 * 24h + 1min)));
        }
        const auto before = test::readFile(path).size();
        {
            HistoryStore reopened(path); // upkeep works over a file that already holds readings
            maintainFully(reopened, now);
            EXPECT_EQ(count(reopened, "old"), 0u);
            std::vector<double> kept;
            for (const auto& r : reopened.readings(claude, "session", TimePoint{}))
                kept.push_back(r.percentUsed);
            EXPECT_EQ(kept, (std::vector<double>{7, 14, 29, 44, 59, 80, 81}));
            maintainFully(reopened, now + 24h); // a later round leaves the thinned rows as they are
            EXPECT_EQ(count(reopened), kept.size());
        }
        EXPECT_LT(test::readFile(path).size(), before / 2);
    }
}

TEST(HistoryStore, UnusableFolderTurnsHistoryOffWithoutFailing) {
    TempDir dir;
    test::writeFile(dir.file("blocker"), "a file where the folder should be");
    ScopedLogSink sink([](const std::string&) {});
    HistoryStore store(dir.file("blocker/history.sqlite"));
    EXPECT_TRUE(store.readings(claude, "session", t0).empty());
    EXPECT_FALSE(store.maintain(t0, 5ms));
    EXPECT_FALSE(store.isOpen());
}

TEST(UsageHistory, UpkeepRunsOverTheFileItOpensAndTheChartLeavesOutRowsAheadOfNow) {
    test::ScriptedModel m;
    ScopedLogSink quiet([](const std::string&) {});
    const TimePoint now = m.clock.now();
    const std::string path = m.dir.file("history.sqlite");
    {
        HistoryStore earlier(path);
        ASSERT_TRUE(earlier.record(reading(5, now - 91 * 24h)));
        ASSERT_TRUE(earlier.record(reading(6, now - 5 * 24h)));
        ASSERT_TRUE(earlier.record(reading(9, now + 2h))); // the clock ran ahead then
    }
    UsageHistory history(*m.model, path, 0ms);
    m.succeed(claude, test::ScriptedModel::snapshot(UsageLimit{"session", "Session", 30, now + 3h}));
    const auto& chart = history.mainReadings(claude);
    ASSERT_EQ(chart.size(), 2u);
    EXPECT_EQ(chart[0].percentUsed, 6);
    EXPECT_EQ(chart[1].percentUsed, 30);

    ASSERT_TRUE(runLoopUntil([&] { return history.upkeepDone(); }, 10s));
    const auto all = history.store().readings(claude, "session", TimePoint{}, now);
    ASSERT_EQ(all.size(), 2u) << "the 91-day-old reading goes, the 5-day-old one stays";
    EXPECT_EQ(all[0].percentUsed, 6);
}

} // namespace
} // namespace ostrel
