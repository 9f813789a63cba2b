#include "local_project/Schema.h"

#include "local_project/Timestamp.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <iterator>
#include <optional>
#include <utility>

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
    case ColumnType::integer:
        return "integer";
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

bool isWholeNumber(ColumnType type) {
    return type == ColumnType::integer || type == ColumnType::bigint;
}

std::string_view storageOf(ColumnType type) {
    return isWholeNumber(type) || type == ColumnType::boolean ? "INTEGER" : "TEXT";
}

RequestError wrongType(const Column& column, const std::string& shown) {
    return {tableRefusal(
        400, "22P02",
        fmt::format("invalid input syntax for type {} in column \"{}\": {}", nameOf(column.type), column.name, shown))};
}

template <typename Number>
bool isInRangeOf(const json& value) {
    return value.is_number_unsigned() ? std::in_range<Number>(value.get<std::uint64_t>())
                                      : std::in_range<Number>(value.get<std::int64_t>());
}

Value wholeNumberOf(const Column& column, const json& value) {
    const bool isInRange =
        column.type == ColumnType::integer ? isInRangeOf<std::int32_t>(value) : isInRangeOf<std::int64_t>(value);
    if (!isInRange) {
        throw RequestError{tableRefusal(
            400, "22003", fmt::format("value \"{}\" is out of range for type {}", textOf(value), nameOf(column.type)))};
    }
    return value.get<std::int64_t>();
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
    return type == ColumnType::text && !text.contains('\0') ? std::optional<Value>(text) : std::nullopt;
}

std::optional<Value> fromJson(const Column& column, const json& value) {
    switch (column.type) {
    case ColumnType::integer:
    case ColumnType::bigint:
        return value.is_number_integer() ? std::optional(wholeNumberOf(column, value)) : std::nullopt;
    case ColumnType::boolean:
        return value.is_boolean() ? std::optional<Value>(std::int64_t{value.get<bool>()}) : std::nullopt;
    case ColumnType::json:
        return textOf(value);
    default:
        return value.is_string() ? fromText(column.type, value.get<std::string>()) : std::nullopt;
    }
}

} // namespace

Response tableRefusal(int status, const std::string& code, const std::string& message) {
    return jsonResponse(status, {{"code", code}, {"message", message}, {"details", nullptr}, {"hint", nullptr}});
}

const Column& Table::column(std::string_view wanted) const {
    const auto found = std::ranges::find(columns, wanted, &Column::name);
    if (found == columns.end()) {
        throw RequestError{tableRefusal(400, "42703", fmt::format("column {}.{} does not exist", name, wanted))};
    }
    return *found;
}

const std::vector<Table>& hostedTables() {
    using enum ColumnType;
    static const std::vector<std::string> ofFile = {"user_id", "storage_bucket", "storage_key", "path",        "bytes",
                                                    "mime",    "sha256",         "is_deleted",  "ingest_error"};
    static const std::vector<Table> tables = {
        {"files",
         {{"id", uuid, "PRIMARY KEY NOT NULL"},
          {"user_id", uuid, "NOT NULL REFERENCES users(id) ON DELETE CASCADE"},
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
         {{"id"}, {"user_id", "storage_bucket", "storage_key"}},
         {"CONSTRAINT files_check CHECK (instr(storage_key, 'user-' || user_id || '/') = 1)",
          "CONSTRAINT files_bytes_check CHECK (bytes >= 0)",
          "CONSTRAINT files_sha256_check CHECK (length(sha256) = 64 AND sha256 NOT GLOB '*[^0-9a-f]*')"},
         ofFile,
         ofFile},
        {"jobs",
         {{"id", uuid, "PRIMARY KEY NOT NULL"},
          {"user_id", uuid, "NOT NULL REFERENCES users(id) ON DELETE CASCADE"},
          {"file_id", uuid, "REFERENCES files(id) ON DELETE CASCADE"},
          {"kind", text, "NOT NULL"},
          {"payload", ColumnType::json, "NOT NULL DEFAULT '{}'"},
          {"status", text, "NOT NULL DEFAULT 'queued'"},
          {"attempts", integer, "NOT NULL DEFAULT 0"},
          {"error", text, ""},
          {"created_at", timestamp, "NOT NULL"},
          {"updated_at", timestamp, "NOT NULL"}},
         {{"id"}},
         {"CONSTRAINT jobs_status_check CHECK (status IN ('queued', 'running', 'done', 'error'))",
          "CONSTRAINT jobs_attempts_check CHECK (attempts >= 0)"},
         {"user_id", "file_id", "kind", "payload"},
         {"status", "attempts", "error"}},
    };
    return tables;
}

void createTables(Database& database) {
    for (const Table& table : hostedTables()) {
        std::vector<std::string> lines;
        lines.reserve(table.columns.size() + table.uniqueKeys.size() + table.checks.size());
        for (const Column& column : table.columns) {
            lines.push_back(fmt::format("{} {} {}", column.name, storageOf(column.type), column.definition));
        }
        for (const auto& key : table.uniqueKeys) {
            lines.push_back(fmt::format("UNIQUE({})", fmt::join(key, ", ")));
        }
        std::ranges::copy(table.checks, std::back_inserter(lines));
        database.run(fmt::format("CREATE TABLE IF NOT EXISTS {}({})", table.name, fmt::join(lines, ", ")));
    }
    database.run("CREATE INDEX IF NOT EXISTS jobs_by_status ON jobs(status)");
    database.run("CREATE INDEX IF NOT EXISTS jobs_by_file ON jobs(file_id)");
}

Value storedValue(const Column& column, const json& value) {
    if (value.is_null()) {
        return std::monostate{};
    }
    const auto stored = fromJson(column, value);
    if (!stored) {
        throw wrongType(column, textOf(value));
    }
    return *stored;
}

Value comparedValue(const Column& column, const std::string& text) {
    std::optional<Value> value = fromText(column.type, text);
    if (isWholeNumber(column.type)) {
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
    case ColumnType::integer:
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
