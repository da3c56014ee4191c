#include "model/history_store.h"

#include "base/gobject_ptr.h"
#include "base/log.h"
#include "base/user_dirs.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <glib.h>
#include <glib/gstdio.h>
#include <unistd.h>

namespace ostrel {

using namespace std::chrono_literals;

namespace {

std::int64_t toSeconds(TimePoint t) {
    return std::chrono::duration_cast<std::chrono::seconds>(t.time_since_epoch()).count();
}
TimePoint fromSeconds(std::int64_t s) {
    return TimePoint(std::chrono::seconds(s));
}

const char* const schema =
    "PRAGMA journal_mode=WAL;"
    "CREATE TABLE IF NOT EXISTS readings ("
    " service TEXT NOT NULL, limit_id TEXT NOT NULL, title TEXT NOT NULL,"
    " percent_used REAL NOT NULL, resets_at INTEGER, read_at INTEGER NOT NULL);"
    "CREATE INDEX IF NOT EXISTS readings_by_limit ON readings (service, limit_id, read_at);";

// Creates the folder (0700) and the file (0600) before SQLite does, so neither is ever readable by
// others, not even for a moment.
void prepareFile(const std::string& path) {
    GCharPtr dir(g_path_get_dirname(path.c_str()));
    if (g_mkdir_with_parents(dir.get(), 0700) != 0)
        throw SqliteError(std::string("cannot create the folder: ") + std::strerror(errno));
    g_chmod(dir.get(), 0700);
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) throw SqliteError(std::string("cannot open the file: ") + std::strerror(errno));
    ::fchmod(fd, 0600);
    ::close(fd);
}

} // namespace

HistoryStore::HistoryStore(std::string path, TimePoint pruneBefore) : path_(std::move(path)) {
    open(pruneBefore);
}

std::string HistoryStore::defaultPath() {
    GCharPtr p(g_build_filename(userStateDir().c_str(), "ostrel", "history.sqlite", nullptr));
    return p.get();
}

void HistoryStore::open(TimePoint pruneBefore) {
    try {
        openOnce(pruneBefore);
        return;
    } catch (const std::exception& e) {
        moveAside(e.what());
    }
    try {
        openOnce(pruneBefore);
    } catch (const std::exception& e) {
        db_.reset();
        log(std::string("History is off for this run: ") + e.what());
    }
}

void HistoryStore::openOnce(TimePoint pruneBefore) {
    db_.reset();
    lastWritten_.clear();
    prepareFile(path_);
    db_.emplace(path_);
    db_->exec(schema);
    db_->prepare("DELETE FROM readings WHERE read_at < ?").bind(1, toSeconds(pruneBefore)).run();
    // The newest row of every limit, so the write rules hold across restarts.
    auto last =
        db_->prepare("SELECT service, limit_id, title, percent_used, resets_at, MAX(read_at) FROM readings"
                     " GROUP BY service, limit_id");
    while (last.step()) {
        auto service = providerFromRaw(last.text(0));
        if (!service) continue;
        UsageReading r{*service,     last.text(1), last.text(2),
                       last.real(3), std::nullopt, fromSeconds(last.integer(5))};
        if (auto reset = last.optionalInteger(4)) r.resetsAt = fromSeconds(*reset);
        lastWritten_[{r.service, r.limitId}] = r;
    }
}

void HistoryStore::moveAside(const std::string& why) {
    db_.reset();
    lastWritten_.clear();
    log("History database unusable (" + why + "); moved aside as history.sqlite.bad, starting a fresh one");
    const std::string bad = path_ + ".bad";
    std::rename(path_.c_str(), bad.c_str());
    // The journal files belong to the old database; a fresh one must not pick them up.
    for (const char* suffix : {"-wal", "-shm"})
        std::remove((path_ + suffix).c_str());
}

bool HistoryStore::record(const UsageReading& r) {
    if (!db_) return false;
    const auto key = std::pair{r.service, r.limitId};
    if (auto it = lastWritten_.find(key); it != lastWritten_.end()) {
        const UsageReading& last = it->second;
        if (last.percentUsed == r.percentUsed && last.resetsAt == r.resetsAt) return false;
        if (r.at - last.at < 60s) return false; // the next reading carries the change
    }
    try {
        std::optional<std::int64_t> reset;
        if (r.resetsAt) reset = toSeconds(*r.resetsAt);
        db_->prepare("INSERT INTO readings (service, limit_id, title, percent_used, resets_at, read_at)"
                     " VALUES (?, ?, ?, ?, ?, ?)")
            .bind(1, std::string(rawValue(r.service)))
            .bind(2, r.limitId)
            .bind(3, r.title)
            .bind(4, r.percentUsed)
            .bind(5, reset)
            .bind(6, toSeconds(r.at))
            .run();
    } catch (const std::exception& e) {
        moveAside(e.what());
        open(r.at - 90 * 24h);
        return false;
    }
    lastWritten_[key] = r;
    return true;
}

std::vector<UsageReading> HistoryStore::readings(ProviderID service, const std::string& limitId,
                                                 TimePoint since) {
    std::vector<UsageReading> out;
    if (!db_) return out;
    try {
        auto q = db_->prepare("SELECT title, percent_used, resets_at, read_at FROM readings"
                              " WHERE service = ? AND limit_id = ? AND read_at >= ? ORDER BY read_at");
        q.bind(1, std::string(rawValue(service))).bind(2, limitId).bind(3, toSeconds(since));
        while (q.step()) {
            UsageReading r{service, limitId, q.text(0), q.real(1), std::nullopt, fromSeconds(q.integer(3))};
            if (auto reset = q.optionalInteger(2)) r.resetsAt = fromSeconds(*reset);
            out.push_back(std::move(r));
        }
    } catch (const std::exception& e) {
        log(std::string("History could not be read: ") + e.what());
        out.clear();
    }
    return out;
}

void HistoryStore::clear() {
    if (!db_) return;
    try {
        db_->exec("DELETE FROM readings; VACUUM;");
        lastWritten_.clear();
        std::remove((path_ + ".bad").c_str()); // older history the user asked to be rid of as well
    } catch (const std::exception& e) {
        moveAside(e.what());
        std::remove((path_ + ".bad").c_str()); // the user asked for it gone
        open(TimePoint{});
    }
}

} // namespace ostrel
