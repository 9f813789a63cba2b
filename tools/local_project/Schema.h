#pragma once

#include "local_project/Database.h"
#include "local_project/Exchange.h"

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace local_project {

enum class ColumnType { uuid, text, integer, bigint, boolean, json, timestamp };

struct Column {
    std::string name;
    ColumnType type;
    std::string definition; // its SQL behind the type
};

struct Table {
    std::string name;
    std::vector<Column> columns;
    std::vector<std::vector<std::string>> uniqueKeys;
    std::vector<std::string> checks;     // the SQL of each table constraint
    std::vector<std::string> insertable; // the columns that a user may set in a new row
    std::vector<std::string> updatable;  // the columns that a user may change

    // Throws RequestError where there is no such column.
    [[nodiscard]] const Column& column(std::string_view wanted) const;
};

// A request that the tables refuse, with the answer that says so.
struct RequestError {
    Response response;
};

// A refusal in the form of the table service: `code`, `message`, and `details` and `hint`, which are always null here.
[[nodiscard]] Response tableRefusal(int status, const std::string& code, const std::string& message);

// `files` and `jobs`, with the constraints and column grants of docs/hosted-project.sql.
[[nodiscard]] const std::vector<Table>& hostedTables();

// Creates the tables that are missing. They refer to `users`, which must exist by the first insert.
void createTables(Database& database);

// A JSON value as it is stored in a column, and the text of a filter likewise. Throw RequestError for a value of
// another type: an integer is no text, a fraction no integer, only the form of a UUID is one, and a text has no zero
// byte.
[[nodiscard]] Value storedValue(const Column& column, const nlohmann::json& value);
[[nodiscard]] Value comparedValue(const Column& column, const std::string& text);

// What is stored in a column, as the JSON that is sent.
[[nodiscard]] nlohmann::json sentValue(const Column& column, const Value& value);

} // namespace local_project
