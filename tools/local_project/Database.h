#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace local_project {

using Value = std::variant<std::monostate, std::int64_t, std::string>;
using Record = std::vector<Value>;

// Null reads as the empty text and as 0.
[[nodiscard]] std::string textOf(const Value& value);
[[nodiscard]] std::int64_t integerOf(const Value& value);

enum class Constraint { none, unique, foreignKey, notNull, check };

// What SQLite reported, and which constraint was violated where it was one.
class DatabaseError : public std::runtime_error {
public:
    DatabaseError(const std::string& what, Constraint constraint) : std::runtime_error(what), constraint_(constraint) {}

    [[nodiscard]] Constraint constraint() const { return constraint_; }

private:
    Constraint constraint_;
};

// The one SQLite file of the project, shared by all threads under one lock. Every statement that returned survives
// the end of the process, a kill included; only the machine's own end may lose the last ones, since nothing is forced
// to the disk (https://www.sqlite.org/pragma.html#pragma_synchronous): this is the server of tests and benchmarks.
class Database {
public:
    // Opens or creates the file. Throws DatabaseError, also for a file whose tables are those of another version of the
    // local project, which it leaves as it is.
    explicit Database(const std::filesystem::path& file);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    // Runs one statement to its end and returns its rows. Throws DatabaseError; a statement that failed changed
    // nothing.
    std::vector<Record> run(const std::string& sql, const std::vector<Value>& arguments = {});

    // Runs `body` in one transaction that no other thread sees half done; what it throws rolls everything back.
    template <typename Body>
    auto inTransaction(Body&& body) {
        Transaction transaction(*this);
        if constexpr (std::is_void_v<decltype(body())>) {
            body();
            transaction.commit();
        } else {
            auto result = body();
            transaction.commit();
            return result;
        }
    }

private:
    class Transaction {
    public:
        explicit Transaction(Database& database);
        ~Transaction();
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;
        void commit();

    private:
        Database& database_;
        std::unique_lock<std::recursive_mutex> lock_;
        bool isCommitted_ = false;
    };

    struct Close {
        void operator()(sqlite3* handle) const;
    };
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const;
    };

    void requireVersion(const std::filesystem::path& file);
    sqlite3_stmt* prepared(const std::string& sql);
    [[noreturn]] void fail(const std::string& doing) const;

    std::recursive_mutex mutex_;
    std::unique_ptr<sqlite3, Close> handle_;
    std::unordered_map<std::string, std::unique_ptr<sqlite3_stmt, Finalize>> statements_;
};

} // namespace local_project
