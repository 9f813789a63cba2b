#pragma once

#include "local_project/Accounts.h"
#include "local_project/Database.h"
#include "local_project/Query.h"

#include <functional>
#include <map>
#include <string>

#include <nlohmann/json.hpp>

namespace local_project {

// The values of a row, by column.
using Values = std::map<std::string, Value>;

// The table service: rows of `files` and `jobs` over HTTP, each user seeing and writing their own alone. May be used
// from any thread; a request is one transaction.
class Tables {
public:
    // `jobsChanged` is called after every change of `jobs`.
    Tables(Database& database, Clock clock, std::function<void()> jobsChanged);

    // Answers GET, POST and PATCH of /rest/v1/<table> on behalf of `user`, and refuses what docs/hosted-project.sql
    // refuses a signed-in user.
    [[nodiscard]] Response answer(const Request& request, const User& user);

    // Every row of a table, whoever owns it, oldest first.
    [[nodiscard]] nlohmann::json all(const std::string& table);

private:
    struct Preferences {
        bool countsExactly = false;
        bool returnsRows = false;
        bool mergesDuplicates = false;
    };
    // What became of a row that was sent.
    struct Written {
        Record record; // the selected columns
        bool isNew = true;
    };

    [[nodiscard]] static Preferences preferencesOf(const Request& request);
    [[nodiscard]] Response read(const Table& table, const Request& request, const User& user);
    [[nodiscard]] Response insert(const Table& table, const Request& request, const User& user);
    [[nodiscard]] Response update(const Table& table, const Request& request, const User& user);
    Written writeRow(const Table& table, const Query& query, const nlohmann::json& row, const Preferences& preferences,
                     const User& user);
    // The policies for a new row: it is the user's own, and a job belongs to a file of the same user. Throws
    // RequestError.
    void requirePermitted(const Table& table, Values values, const User& user);

    Database& database_;
    Clock clock_;
    std::function<void()> jobsChanged_;
};

} // namespace local_project
