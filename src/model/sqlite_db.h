#pragma once
// Owning handles for an SQLite connection and its prepared statements. Every failure throws
// SqliteError with SQLite's own message, so the caller decides in one place what a bad database means.

#include <cstdint>
#include <memory>
#include <optional>
#include <sqlite3.h>
#include <stdexcept>
#include <string>

namespace ostrel {

class SqliteError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
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
    // Opens (creating when missing) the file at `path`; throws on failure.
    explicit SqliteDatabase(const std::string& path);

    void exec(const char* sql);
    SqliteStatement prepare(const char* sql) { return SqliteStatement(db_.get(), sql); }
    // Number of rows the last write touched.
    int changes() const { return sqlite3_changes(db_.get()); }

  private:
    std::unique_ptr<sqlite3, SqliteCloser> db_;
};

} // namespace ostrel
