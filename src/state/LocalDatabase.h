#pragma once

#include "platform/async/SerialExecutor.h"
#include "platform/async/Task.h"
#include "state/DatabaseError.h"
#include "state/StorePlace.h"
#include "state/records/FileStateRow.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace veskline {

// A stored row while it is being read: each value is fetched when it is asked for, and its texts live until the reader
// is handed the next row. To be used on the database's executor alone.
class FileStateRowView {
public:
    explicit FileStateRowView(sqlite3_stmt* statement) noexcept : statement_(statement) {}

    [[nodiscard]] std::string_view path() const;
    [[nodiscard]] std::string_view sha256() const;
    [[nodiscard]] std::int64_t bytes() const;
    [[nodiscard]] double mtimeMilliseconds() const;
    // All of it, to keep.
    [[nodiscard]] FileStateRow row() const;

private:
    sqlite3_stmt* statement_;
};

// The state database: what was last uploaded of each local file, so that a rescan can tell a changed file without
// reading it, and a few preferences as text. One SQLite file, private to the user, of two tables that are made at the
// first start; nothing else in the program touches it. Preferences that it lacks are taken over from the older desktop
// application's database, which is only ever read.
//
// Owned by the model, used by the coordinator; outlives it. Its operations run one after the other on executor(), each
// of them to its end. Each statement commits by itself: a crash at any moment leaves every row written before it,
// whole. Journal, synchronous mode and busy handling are SQLite's defaults, so a file that another program holds locked
// fails at once.
//
// Where a statement cannot be compiled, and where a write fails, an operation throws DatabaseError, and what was stored
// stays. A read that fails on the way gives what it has.
class LocalDatabase {
public:
    using RowVisitor = std::function<void(const FileStateRowView&)>;

    // In AppPaths::databaseFile(), or where that cannot be, without a word, in vesk-state.sqlite3 under
    // `fallbackFolder`.
    [[nodiscard]] static StorePlace defaultPlace(std::string_view fallbackFolder = sharedTemporaryFolder);

    // Opens or creates the database, at the application's own places or at those given, with `pool` to run on. Throws
    // DatabaseError: no such folder, no database, locked, not writable, or not this user's own where that is asked for.
    explicit LocalDatabase(async::Executor pool);
    LocalDatabase(async::Executor pool, const StorePlace& url, std::optional<std::string> legacyDatabaseURL);

    [[nodiscard]] async::Executor executor() const noexcept { return serial_.executor(); }
    [[nodiscard]] const std::string& path() const noexcept { return databaseURL_; }

    // The row of one file, absent where none is stored.
    [[nodiscard]] async::Task<std::optional<FileStateRow>> fileRecord(std::string path);

    // All rows of one synced folder, in no stated order; forEachRow hands them on one by one instead, so that what a
    // large folder needs is up to the visitor. That runs on executor(), must not wait, and may throw: the walk ends.
    [[nodiscard]] async::Task<std::vector<FileStateRow>> rows(std::string rootPath);
    async::Task<> forEachRow(std::string rootPath, RowVisitor visitor);

    // Stores the row, in place of one with the same path.
    async::Task<> upsert(FileStateRow row);

    // Removes the row of a file; one that is not there is no failure.
    async::Task<> deleteRow(std::string path);

    // The value of a preference; absent where neither this nor the older database has it. One that only the older
    // database has is stored here first, so that later changes there have no effect; where that fails it throws.
    [[nodiscard]] async::Task<std::optional<std::string>> preference(std::string key);
    // The value that this database itself holds; absent where it holds none. Where it can't be read this throws, unlike
    // the other reads of one value: for what must not be taken for absent.
    [[nodiscard]] async::Task<std::optional<std::string>> ownPreference(std::string key);
    async::Task<> setPreference(std::string value, std::string key);

private:
    struct CloseConnection {
        void operator()(sqlite3* connection) const noexcept;
    };
    struct FinalizeStatement {
        void operator()(sqlite3_stmt* statement) const noexcept;
    };
    using Connection = std::unique_ptr<sqlite3, CloseConnection>;
    using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

    [[nodiscard]] static Connection openDatabase(const std::string& at);
    static void migrate(sqlite3* connection);

    [[nodiscard]] Statement prepare(const char* sql) const;
    void step(sqlite3_stmt* statement, const char* sql) const;
    static void bind(const std::string& text, int index, sqlite3_stmt* statement);
    [[nodiscard]] std::string currentErrorMessage() const;

    void visitRows(const std::string& rootPath, const RowVisitor& visitor) const;
    void storePreference(const std::string& value, const std::string& key) const;
    [[nodiscard]] std::optional<std::string> legacyPreference(const std::string& key) const;

    async::SerialExecutor serial_;
    std::string databaseURL_;
    std::optional<std::string> legacyDatabaseURL_;
    Connection database_;
};

static_assert(async::Actor<LocalDatabase>);

} // namespace veskline
