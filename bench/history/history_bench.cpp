// What 90 days of history cost: fills a history file with one reading a minute for 90 days for each
// of six limits (every reading a change, the most the write rules let through), and prints beside an
// empty history the file's size, the time to open it (at its first use, when the first reading
// comes; the start itself does not touch the file), the time to read what the
// panel's chart shows (each service's main limit over the last week; read once a run, when the
// service's first reading comes, and kept in memory for the panel) and what the upkeep that thins
// it takes, step by step. Run by hand (no display needed):
//   build/bench/history/history_bench [folder]
// The folder (a fresh temporary one by default) holds the files; put it on the disk the history lives on.
#include "model/history_store.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

using namespace ostrel;
using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

struct Limit {
    ProviderID service;
    const char* id;
    std::chrono::minutes window;
    bool main;
};
const Limit limits[] = {
    {ProviderID::claude, "session", 5h, true},
    {ProviderID::claude, "weekly", 7 * 24h, false},
    {ProviderID::claude, "weekly_opus", 7 * 24h, false},
    {ProviderID::cursor, "monthly", 30 * 24h, true},
    {ProviderID::codex, "5h", 5h, true},
    {ProviderID::codex, "weekly", 7 * 24h, false},
};

double msSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double megabytes(const std::string& path) {
    std::uintmax_t bytes = 0;
    for (const char* suffix : {"", "-wal"}) {
        std::error_code ec;
        const auto size = std::filesystem::file_size(path + suffix, ec);
        if (!ec) bytes += size;
    }
    return static_cast<double>(bytes) / (1 << 20);
}

// Rows in the file, and the time to read the chart's week of each service's main limit.
std::pair<std::size_t, double> readAll(HistoryStore& store, TimePoint now) {
    std::size_t rows = 0;
    for (const Limit& l : limits)
        rows += store.readings(l.service, l.id, TimePoint{}, now).size();
    const auto start = Clock::now();
    std::size_t chart = 0;
    for (const Limit& l : limits)
        if (l.main) chart += store.readings(l.service, l.id, now - 7 * 24h, now).size();
    const double ms = msSince(start);
    (void)chart;
    return {rows, ms};
}

void row(const char* name, const std::string& path, TimePoint now) {
    const auto start = Clock::now();
    HistoryStore store(path);
    store.readings(ProviderID::claude, "session", now, now); // the first use opens the file
    const double openMs = msSince(start);
    const auto [rows, chartMs] = readAll(store, now);
    std::printf("%-24s %9zu %9.1f %10.2f %15.2f\n", name, rows, megabytes(path), openMs, chartMs);
}

// The store makes the file; the rows go in through a connection of the bench's own in one
// transaction, as a minute-by-minute write through the store would take a quarter of an hour.
void fill(const std::string& path, TimePoint now) {
    HistoryStore(path).readings(ProviderID::claude, "session", now, now); // its first use makes the file
    const auto start = Clock::now();
    SqliteDatabase db(path, 1000ms);
    db.transaction([&] {
        auto insert =
            db.prepare("INSERT INTO readings (service, limit_id, title, percent_used, resets_at, read_at)"
                       " VALUES (?, ?, ?, ?, ?, ?)");
        const int minutes = 90 * 24 * 60;
        for (int m = 0; m < minutes; ++m) {
            const TimePoint at = now - 90 * 24h + m * 1min;
            for (const Limit& l : limits) {
                const auto windows = at.time_since_epoch() / l.window;
                const auto reset = std::chrono::duration_cast<std::chrono::seconds>((windows + 1) * l.window);
                insert.reset()
                    .bind(1, std::string(rawValue(l.service)))
                    .bind(2, std::string(l.id))
                    .bind(3, std::string(l.id))
                    .bind(4, static_cast<double>((m * 7 + windows) % 1000) / 10)
                    .bind(5, static_cast<std::int64_t>(reset.count()))
                    .bind(
                        6,
                        static_cast<std::int64_t>(
                            std::chrono::duration_cast<std::chrono::seconds>(at.time_since_epoch()).count()))
                    .run();
            }
        }
    });
    std::printf("filled 90 days in %.1f s\n", msSince(start) / 1000);
}

void upkeep(const std::string& path, TimePoint now) {
    HistoryStore store(path);
    std::vector<double> steps;
    for (bool more = true; more;) {
        const auto start = Clock::now();
        more = store.maintain(now, 5ms);
        steps.push_back(msSince(start));
    }
    double total = 0;
    for (double ms : steps)
        total += ms;
    const auto over = std::count_if(steps.begin(), steps.end(), [](double ms) { return ms > 10; });
    std::sort(steps.begin(), steps.end());
    std::printf(
        "upkeep: %zu steps of 5 ms asked, median %.2f ms, longest %.2f ms, %ld over 10 ms, %.1f s in all\n",
        steps.size(), steps[steps.size() / 2], steps.back(), static_cast<long>(over), total / 1000);
}

} // namespace

int main(int argc, char** argv) {
    std::string folder;
    if (argc > 1) {
        folder = argv[1];
    } else {
        folder = (std::filesystem::temp_directory_path() / "ostrel-history-bench-XXXXXX").string();
        if (!mkdtemp(folder.data())) {
            std::perror("mkdtemp");
            return 1;
        }
    }
    const std::string empty = folder + "/empty.sqlite", full = folder + "/90days.sqlite";
    for (const std::string& p : {empty, full})
        for (const char* suffix : {"", "-wal", "-shm"})
            std::filesystem::remove(p + suffix);
    const TimePoint now = std::chrono::system_clock::now();

    fill(full, now);
    std::printf("%-24s %9s %9s %10s %15s\n", "history", "rows", "file MB", "open ms", "chart read ms");
    row("empty", empty, now);
    row("90 days, as written", full, now);
    upkeep(full, now);
    row("90 days, after upkeep", full, now);
    row("90 days, next start", full, now);
    std::printf("files in %s\n", folder.c_str());
    return 0;
}
