#pragma once

#include "local_project/Database.h"
#include "local_project/Exchange.h"

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace local_project {

enum class ColumnType { uuid, text, bigint, boolean, json, timestamp };

struct Column {
    std::string name;
    ColumnType type;
    std::string definition; // its SQL behind the type
};

struct Table {
    std::string name;
    std::vector<Column> columns;
    std::vector<std::vector<std::string>> uniqueKeys;

    // Throws RequestError where there is no such column.
    [[nodiscard]] const Column& column(std::string_view wanted) const;
};

// A request that the tables refuse, with the answer that says so.
struct RequestError {
    Response response;
};

// `files` and `jobs`.
[[nodiscard]] const std::vector<Table>& hostedTables();

// Makes the tables that are missing.
void createTables(Database& database);

// A JSON value as it is stored in a column, and the text of a filter likewise. Throw RequestError for a value of
// another type: an integer is no text, a fraction no integer, and only the form of a UUID is one.
[[nodiscard]] Value storedValue(const Column& column, const nlohmann::json& value);
[[nodiscard]] Value comparedValue(const Column& column, const std::string& text);

// What is stored in a column, as the JSON that is sent.
[[nodiscard]] nlohmann::json sentValue(const Column& column, const Value& value);

} // namespace local_project
