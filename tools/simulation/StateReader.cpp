#include "simulation/StateReader.h"

#include <stdexcept>
#include <utility>

namespace veskline::simulation {

namespace {

std::string text(sqlite3_stmt* statement, int column) {
    const unsigned char* const found = sqlite3_column_text(statement, column);
    return found == nullptr ? "" : reinterpret_cast<const char*>(found);
}

} // namespace

StateReader::StateReader(const std::string& path) {
    sqlite3* opened = nullptr;
    const int result = sqlite3_open(path.c_str(), &opened);
    database_.reset(opened);
    if (result != SQLITE_OK) {
        throw std::runtime_error("The simulation could not open " + path);
    }
    version_ = prepare("pragma data_version");
    rows_ = prepare("select path, root_path, logical_path, storage_key, sha256, bytes, mtime_ms from files");
}

std::optional<Ledger::Rows> StateReader::changedRows() {
    if (isLocked_) {
        return std::nullopt;
    }
    sqlite3_step(version_.get());
    const std::int64_t version = sqlite3_column_int64(version_.get(), 0);
    sqlite3_reset(version_.get());
    if (std::exchange(lastVersion_, version) == version) {
        return std::nullopt;
    }
    Ledger::Rows rows;
    sqlite3_stmt* const from = rows_.get();
    while (sqlite3_step(from) == SQLITE_ROW) {
        rows.emplace(text(from, 0), FileStateRow{.path = text(from, 0),
                                                 .rootPath = text(from, 1),
                                                 .logicalPath = text(from, 2),
                                                 .storageKey = text(from, 3),
                                                 .sha256 = text(from, 4),
                                                 .bytes = sqlite3_column_int64(from, 5),
                                                 .mtimeMilliseconds = sqlite3_column_double(from, 6)});
    }
    sqlite3_reset(from);
    return rows;
}

void StateReader::lock() {
    if (!std::exchange(isLocked_, true)) {
        run("begin exclusive");
    }
}

void StateReader::unlock() {
    if (std::exchange(isLocked_, false)) {
        run("rollback");
    }
}

std::string StateReader::integrity() {
    const Statement check = prepare("pragma integrity_check");
    sqlite3_step(check.get());
    return text(check.get(), 0);
}

StateReader::Statement StateReader::prepare(const char* sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database_.get(), sql, -1, &statement, nullptr) != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errmsg(database_.get()));
    }
    return Statement(statement);
}

void StateReader::run(const char* sql) {
    if (sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errmsg(database_.get()));
    }
}

} // namespace veskline::simulation
