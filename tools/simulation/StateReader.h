#pragma once

#include "simulation/Ledger.h"

#include <sqlite3.h>

#include <memory>
#include <optional>
#include <string>

namespace veskline::simulation {

// Another program's connection to the state database: it reads what is stored there, and holds it locked for a while.
class StateReader {
public:
    explicit StateReader(const std::string& path);

    // All rows, where there was a change since the last call and nothing is locked.
    [[nodiscard]] std::optional<Ledger::Rows> changedRows();
    void lock();
    void unlock();
    // SQLite's own word on the file: "ok".
    [[nodiscard]] std::string integrity();

private:
    struct Close {
        void operator()(sqlite3* database) const noexcept { sqlite3_close(database); }
        void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
    };
    using Statement = std::unique_ptr<sqlite3_stmt, Close>;
    [[nodiscard]] Statement prepare(const char* sql);
    void run(const char* sql);

    std::unique_ptr<sqlite3, Close> database_;
    Statement version_;
    Statement rows_;
    std::int64_t lastVersion_ = -1;
    bool isLocked_ = false;
};

} // namespace veskline::simulation
