#include "model/sqlite_db.h"

namespace ostrel {

namespace {
[[noreturn]] void fail(sqlite3* db, const std::string& what) {
    if (!db) throw SqliteError(what + ": out of memory", SQLITE_NOMEM);
    throw SqliteError(what + ": " + sqlite3_errmsg(db), sqlite3_extended_errcode(db));
}
} // namespace

SqliteStatement::SqliteStatement(sqlite3* db, const char* sql) : db_(db) {
    sqlite3_stmt* raw = nullptr;
    const int rc = sqlite3_prepare_v2(db, sql, -1, &raw, nullptr);
    stmt_.reset(raw);
    if (rc != SQLITE_OK) fail(db, "prepare");
}

SqliteStatement& SqliteStatement::bind(int index, const std::string& value) {
    if (sqlite3_bind_text(stmt_.get(), index, value.c_str(), static_cast<int>(value.size()),
                          SQLITE_TRANSIENT) != SQLITE_OK)
        fail(db_, "bind");
    return *this;
}

SqliteStatement& SqliteStatement::bind(int index, std::int64_t value) {
    if (sqlite3_bind_int64(stmt_.get(), index, value) != SQLITE_OK) fail(db_, "bind");
    return *this;
}

SqliteStatement& SqliteStatement::bind(int index, double value) {
    if (sqlite3_bind_double(stmt_.get(), index, value) != SQLITE_OK) fail(db_, "bind");
    return *this;
}

SqliteStatement& SqliteStatement::bind(int index, std::optional<std::int64_t> value) {
    if (value) return bind(index, *value);
    if (sqlite3_bind_null(stmt_.get(), index) != SQLITE_OK) fail(db_, "bind");
    return *this;
}

bool SqliteStatement::step() {
    const int rc = sqlite3_step(stmt_.get());
    if (rc == SQLITE_ROW) return true;
    if (rc == SQLITE_DONE) return false;
    fail(db_, "step");
}

void SqliteStatement::run() {
    while (step()) {
    }
}

SqliteStatement& SqliteStatement::reset() {
    sqlite3_reset(stmt_.get());
    sqlite3_clear_bindings(stmt_.get());
    return *this;
}

std::string SqliteStatement::text(int column) const {
    const auto* p = sqlite3_column_text(stmt_.get(), column);
    return p ? std::string(reinterpret_cast<const char*>(p)) : std::string();
}

std::int64_t SqliteStatement::integer(int column) const {
    return sqlite3_column_int64(stmt_.get(), column);
}

double SqliteStatement::real(int column) const {
    return sqlite3_column_double(stmt_.get(), column);
}

std::optional<std::int64_t> SqliteStatement::optionalInteger(int column) const {
    if (sqlite3_column_type(stmt_.get(), column) == SQLITE_NULL) return std::nullopt;
    return integer(column);
}

SqliteDatabase::SqliteDatabase(const std::string& path, std::chrono::milliseconds busyWait) {
    sqlite3* raw = nullptr;
    const int rc = sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    db_.reset(raw);
    if (rc != SQLITE_OK) fail(raw, "open");
    sqlite3_extended_result_codes(raw, 1);
    sqlite3_busy_timeout(raw, static_cast<int>(busyWait.count()));
}

void SqliteDatabase::exec(const char* sql) {
    char* message = nullptr;
    if (const int rc = sqlite3_exec(db_.get(), sql, nullptr, nullptr, &message); rc != SQLITE_OK) {
        std::string text = message ? message : "unknown error";
        sqlite3_free(message);
        throw SqliteError(text, sqlite3_extended_errcode(db_.get()));
    }
}

std::int64_t SqliteDatabase::pragma(const char* sql) {
    auto q = prepare(sql);
    return q.step() ? q.integer(0) : 0;
}

} // namespace ostrel
