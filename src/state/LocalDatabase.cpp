#include "state/LocalDatabase.h"

#include "platform/files/FileError.h"
#include "state/AppPaths.h"
#include "state/OwnDatabaseFile.h"

#include <sqlite3.h>
#include <unistd.h>

#include <cassert>
#include <utility>

namespace veskline {

namespace {

constexpr const char* schema = R"(create table if not exists files(
    path text primary key,
    root_path text not null,
    logical_path text not null,
    storage_key text not null,
    sha256 text not null,
    bytes integer not null,
    mtime_ms real not null
);

create index if not exists idx_files_root_path on files(root_path);

create table if not exists preferences(
    key text primary key,
    value text not null
);)";

// The columns of the two statements that read whole rows.
enum Column : int {
    pathColumn,
    rootPathColumn,
    logicalPathColumn,
    storageKeyColumn,
    sha256Column,
    bytesColumn,
    mtimeColumn,
};

constexpr const char* selectFile = R"(select path, root_path, logical_path, storage_key, sha256, bytes, mtime_ms
from files
where path = ?1
limit 1;)";

constexpr const char* selectRows = R"(select path, root_path, logical_path, storage_key, sha256, bytes, mtime_ms
from files
where root_path = ?1;)";

constexpr const char* upsertFile =
    R"(insert into files(path, root_path, logical_path, storage_key, sha256, bytes, mtime_ms)
values (?1, ?2, ?3, ?4, ?5, ?6, ?7)
on conflict(path) do update set
    root_path = excluded.root_path,
    logical_path = excluded.logical_path,
    storage_key = excluded.storage_key,
    sha256 = excluded.sha256,
    bytes = excluded.bytes,
    mtime_ms = excluded.mtime_ms;)";

constexpr const char* deleteFile = "delete from files where path = ?1;";

constexpr const char* selectPreference = "select value from preferences where key = ?1 limit 1;";

constexpr const char* upsertPreference = R"(insert into preferences(key, value)
values (?1, ?2)
on conflict(key) do update set value = excluded.value;)";

// SQLite copies the text at once, so that the caller's may go away right after the bind.
const sqlite3_destructor_type sqliteTransient = SQLITE_TRANSIENT;

std::string messageOf(sqlite3* connection) {
    const char* const message = connection != nullptr ? sqlite3_errmsg(connection) : nullptr;
    return message != nullptr ? message : "Unknown SQLite error";
}

// The path to open, once the file there is fit to hold private state.
const std::string& prepared(const StorePlace& place) {
    if (place.mustBeOwn) {
        refuseForeignDatabaseFile(place.path);
    }
    createPrivateDatabaseFile(place.path);
    return place.path;
}

// Lives until the statement is stepped or finalized.
std::string_view string(int at, sqlite3_stmt* statement) {
    const unsigned char* const text = sqlite3_column_text(statement, at);
    return text != nullptr ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

FileStateRow makeRow(sqlite3_stmt* from) {
    return {.path = std::string(string(pathColumn, from)),
            .rootPath = std::string(string(rootPathColumn, from)),
            .logicalPath = std::string(string(logicalPathColumn, from)),
            .storageKey = std::string(string(storageKeyColumn, from)),
            .sha256 = std::string(string(sha256Column, from)),
            .bytes = sqlite3_column_int64(from, bytesColumn),
            .mtimeMilliseconds = sqlite3_column_double(from, mtimeColumn)};
}

} // namespace

std::string_view FileStateRowView::path() const {
    return string(pathColumn, statement_);
}

std::string_view FileStateRowView::sha256() const {
    return string(sha256Column, statement_);
}

std::int64_t FileStateRowView::bytes() const {
    return sqlite3_column_int64(statement_, bytesColumn);
}

double FileStateRowView::mtimeMilliseconds() const {
    return sqlite3_column_double(statement_, mtimeColumn);
}

FileStateRow FileStateRowView::row() const {
    return makeRow(statement_);
}

void LocalDatabase::CloseConnection::operator()(sqlite3* connection) const noexcept {
    sqlite3_close(connection);
}

void LocalDatabase::FinalizeStatement::operator()(sqlite3_stmt* statement) const noexcept {
    sqlite3_finalize(statement);
}

StorePlace LocalDatabase::defaultPlace(std::string_view fallbackFolder) {
    return placeOrFallback(&AppPaths::databaseFile, "vesk-state.sqlite3", fallbackFolder);
}

LocalDatabase::LocalDatabase(async::Executor pool)
    : LocalDatabase(pool, defaultPlace(), AppPaths::legacyDatabaseFile()) {}

LocalDatabase::LocalDatabase(async::Executor pool, const StorePlace& url, std::optional<std::string> legacyDatabaseURL)
    : serial_(pool), databaseURL_(prepared(url)), legacyDatabaseURL_(std::move(legacyDatabaseURL)),
      database_(openDatabase(databaseURL_)) {
    migrate(database_.get());
}

LocalDatabase::Connection LocalDatabase::openDatabase(const std::string& at) {
    sqlite3* handle = nullptr;
    const int result = sqlite3_open_v2(at.c_str(), &handle,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX, nullptr);
    Connection connection(handle); // there is one to close after most failures too
    if (result != SQLITE_OK) {
        throw DatabaseError(messageOf(handle));
    }
    return connection;
}

void LocalDatabase::migrate(sqlite3* connection) {
    if (sqlite3_exec(connection, schema, nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw DatabaseError(messageOf(connection));
    }
}

async::Task<std::optional<FileStateRow>> LocalDatabase::fileRecord(std::string path) {
    const Statement statement = prepare(selectFile);
    bind(path, 1, statement.get());
    if (sqlite3_step(statement.get()) != SQLITE_ROW) {
        co_return std::nullopt;
    }
    co_return makeRow(statement.get());
}

async::Task<std::vector<FileStateRow>> LocalDatabase::rows(std::string rootPath) {
    std::vector<FileStateRow> result;
    visitRows(rootPath, [&result](const FileStateRowView& row) { result.push_back(row.row()); });
    co_return result;
}

async::Task<> LocalDatabase::forEachRow(std::string rootPath, RowVisitor visitor) {
    visitRows(rootPath, visitor);
    co_return;
}

async::Task<> LocalDatabase::upsert(FileStateRow row) {
    const Statement statement = prepare(upsertFile);
    bind(row.path, 1, statement.get());
    bind(row.rootPath, 2, statement.get());
    bind(row.logicalPath, 3, statement.get());
    bind(row.storageKey, 4, statement.get());
    bind(row.sha256, 5, statement.get());
    sqlite3_bind_int64(statement.get(), 6, row.bytes);
    sqlite3_bind_double(statement.get(), 7, row.mtimeMilliseconds);
    step(statement.get(), upsertFile);
    co_return;
}

async::Task<> LocalDatabase::deleteRow(std::string path) {
    const Statement statement = prepare(deleteFile);
    bind(path, 1, statement.get());
    step(statement.get(), deleteFile);
    co_return;
}

async::Task<std::optional<std::string>> LocalDatabase::preference(std::string key) {
    {
        const Statement statement = prepare(selectPreference);
        bind(key, 1, statement.get());
        if (sqlite3_step(statement.get()) == SQLITE_ROW) {
            co_return std::string(string(0, statement.get()));
        }
    }
    std::optional<std::string> value = legacyPreference(key);
    if (value) {
        storePreference(*value, key);
    }
    co_return value;
}

async::Task<std::optional<std::string>> LocalDatabase::ownPreference(std::string key) {
    const Statement statement = prepare(selectPreference);
    bind(key, 1, statement.get());
    const int result = sqlite3_step(statement.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE) {
        throw DatabaseError(currentErrorMessage(), selectPreference);
    }
    co_return result == SQLITE_ROW ? std::optional(std::string(string(0, statement.get()))) : std::nullopt;
}

async::Task<> LocalDatabase::setPreference(std::string value, std::string key) {
    storePreference(value, key);
    co_return;
}

LocalDatabase::Statement LocalDatabase::prepare(const char* sql) const {
    assert(executor().isCurrent());
    sqlite3_stmt* handle = nullptr;
    const int result = sqlite3_prepare_v2(database_.get(), sql, -1, &handle, nullptr);
    Statement statement(handle);
    if (result != SQLITE_OK) {
        throw DatabaseError(currentErrorMessage(), sql);
    }
    return statement;
}

void LocalDatabase::step(sqlite3_stmt* statement, const char* sql) const {
    if (sqlite3_step(statement) != SQLITE_DONE) {
        throw DatabaseError(currentErrorMessage(), sql);
    }
}

void LocalDatabase::bind(const std::string& text, int index, sqlite3_stmt* statement) {
    sqlite3_bind_text(statement, index, text.c_str(), -1, sqliteTransient);
}

std::string LocalDatabase::currentErrorMessage() const {
    return messageOf(database_.get());
}

void LocalDatabase::visitRows(const std::string& rootPath, const RowVisitor& visitor) const {
    const Statement statement = prepare(selectRows);
    bind(rootPath, 1, statement.get());
    while (sqlite3_step(statement.get()) == SQLITE_ROW) {
        visitor(FileStateRowView(statement.get()));
    }
}

void LocalDatabase::storePreference(const std::string& value, const std::string& key) const {
    const Statement statement = prepare(upsertPreference);
    bind(key, 1, statement.get());
    bind(value, 2, statement.get());
    step(statement.get(), upsertPreference);
}

// The older database is opened afresh for each miss. One that has no such table, or that is no database, is empty.
std::optional<std::string> LocalDatabase::legacyPreference(const std::string& key) const {
    if (!legacyDatabaseURL_ || ::access(legacyDatabaseURL_->c_str(), F_OK) != 0) {
        return std::nullopt;
    }
    const Connection connection = openDatabase(*legacyDatabaseURL_);
    sqlite3_stmt* handle = nullptr;
    const int result = sqlite3_prepare_v2(connection.get(), selectPreference, -1, &handle, nullptr);
    const Statement statement(handle); // finalized before the connection is closed
    if (result != SQLITE_OK) {
        return std::nullopt;
    }
    bind(key, 1, statement.get());
    const bool isFound =
        sqlite3_step(statement.get()) == SQLITE_ROW && sqlite3_column_text(statement.get(), 0) != nullptr;
    return isFound ? std::optional(std::string(string(0, statement.get()))) : std::nullopt;
}

} // namespace veskline
