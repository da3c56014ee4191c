#pragma once
// The usage history on disk: one row per reading per limit, in an SQLite file readable by the user
// alone. A row is written only when the value or the reset time changed, and at most once a minute
// per limit. A database that cannot be opened or written is moved aside as "<file>.bad" and a fresh
// one started; if even that fails, the history is simply off for this run. Nothing here throws.

#include "model/forecast.h"
#include "model/sqlite_db.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ostrel {

class HistoryStore {
  public:
    // Opens (or creates) the file at `path`, then drops readings from before `pruneBefore`.
    HistoryStore(std::string path, TimePoint pruneBefore);

    // "$XDG_STATE_HOME/ostrel/history.sqlite".
    static std::string defaultPath();

    // Writes `reading` when the rules allow; true when a row was written.
    bool record(const UsageReading& reading);
    // One limit's readings from `since` on, oldest first.
    std::vector<UsageReading> readings(ProviderID service, const std::string& limitId, TimePoint since);
    // Removes every reading.
    void clear();

    bool isOpen() const { return db_.has_value(); }
    const std::string& path() const { return path_; }

  private:
    void open(TimePoint pruneBefore);
    void openOnce(TimePoint pruneBefore);
    void moveAside(const std::string& why);

    std::string path_;
    std::optional<SqliteDatabase> db_;
    std::map<std::pair<ProviderID, std::string>, UsageReading> lastWritten_;
};

} // namespace ostrel
