#include "local_project/Query.h"

#include <algorithm>
#include <map>
#include <ranges>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace local_project {

namespace {

RequestError badQuery(const std::string& message) {
    return {tableRefusal(400, "bad_query", message)};
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> pieces;
    for (const auto piece : std::views::split(text, separator)) {
        pieces.emplace_back(piece.begin(), piece.end());
    }
    return pieces;
}

std::string takeWord(std::string& text) {
    const auto dot = text.find('.');
    std::string word = text.substr(0, dot);
    text = dot == std::string::npos ? std::string() : text.substr(dot + 1);
    return word;
}

std::int64_t countOf(const std::string& name, const std::string& text) {
    static const Column number{.name = "count", .type = ColumnType::bigint, .definition = ""};
    const auto count = integerOf(comparedValue(number, text));
    if (count < 0) {
        throw badQuery(fmt::format("{} must not be negative", name));
    }
    return count;
}

// The pieces of "(a,b,"c,d")": a piece in double quotes may hold commas, and a backslash escapes the next byte there.
std::vector<std::string> listedValues(const std::string& text) {
    if (text.size() < 2 || text.front() != '(' || text.back() != ')') {
        throw badQuery(fmt::format("\"{}\" is no list in parentheses", text));
    }
    std::vector<std::string> values(1);
    bool isQuoted = false;
    for (std::size_t at = 1; at + 1 < text.size(); ++at) {
        if (text[at] == '"') {
            isQuoted = !isQuoted;
        } else if (text[at] == ',' && !isQuoted) {
            values.emplace_back();
        } else {
            at += text[at] == '\\' && isQuoted && at + 2 < text.size() ? 1 : 0;
            values.back() += text[at];
        }
    }
    return values;
}

// One JSON array as the argument, whatever its length: the text of the statement stays the same, and no limit on the
// number of arguments is met.
Value listArgument(const Column& column, const std::string& text) {
    nlohmann::json list = nlohmann::json::array();
    if (text != "()") {
        for (const std::string& value : listedValues(text)) {
            const Value compared = comparedValue(column, value);
            const auto* integer = std::get_if<std::int64_t>(&compared);
            list.push_back(integer != nullptr ? nlohmann::json(*integer) : nlohmann::json(textOf(compared)));
        }
    }
    return textOf(list);
}

std::string constantOf(const std::string& word) {
    static const std::map<std::string, std::string> constants = {{"null", "NULL"}, {"true", "1"}, {"false", "0"}};
    const auto found = constants.find(word);
    if (found == constants.end()) {
        throw badQuery(fmt::format("\"is.{}\" is not one of is.null, is.true and is.false", word));
    }
    return found->second;
}

} // namespace

Query::Query(const Table& table, const Fields& items) : table_(table) {
    for (const auto& [name, value] : items) {
        read(name, value);
    }
    if (selected_.empty()) {
        readSelected("*");
    }
}

void Query::read(const std::string& name, const std::string& value) {
    if (name == "select") {
        readSelected(value);
    } else if (name == "order") {
        readOrder(value);
    } else if (name == "limit") {
        limit_ = countOf(name, value);
    } else if (name == "offset") {
        offset_ = countOf(name, value);
    } else if (name == "on_conflict") {
        readConflictKey(value);
    } else {
        readFilter(table_.column(name), value);
    }
}

void Query::readSelected(const std::string& list) {
    for (const std::string& name : split(list, ',')) {
        if (name != "*") {
            selected_.push_back(&table_.column(name));
            continue;
        }
        std::ranges::transform(table_.columns, std::back_inserter(selected_), [](const Column& all) { return &all; });
    }
}

void Query::readOrder(const std::string& list) {
    for (std::string rest : split(list, ',')) {
        const Column& column = table_.column(takeWord(rest));
        bool isDescending = false;
        std::optional<bool> nullsFirst;
        while (!rest.empty()) {
            const std::string word = takeWord(rest);
            if (word == "asc" || word == "desc") {
                isDescending = word == "desc";
            } else if (word == "nullsfirst" || word == "nullslast") {
                nullsFirst = word == "nullsfirst";
            } else {
                throw badQuery(fmt::format("\"{}\" is no order", word));
            }
        }
        // Absent values count as larger than any other, unlike in SQLite.
        order_.push_back(fmt::format("{} {} NULLS {}", column.name, isDescending ? "DESC" : "ASC",
                                     nullsFirst.value_or(isDescending) ? "FIRST" : "LAST"));
    }
}

void Query::readConflictKey(const std::string& list) {
    conflictKey_ = split(list, ',');
    const auto isSameKey = [&](const std::vector<std::string>& key) {
        return std::ranges::is_permutation(key, conflictKey_);
    };
    if (std::ranges::none_of(table_.uniqueKeys, isSameKey)) {
        throw RequestError{
            tableRefusal(400, "42P10", fmt::format("no unique key of {} has the columns {}", table_.name, list))};
    }
}

void Query::readFilter(const Column& column, std::string text) {
    static const std::map<std::string, std::string> comparisons = {{"eq", "="},   {"neq", "<>"}, {"lt", "<"},
                                                                   {"lte", "<="}, {"gt", ">"},   {"gte", ">="}};
    std::string word = takeWord(text);
    const bool isNegated = word == "not";
    if (isNegated) {
        word = takeWord(text);
    }
    Condition condition;
    if (const auto comparison = comparisons.find(word); comparison != comparisons.end()) {
        condition = {fmt::format("{} {} ?", column.name, comparison->second), comparedValue(column, text)};
    } else if (word == "in") {
        condition = {fmt::format("{} IN (SELECT value FROM json_each(?))", column.name), listArgument(column, text)};
    } else if (word == "is") {
        condition = {fmt::format("{} IS {}", column.name, constantOf(text)), std::nullopt};
    } else {
        throw badQuery(fmt::format("\"{}\" is no operator", word));
    }
    condition.sql = isNegated ? fmt::format("NOT ({})", condition.sql) : condition.sql;
    conditions_.push_back(std::move(condition));
}

std::string Query::where(const std::string& userId, std::vector<Value>& arguments) const {
    std::string sql = " WHERE user_id = ?";
    arguments.emplace_back(userId);
    for (const Condition& condition : conditions_) {
        sql += " AND " + condition.sql;
        if (condition.argument) {
            arguments.push_back(*condition.argument);
        }
    }
    return sql;
}

std::string Query::order() const {
    return order_.empty() ? " ORDER BY rowid" : fmt::format(" ORDER BY {}, rowid", fmt::join(order_, ", "));
}

} // namespace local_project
