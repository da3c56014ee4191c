#pragma once
// Owning handles for an SQLite connection and its prepared statements. Every failure throws
// SqliteError with SQLite's own message and result code, so the caller decides in one place what a
// bad database means: only a file SQLite calls corrupt or not a database is bad; a full disk, an I/O
// error or another program's lock is a moment to wait out.

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <sqlite3.h>
#include <stdexcept>
#include <string>

namespace ostrel {

class SqliteError : public std::runtime_error {
  public:
    // `code` is SQLite's (extended) result code; SQLITE_ERROR when the failure was not SQLite's.
    explicit SqliteError(const std::string& what, int code = SQLITE_ERROR)
        : std::runtime_error(what), code_(code) {}
    int code() const { return code_; }
    // The file is damaged or is no database at all: the one case for moving it aside.
    bool isCorruption() const {
        const int primary = code_ & 0xff;
        return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
    }

  private:
    int code_;
};

struct SqliteCloser {
    void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
};
struct SqliteFinalizer {
    void operator()(sqlite3_stmt* s) const { sqlite3_finalize(s); }
};

class SqliteStatement {
  public:
    SqliteStatement(sqlite3* db, const char* sql);

    SqliteStatement& bind(int index, const std::string& value);
    SqliteStatement& bind(int index, std::int64_t value);
    SqliteStatement& bind(int index, double value);
    SqliteStatement& bind(int index, std::optional<std::int64_t> value);

    // Runs one step: true while a row is there to read.
    bool step();
    // Runs the statement to its end (for writes).
    void run();
    // Makes the statement ready to run again with new values.
    SqliteStatement& reset();

    std::string text(int column) const;
    std::int64_t integer(int column) const;
    double real(int column) const;
    std::optional<std::int64_t> optionalInteger(int column) const;

  private:
    sqlite3* db_;
    std::unique_ptr<sqlite3_stmt, SqliteFinalizer> stmt_;
};

class SqliteDatabase {
  public:
    // Opens (creating when missing) the file at `path`; throws on failure. Another connection's
    // lock is waited for `busyWait` at most, then the call fails with SQLITE_BUSY: the main loop
    // never stalls behind a backup or a shell holding the file.
    explicit SqliteDatabase(const std::string& path, std::chrono::milliseconds busyWait);

    void exec(const char* sql);
    SqliteStatement prepare(const char* sql) { return SqliteStatement(db_.get(), sql); }
    // Number of rows the last write touched.
    int changes() const { return sqlite3_changes(db_.get()); }

    // Runs `work` in one write transaction (taken at once, so a lock fails here and not halfway);
    // rolls it back when `work` throws.
    template <typename F> void transaction(F&& work) {
        exec("BEGIN IMMEDIATE");
        try {
            work();
            exec("COMMIT");
        } catch (...) {
            sqlite3_exec(db_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
            throw;
        }
    }
    // A one-number pragma such as "PRAGMA freelist_count".
    std::int64_t pragma(const char* sql);

  private:
    std::unique_ptr<sqlite3, SqliteCloser> db_;
};

} // namespace ostrel
