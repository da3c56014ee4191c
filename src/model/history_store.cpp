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

// Another program's lock is waited for this long at most: the main loop never stalls behind it.
constexpr auto busyWait = 5ms;
// Readings kept in memory while the file takes no writes: a day and a half of every limit changing
// every minute.
constexpr std::size_t maxWaiting = 10'000;
constexpr std::int64_t pruneBatch = 500;
constexpr std::int64_t thinChunk = 3600; // seconds of rows thinned in one transaction

std::int64_t toSeconds(TimePoint t) {
    return std::chrono::duration_cast<std::chrono::seconds>(t.time_since_epoch()).count();
}
TimePoint fromSeconds(std::int64_t s) {
    return TimePoint(std::chrono::seconds(s));
}
std::int64_t floorTo(std::int64_t value, std::int64_t step) {
    const std::int64_t r = value % step;
    return r < 0 ? value - r - step : value - r;
}
bool past(std::chrono::steady_clock::time_point deadline) {
    return std::chrono::steady_clock::now() >= deadline;
}

// auto_vacuum only takes on a file without tables (a new one); an older file keeps its mode.
// synchronous=NORMAL is safe with a write-ahead log and spares a flush to disk on every write.
const char* const schema =
    "PRAGMA auto_vacuum=INCREMENTAL;"
    "PRAGMA journal_mode=WAL;"
    "PRAGMA synchronous=NORMAL;"
    "PRAGMA journal_size_limit=1048576;"
    "CREATE TABLE IF NOT EXISTS upkeep (name TEXT PRIMARY KEY, value INTEGER NOT NULL);";

// The index holds every column the chart reads, so a week of a limit is read from the index alone
// (several times faster than looking each row up); the prune and the thinning use its first columns.
const char* const chartIndex = "CREATE INDEX IF NOT EXISTS readings_for_chart ON readings"
                               " (service, limit_id, read_at, percent_used, resets_at, title)";
// A file from before that index had this one instead; the upkeep replaces it.
const char* const olderIndex = "readings_by_limit";

// Creates the folder (0700) and the file (0600) before SQLite does, so neither is ever readable by
// others, not even for a moment.
void prepareFile(const std::string& path) {
    GCharPtr dir(g_path_get_dirname(path.c_str()));
    if (g_mkdir_with_parents(dir.get(), 0700) != 0)
        throw SqliteError(std::string("cannot create the folder: ") + std::strerror(errno));
    // Tighten the history's own folder, never a shared one a stray path names (the root, home).
    const std::string folder = dir.get();
    if (folder != "/" && folder != "." && folder != g_get_home_dir()) g_chmod(folder.c_str(), 0700);
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) throw SqliteError(std::string("cannot open the file: ") + std::strerror(errno));
    ::fchmod(fd, 0600);
    ::close(fd);
}

// A database file goes with its journal: the copy stays whole, a connection that still has them
// open keeps working on its own files, and a fresh file never replays a journal that is not its own.
constexpr const char* journalSuffixes[] = {"", "-wal", "-shm"};

void moveSet(const std::string& from, const std::string& to) {
    for (const char* suffix : journalSuffixes)
        std::rename((from + suffix).c_str(), (to + suffix).c_str());
}
void removeSet(const std::string& path) {
    for (const char* suffix : journalSuffixes)
        std::remove((path + suffix).c_str());
}
std::string badCopy(const std::string& path, int n) {
    return path + ".bad" + (n == 0 ? "" : "." + std::to_string(n));
}

UsageReading readingFrom(ProviderID service, std::string limitId, SqliteStatement& q) {
    // Columns: title, percent_used, resets_at, read_at.
    UsageReading r{service,   std::move(limitId), q.text(0),
                   q.real(1), std::nullopt,       fromSeconds(q.integer(3))};
    if (auto reset = q.optionalInteger(2)) r.resetsAt = fromSeconds(*reset);
    return r;
}

} // namespace

HistoryStore::HistoryStore(std::string path, std::int64_t sizeLimit)
    : path_(std::move(path)), sizeLimit_(sizeLimit) {}

std::string HistoryStore::defaultPath() {
    GCharPtr p(g_build_filename(userStateDir().c_str(), "ostrel", "history.sqlite", nullptr));
    return p.get();
}

// Reads open the file once; a write or an upkeep step tries again after a failure.
bool HistoryStore::openForReading() {
    if (db_) return true;
    if (triedOpen_) return false;
    return tryOpen();
}

bool HistoryStore::tryOpen() {
    triedOpen_ = true;
    for (int attempt = 0; attempt < 2; ++attempt) {
        try {
            openOnce();
            return true;
        } catch (const SqliteError& e) {
            if (attempt == 0 && e.isCorruption()) {
                moveAside(e.what());
                continue;
            }
            db_.reset();
            noteFailure(e.what());
        }
    }
    return false;
}

void HistoryStore::openOnce() {
    db_.reset();
    prepareFile(path_);
    db_.emplace(path_, busyWait);
    db_->exec(schema);
    if (!hasTable("readings")) {
        db_->exec("CREATE TABLE IF NOT EXISTS readings ("
                  " service TEXT NOT NULL, limit_id TEXT NOT NULL, title TEXT NOT NULL,"
                  " percent_used REAL NOT NULL, resets_at INTEGER, read_at INTEGER NOT NULL)");
        db_->exec(chartIndex);
    }
    const std::int64_t pages = sizeLimit_ / std::max<std::int64_t>(db_->pragma("PRAGMA page_size"), 512);
    db_->exec(("PRAGMA max_page_count=" + std::to_string(pages)).c_str());
}

void HistoryStore::moveAside(const std::string& why) {
    lastTaken_.clear();
    // The oldest copy goes and the others move one on, so no copy is ever written over.
    removeSet(badCopy(path_, badCopies - 1));
    for (int n = badCopies - 2; n >= 0; --n)
        moveSet(badCopy(path_, n), badCopy(path_, n + 1));
    // Moved before our connection closes: closing removes its journal by name, which then is gone.
    moveSet(path_, badCopy(path_, 0));
    db_.reset();
    ++version_;
    GCharPtr name(g_path_get_basename(badCopy(path_, 0).c_str()));
    log("History database damaged (" + why + "); moved aside as " + name.get() + ", starting a fresh one");
}

void HistoryStore::noteFailure(const std::string& what) {
    if (what != lastFailure_) log("History not written for now (" + what + "); will try again");
    lastFailure_ = what;
}

bool HistoryStore::record(const UsageReading& r) {
    if (!pending_.empty()) flush(); // every reading is a moment to try again, changed or not
    Key key{r.service, r.limitId};
    auto last = lastTaken_.find(key);
    if (last == lastTaken_.end())
        if (auto stored = newestStored(r)) last = lastTaken_.emplace(key, *stored).first;
    if (last != lastTaken_.end()) {
        if (!isChange(last->second, r)) return false;
        // The next reading carries the change; a row stamped after this one (the clock ran ahead)
        // holds nothing back.
        if (last->second.at <= r.at && r.at - last->second.at < 60s) return false;
    }
    lastTaken_.insert_or_assign(std::move(key), r);
    pending_.push_back(r);
    if (pending_.size() > maxWaiting) pending_.pop_front();
    flush();
    return true;
}

bool HistoryStore::flush() {
    for (int attempt = 0; attempt < 2 && !pending_.empty(); ++attempt) {
        if (!db_ && !tryOpen()) return false;
        try {
            db_->transaction([this] {
                auto insert = db_->prepare(
                    "INSERT INTO readings (service, limit_id, title, percent_used, resets_at, read_at)"
                    " VALUES (?, ?, ?, ?, ?, ?)");
                for (const UsageReading& r : pending_) {
                    std::optional<std::int64_t> reset;
                    if (r.resetsAt) reset = toSeconds(*r.resetsAt);
                    insert.reset()
                        .bind(1, std::string(rawValue(r.service)))
                        .bind(2, r.limitId)
                        .bind(3, r.title)
                        .bind(4, r.percentUsed)
                        .bind(5, reset)
                        .bind(6, toSeconds(r.at))
                        .run();
                }
            });
            pending_.clear();
            ++version_;
            if (!lastFailure_.empty()) log("History written again");
            lastFailure_.clear();
            return true;
        } catch (const SqliteError& e) {
            if (!e.isCorruption()) {
                noteFailure(e.what());
                return false;
            }
            moveAside(e.what()); // what waits goes into the fresh file
        }
    }
    return pending_.empty();
}

std::optional<UsageReading> HistoryStore::newestStored(const UsageReading& before) {
    if (!openForReading()) return std::nullopt;
    try {
        auto q = db_->prepare(
            "SELECT title, percent_used, resets_at, read_at FROM readings"
            " WHERE service = ? AND limit_id = ? AND read_at <= ? ORDER BY read_at DESC LIMIT 1");
        q.bind(1, std::string(rawValue(before.service)))
            .bind(2, before.limitId)
            .bind(3, toSeconds(before.at));
        if (q.step()) return readingFrom(before.service, before.limitId, q);
    } catch (const SqliteError& e) {
        noteFailure(e.what()); // the write that follows tells a damaged file
    }
    return std::nullopt;
}

std::vector<UsageReading> HistoryStore::readings(ProviderID service, const std::string& limitId,
                                                 TimePoint since, TimePoint until) {
    std::vector<UsageReading> out;
    if (!openForReading()) return out;
    try {
        auto q = db_->prepare("SELECT title, percent_used, resets_at, read_at FROM readings"
                              " WHERE service = ? AND limit_id = ? AND read_at >= ? AND read_at <= ?"
                              " ORDER BY read_at");
        q.bind(1, std::string(rawValue(service))).bind(2, limitId).bind(3, toSeconds(since));
        q.bind(4, toSeconds(until));
        while (q.step())
            out.push_back(readingFrom(service, limitId, q));
    } catch (const SqliteError& e) {
        log(std::string("History could not be read: ") + e.what());
        out.clear();
        if (e.isCorruption()) {
            moveAside(e.what());
            tryOpen();
        }
    }
    return out;
}

bool HistoryStore::maintain(TimePoint now, std::chrono::milliseconds budget) {
    const Deadline deadline = std::chrono::steady_clock::now() + budget;
    if (!db_ && !tryOpen()) return false; // the next round tries again
    if (!flush()) return false;
    try {
        const std::vector<Key> limits = storedLimits();
        return pruneStep(limits, now - keptFor, deadline) ||
               thinStep(limits, now - fullDetailFor, deadline) || indexStep() || shrinkStep(deadline);
    } catch (const SqliteError& e) {
        if (e.isCorruption()) {
            moveAside(e.what());
            tryOpen();
        } else {
            noteFailure(e.what());
        }
        return false;
    }
}

// The limits in the file, one index probe each rather than a scan of every row.
std::vector<HistoryStore::Key> HistoryStore::storedLimits() {
    std::vector<Key> out;
    auto next = db_->prepare("SELECT limit_id FROM readings WHERE service = ? AND limit_id > ?"
                             " ORDER BY limit_id LIMIT 1");
    for (ProviderID service : allProviders) {
        std::string limit;
        for (;;) {
            next.reset().bind(1, std::string(rawValue(service))).bind(2, limit);
            if (!next.step()) break;
            limit = next.text(0);
            out.emplace_back(service, limit);
        }
    }
    return out;
}

bool HistoryStore::pruneStep(const std::vector<Key>& limits, TimePoint cutoff, Deadline deadline) {
    auto drop = db_->prepare("DELETE FROM readings WHERE rowid IN (SELECT rowid FROM readings"
                             " WHERE service = ? AND limit_id = ? AND read_at < ? LIMIT ?)");
    for (const auto& [service, limit] : limits) {
        for (;;) {
            if (past(deadline)) return true;
            drop.reset().bind(1, std::string(rawValue(service))).bind(2, limit).bind(3, toSeconds(cutoff));
            drop.bind(4, pruneBatch).run();
            if (db_->changes() < pruneBatch) break;
        }
    }
    return false;
}

bool HistoryStore::thinStep(const std::vector<Key>& limits, TimePoint upTo, Deadline deadline) {
    const std::int64_t bucket = std::chrono::seconds(thinnedTo).count();
    const std::int64_t target = floorTo(toSeconds(upTo), bucket);
    auto mark = db_->prepare("SELECT value FROM upkeep WHERE name = 'thinned_until'");
    std::optional<std::int64_t> from;
    if (mark.step()) from = mark.integer(0);
    if (!from) { // the oldest row starts it
        auto oldest = db_->prepare("SELECT MIN(read_at) FROM readings WHERE service = ? AND limit_id = ?");
        for (const auto& [service, limit] : limits) {
            oldest.reset().bind(1, std::string(rawValue(service))).bind(2, limit);
            if (oldest.step())
                if (auto at = oldest.optionalInteger(0))
                    from = std::min(from.value_or(*at), floorTo(*at, bucket));
        }
    }
    std::int64_t at = std::min(from.value_or(target), target);
    auto rows = db_->prepare("SELECT rowid, read_at, percent_used FROM readings"
                             " WHERE service = ? AND limit_id = ? AND read_at >= ? AND read_at < ?"
                             " ORDER BY read_at");
    auto drop = db_->prepare("DELETE FROM readings WHERE rowid = ?");
    auto save = db_->prepare("INSERT OR REPLACE INTO upkeep (name, value) VALUES ('thinned_until', ?)");
    while (at < target) {
        const std::int64_t to = std::min(at + thinChunk, target);
        db_->transaction([&] {
            for (const auto& [service, limit] : limits) {
                rows.reset().bind(1, std::string(rawValue(service))).bind(2, limit).bind(3, at).bind(4, to);
                // Per quarter hour the row with the most used (the latest of equals) stays.
                std::vector<std::int64_t> doomed;
                std::optional<std::int64_t> keep, keepBucket;
                double keepUsed = 0;
                while (rows.step()) {
                    const std::int64_t id = rows.integer(0), b = floorTo(rows.integer(1), bucket);
                    const double used = rows.real(2);
                    if (keepBucket == b && used < keepUsed) {
                        doomed.push_back(id);
                        continue;
                    }
                    if (keepBucket == b) doomed.push_back(*keep);
                    keep = id;
                    keepBucket = b;
                    keepUsed = used;
                }
                for (std::int64_t id : doomed)
                    drop.reset().bind(1, id).run();
            }
            save.reset().bind(1, to).run();
        });
        at = to;
        if (at < target && past(deadline)) return true;
    }
    return false;
}

bool HistoryStore::hasTable(const char* name) {
    auto q = db_->prepare("SELECT 1 FROM sqlite_master WHERE name = ?");
    q.bind(1, std::string(name));
    return q.step();
}

// A file from before the chart's index gets it once, after thinning made it small: a step that
// may take longer, like the rebuild below.
bool HistoryStore::indexStep() {
    if (hasTable("readings_for_chart")) return false;
    db_->exec(chartIndex);
    db_->exec((std::string("DROP INDEX IF EXISTS ") + olderIndex).c_str());
    return false;
}

// Freed pages go back to the file system a few at a time. An older file, made before the history
// gave space back, is rebuilt once when most of it is free: the one step that may take longer.
bool HistoryStore::shrinkStep(Deadline deadline) {
    const std::int64_t free = db_->pragma("PRAGMA freelist_count");
    if (free == 0) return false;
    if (db_->pragma("PRAGMA auto_vacuum") != 2) {
        if (free * 2 > db_->pragma("PRAGMA page_count")) db_->exec("PRAGMA auto_vacuum=INCREMENTAL; VACUUM");
        return false;
    }
    while (db_->pragma("PRAGMA freelist_count") > 0) {
        db_->exec("PRAGMA incremental_vacuum(64)");
        if (past(deadline)) return db_->pragma("PRAGMA freelist_count") > 0;
    }
    return false;
}

void HistoryStore::clear() {
    ++version_;
    pending_.clear();
    lastTaken_.clear();
    lastFailure_.clear();
    for (int n = 0; n < badCopies; ++n) // older history the user asked to be rid of as well
        removeSet(badCopy(path_, n));
    if (!db_ && !tryOpen()) return;
    try {
        // The rebuild leaves no deleted row in the file; the checkpoint empties the journal.
        db_->exec("DELETE FROM readings; DELETE FROM upkeep; VACUUM;");
        auto checkpoint = db_->prepare("PRAGMA wal_checkpoint(TRUNCATE)");
        if (checkpoint.step() && checkpoint.integer(0) != 0)
            log("History cleared; its journal empties when another program lets go of the file");
    } catch (const SqliteError& e) {
        if (!e.isCorruption()) {
            log(std::string("History could not be cleared: ") + e.what());
            return;
        }
        moveAside(e.what());
        removeSet(badCopy(path_, 0)); // the user asked for it gone
        tryOpen();
    }
}

} // namespace ostrel
