#include "local_project/Schema.h"

#include "local_project/Timestamp.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace local_project {

using nlohmann::json;

namespace {

std::string_view nameOf(ColumnType type) {
    switch (type) {
    case ColumnType::uuid:
        return "uuid";
    case ColumnType::text:
        return "text";
    case ColumnType::bigint:
        return "bigint";
    case ColumnType::boolean:
        return "boolean";
    case ColumnType::json:
        return "json";
    case ColumnType::timestamp:
        return "timestamp with time zone";
    }
    return "";
}

std::string_view storageOf(ColumnType type) {
    return type == ColumnType::bigint || type == ColumnType::boolean ? "INTEGER" : "TEXT";
}

RequestError wrongType(const Column& column, const std::string& shown) {
    return {refusal(
        400, "22P02",
        fmt::format("invalid input syntax for type {} in column \"{}\": {}", nameOf(column.type), column.name, shown))};
}

std::optional<std::string> uuidOf(std::string text) {
    constexpr std::size_t length = 36;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool isDash = at == 8 || at == 13 || at == 18 || at == 23;
        const auto byte = static_cast<unsigned char>(text[at]);
        if (isDash ? byte != '-' : isxdigit(byte) == 0) {
            return std::nullopt;
        }
        text[at] = static_cast<char>(tolower(byte));
    }
    return text.size() == length ? std::optional(text) : std::nullopt;
}

std::optional<std::int64_t> integerIn(const std::string& text) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

std::optional<Value> fromText(ColumnType type, const std::string& text) {
    if (type == ColumnType::uuid) {
        return uuidOf(text);
    }
    if (type == ColumnType::timestamp) {
        return normalisedTimestamp(text);
    }
    return type == ColumnType::text ? std::optional<Value>(text) : std::nullopt;
}

std::optional<Value> fromJson(ColumnType type, const json& value) {
    switch (type) {
    case ColumnType::bigint:
        return value.is_number_integer() ? std::optional<Value>(value.get<std::int64_t>()) : std::nullopt;
    case ColumnType::boolean:
        return value.is_boolean() ? std::optional<Value>(std::int64_t{value.get<bool>()}) : std::nullopt;
    case ColumnType::json:
        return textOf(value);
    default:
        return value.is_string() ? fromText(type, value.get<std::string>()) : std::nullopt;
    }
}

} // namespace

const Column& Table::column(std::string_view wanted) const {
    const auto found = std::ranges::find(columns, wanted, &Column::name);
    if (found == columns.end()) {
        throw RequestError{refusal(400, "42703", fmt::format("column {}.{} does not exist", name, wanted))};
    }
    return *found;
}

const std::vector<Table>& hostedTables() {
    using enum ColumnType;
    static const std::vector<Table> tables = {
        {"files",
         {{"id", uuid, "PRIMARY KEY NOT NULL"},
          {"user_id", uuid, "NOT NULL"},
          {"storage_bucket", text, "NOT NULL"},
          {"storage_key", text, "NOT NULL"},
          {"sha256", text, ""},
          {"ingested_sha256", text, ""},
          {"is_deleted", boolean, "NOT NULL DEFAULT 0"},
          {"path", text, "NOT NULL"},
          {"bytes", bigint, ""},
          {"mime", text, ""},
          {"ingest_error", text, ""},
          {"ingested_at", timestamp, ""},
          {"created_at", timestamp, "NOT NULL"},
          {"updated_at", timestamp, "NOT NULL"}},
         {{"id"}, {"user_id", "storage_bucket", "storage_key"}}},
        {"jobs",
         {{"id", uuid, "PRIMARY KEY NOT NULL"},
          {"user_id", uuid, "NOT NULL"},
          {"file_id", uuid, "REFERENCES files(id)"},
          {"kind", text, "NOT NULL"},
          {"payload", ColumnType::json, "NOT NULL DEFAULT '{}'"},
          {"status", text, "NOT NULL DEFAULT 'queued'"},
          {"attempts", bigint, "NOT NULL DEFAULT 0"},
          {"error", text, ""},
          {"created_at", timestamp, "NOT NULL"},
          {"updated_at", timestamp, "NOT NULL"}},
         {{"id"}}},
    };
    return tables;
}

void createTables(Database& database) {
    for (const Table& table : hostedTables()) {
        std::vector<std::string> lines;
        lines.reserve(table.columns.size() + table.uniqueKeys.size());
        for (const Column& column : table.columns) {
            lines.push_back(fmt::format("{} {} {}", column.name, storageOf(column.type), column.definition));
        }
        for (const auto& key : table.uniqueKeys) {
            lines.push_back(fmt::format("UNIQUE({})", fmt::join(key, ", ")));
        }
        database.run(fmt::format("CREATE TABLE IF NOT EXISTS {}({})", table.name, fmt::join(lines, ", ")));
    }
    database.run("CREATE INDEX IF NOT EXISTS jobs_by_status ON jobs(status)");
    database.run("CREATE INDEX IF NOT EXISTS jobs_by_file ON jobs(file_id)");
}

Value storedValue(const Column& column, const json& value) {
    if (value.is_null()) {
        return std::monostate{};
    }
    const auto stored = fromJson(column.type, value);
    if (!stored) {
        throw wrongType(column, textOf(value));
    }
    return *stored;
}

Value comparedValue(const Column& column, const std::string& text) {
    std::optional<Value> value = fromText(column.type, text);
    if (column.type == ColumnType::bigint) {
        value = integerIn(text);
    } else if (column.type == ColumnType::boolean && (text == "true" || text == "false")) {
        value = std::int64_t{text == "true"};
    }
    if (!value) {
        throw wrongType(column, text);
    }
    return *value;
}

json sentValue(const Column& column, const Value& value) {
    if (std::holds_alternative<std::monostate>(value)) {
        return nullptr;
    }
    switch (column.type) {
    case ColumnType::bigint:
        return integerOf(value);
    case ColumnType::boolean:
        return integerOf(value) != 0;
    case ColumnType::json:
        return json::parse(textOf(value), nullptr, false);
    default:
        return textOf(value);
    }
}

} // namespace local_project
