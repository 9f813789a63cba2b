#include "local_project/Database.h"

#include <fmt/format.h>
#include <sqlite3.h>

namespace local_project {

namespace {

// The texts of the statements are few and their shapes fixed; the bound only guards against odd requests.
constexpr std::size_t statementLimit = 256;

// Of all tables in the file. It grows with every change of one.
constexpr std::int64_t schemaVersion = 2;

Constraint constraintOf(int extendedCode) {
    switch (extendedCode) {
    case SQLITE_CONSTRAINT_UNIQUE:
    case SQLITE_CONSTRAINT_PRIMARYKEY:
        return Constraint::unique;
    case SQLITE_CONSTRAINT_FOREIGNKEY:
        return Constraint::foreignKey;
    case SQLITE_CONSTRAINT_NOTNULL:
        return Constraint::notNull;
    case SQLITE_CONSTRAINT_CHECK:
        return Constraint::check;
    default:
        return Constraint::none;
    }
}

void bind(sqlite3_stmt* statement, int position, const Value& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        sqlite3_bind_text64(statement, position, text->data(), text->size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    } else if (const auto* integer = std::get_if<std::int64_t>(&value)) {
        sqlite3_bind_int64(statement, position, *integer);
    } else {
        sqlite3_bind_null(statement, position);
    }
}

Value columnOf(sqlite3_stmt* statement, int column) {
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_NULL:
        return std::monostate{};
    case SQLITE_INTEGER:
        return static_cast<std::int64_t>(sqlite3_column_int64(statement, column));
    default: {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
        return std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
    }
    }
}

Record recordOf(sqlite3_stmt* statement) {
    Record record;
    const int count = sqlite3_column_count(statement);
    record.reserve(static_cast<std::size_t>(count));
    for (int column = 0; column < count; ++column) {
        record.push_back(columnOf(statement, column));
    }
    return record;
}

} // namespace

std::string textOf(const Value& value) {
    const auto* text = std::get_if<std::string>(&value);
    return text != nullptr ? *text : std::string();
}

std::int64_t integerOf(const Value& value) {
    const auto* integer = std::get_if<std::int64_t>(&value);
    return integer != nullptr ? *integer : 0;
}

void Database::Close::operator()(sqlite3* handle) const {
    sqlite3_close_v2(handle);
}

void Database::Finalize::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

Database::Database(const std::filesystem::path& file) {
    sqlite3* handle = nullptr;
    const int result = sqlite3_open_v2(file.c_str(), &handle,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    handle_.reset(handle);
    if (result != SQLITE_OK) {
        fail(fmt::format("cannot open {}", file.string()));
    }
    sqlite3_extended_result_codes(handle, 1);
    requireVersion(file);
    run("PRAGMA locking_mode = EXCLUSIVE"); // one process at a time anyway, and no lock to take for each statement
    run("PRAGMA journal_mode = WAL");
    run("PRAGMA synchronous = OFF");
    run("PRAGMA foreign_keys = ON");
}

void Database::requireVersion(const std::filesystem::path& file) {
    if (run("SELECT 1 FROM sqlite_master LIMIT 1").empty()) {
        run(fmt::format("PRAGMA user_version = {}", schemaVersion));
    }
    if (integerOf(run("PRAGMA user_version").front()[0]) != schemaVersion) {
        const std::string folder = file.parent_path().string();
        throw DatabaseError(fmt::format("{} was made by another version of the local project: remove it, and the state "
                                        "folder of each agent that used it, to start anew",
                                        folder),
                            Constraint::none);
    }
}

Database::~Database() = default;

void Database::fail(const std::string& doing) const {
    throw DatabaseError(fmt::format("{}: {}", doing, sqlite3_errmsg(handle_.get())),
                        constraintOf(sqlite3_extended_errcode(handle_.get())));
}

sqlite3_stmt* Database::prepared(const std::string& sql) {
    if (const auto known = statements_.find(sql); known != statements_.end()) {
        return known->second.get();
    }
    if (statements_.size() >= statementLimit) {
        statements_.clear();
    }
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v3(handle_.get(), sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) !=
        SQLITE_OK) {
        fail(fmt::format("cannot prepare \"{}\"", sql));
    }
    statements_.emplace(sql, statement);
    return statement;
}

std::vector<Record> Database::run(const std::string& sql, const std::vector<Value>& arguments) {
    const std::lock_guard lock(mutex_);
    sqlite3_stmt* statement = prepared(sql);
    int position = 0;
    for (const Value& argument : arguments) {
        bind(statement, ++position, argument);
    }
    std::vector<Record> records;
    int result = SQLITE_ROW;
    while ((result = sqlite3_step(statement)) == SQLITE_ROW) {
        records.push_back(recordOf(statement));
    }
    // sqlite3_reset repeats the step's failure, so the words are still those of the step.
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    if (result != SQLITE_DONE) {
        fail("the database refused");
    }
    return records;
}

Database::Transaction::Transaction(Database& database) : database_(database), lock_(database.mutex_) {
    database_.run("BEGIN IMMEDIATE");
}

Database::Transaction::~Transaction() {
    if (!isCommitted_ && sqlite3_get_autocommit(database_.handle_.get()) == 0) {
        sqlite3_exec(database_.handle_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

void Database::Transaction::commit() {
    database_.run("COMMIT");
    isCommitted_ = true;
}

} // namespace local_project
