#pragma once

#include "local_project/Schema.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace local_project {

// The query of a request for rows: `select`, filters (`column=operator.value`), `order`, `limit`, `offset` and
// `on_conflict`, checked against one table and turned into the pieces of an SQL statement. What a client sent reaches
// SQLite as bound arguments only; names come from the table.
class Query {
public:
    // Throws RequestError (400) for a column, an operator or a value that does not fit.
    Query(const Table& table, const Fields& items);

    // The columns asked for; all of them where none were named.
    [[nodiscard]] const std::vector<const Column*>& selected() const { return selected_; }

    // The columns of `on_conflict`, which are a unique key of the table; empty where there is none.
    [[nodiscard]] const std::vector<std::string>& conflictKey() const { return conflictKey_; }

    // " WHERE ..." for the rows of one user that pass every filter; appends its arguments.
    [[nodiscard]] std::string where(const std::string& userId, std::vector<Value>& arguments) const;

    // " ORDER BY ..."; the order of insertion decides among equals.
    [[nodiscard]] std::string order() const;

    [[nodiscard]] std::optional<std::int64_t> limit() const { return limit_; }
    [[nodiscard]] std::int64_t offset() const { return offset_; }

private:
    struct Condition {
        std::string sql;
        std::optional<Value> argument;
    };

    void read(const std::string& name, const std::string& value);
    void readSelected(const std::string& list);
    void readOrder(const std::string& list);
    void readConflictKey(const std::string& list);
    void readFilter(const Column& column, std::string text);

    const Table& table_;
    std::vector<const Column*> selected_;
    std::vector<Condition> conditions_;
    std::vector<std::string> order_;
    std::vector<std::string> conflictKey_;
    std::optional<std::int64_t> limit_;
    std::int64_t offset_ = 0;
};

} // namespace local_project
