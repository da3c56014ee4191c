#pragma once
// The usage history on disk: one row per reading per limit, in an SQLite file readable by the user
// alone. A reading is taken only when it changed, and at most once a minute per limit. Rows of the
// last week stay as read; older ones are thinned to one per quarter hour (the one with the most
// used, so the lowest point left stays on the chart), and rows older than 90 days go. That upkeep
// runs in small steps (maintain()) that the caller spreads over idle time.
//
// History is data. A full disk, an I/O error or another program's lock skips the write: the reading
// waits in memory and goes in with the next write or upkeep step. Only a file SQLite reports as
// corrupt or as no database is moved aside, with its journal, as "<file>.bad"; earlier copies move
// on to ".bad.1" and ".bad.2" and the oldest is dropped. Nothing here throws.

#include "model/forecast.h"
#include "model/sqlite_db.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ostrel {

class HistoryStore {
  public:
    static constexpr std::chrono::hours keptFor{90 * 24};
    static constexpr std::chrono::hours fullDetailFor{7 * 24};
    static constexpr std::chrono::minutes thinnedTo{15};
    static constexpr int badCopies = 3;
    // Far above what 90 days need; it keeps a runaway history from filling the disk.
    static constexpr std::int64_t defaultSizeLimit = 64 << 20;

    // The file at `path` is opened (or created) when first used, so the start never waits for it.
    explicit HistoryStore(std::string path, std::int64_t sizeLimit = defaultSizeLimit);

    // "$XDG_STATE_HOME/ostrel/history.sqlite".
    static std::string defaultPath();

    // Takes `reading` when the write rules allow; true when taken (written, or waiting to be written
    // as soon as the file takes writes again).
    bool record(const UsageReading& reading);
    // One limit's readings from `since` up to `until`, oldest first. Rows stamped later than
    // `until` (written while the clock ran ahead) stay out.
    std::vector<UsageReading> readings(ProviderID service, const std::string& limitId, TimePoint since,
                                       TimePoint until = TimePoint::max());
    // One step of upkeep as of `now`, taking about `budget`: writes what waits, drops old rows,
    // thins the ones past a week, gives freed space back. True while work is left.
    bool maintain(TimePoint now, std::chrono::milliseconds budget);
    // Removes every reading and every moved-aside copy; nothing of them stays readable in the file
    // or its journal.
    void clear();

    // Whether the file is open (after its first use).
    bool isOpen() const { return db_.has_value(); }
    // Moves on whenever rows are written, cleared or replaced by a fresh file, so a reader knows its
    // copy is old. Upkeep leaves the last week as it is and does not move it.
    std::uint64_t version() const { return version_; }
    // Readings taken but not yet on disk.
    std::size_t waiting() const { return pending_.size(); }
    const std::string& path() const { return path_; }

  private:
    using Key = std::pair<ProviderID, std::string>;
    using Deadline = std::chrono::steady_clock::time_point;

    bool openForReading();
    bool tryOpen();
    void openOnce();
    void moveAside(const std::string& why);
    void noteFailure(const std::string& what);
    bool flush();
    std::optional<UsageReading> newestStored(const UsageReading& before);
    std::vector<Key> storedLimits();
    bool pruneStep(const std::vector<Key>& limits, TimePoint cutoff, Deadline deadline);
    bool thinStep(const std::vector<Key>& limits, TimePoint upTo, Deadline deadline);
    bool indexStep();
    bool shrinkStep(Deadline deadline);
    bool hasTable(const char* name); // or index

    std::string path_;
    std::int64_t sizeLimit_;
    std::optional<SqliteDatabase> db_;
    std::map<Key, UsageReading> lastTaken_;
    std::deque<UsageReading> pending_;
    std::string lastFailure_; // logged once, until a write succeeds again
    std::uint64_t version_ = 0;
    bool triedOpen_ = false;
};

} // namespace ostrel
