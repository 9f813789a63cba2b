#include "local_project/Tables.h"

#include "local_project/Secrets.h"

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <ranges>
#include <regex>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace local_project {

using nlohmann::json;

namespace {

constexpr std::string_view pathPrefix = "/rest/v1/";

struct Window {
    std::int64_t offset = 0;
    std::int64_t limit = std::numeric_limits<std::int64_t>::max();
};

const Table& tableOf(const std::string& path) {
    const auto& tables = hostedTables();
    const auto found = std::ranges::find(tables, path.substr(pathPrefix.size()), &Table::name);
    if (found == tables.end()) {
        throw RequestError{tableRefusal(404, "42P01", fmt::format("there is no table for {}", path))};
    }
    return *found;
}

std::string namesOf(const std::vector<const Column*>& columns) {
    std::vector<std::string> names;
    std::ranges::transform(columns, std::back_inserter(names), &Column::name);
    return fmt::format("{}", fmt::join(names, ", "));
}

json rowJson(const std::vector<const Column*>& columns, const Record& record) {
    json row = json::object();
    for (std::size_t at = 0; at < columns.size(); ++at) {
        row[columns[at]->name] = sentValue(*columns[at], record[at]);
    }
    return row;
}

json rowsJson(const std::vector<const Column*>& columns, const std::vector<Record>& records) {
    json rows = json::array();
    for (const Record& record : records) {
        rows.push_back(rowJson(columns, record));
    }
    return rows;
}

// The rows that `limit`, `offset` and a "Range: first-last" header leave together.
Window windowOf(const Query& query, const RequestHead& head) {
    Window window{.offset = query.offset(), .limit = query.limit().value_or(Window{}.limit)};
    static const std::regex form(R"((\d{1,15})-(\d{0,15}))");
    const std::string range = head.header("range");
    std::smatch parts;
    if (std::regex_match(range, parts, form)) {
        const auto first = std::stoll(parts[1]);
        window.offset += first;
        if (parts[2].length() > 0) {
            window.limit = std::min<std::int64_t>(window.limit, std::max(std::stoll(parts[2]) - first + 1, 0LL));
        }
    }
    return window;
}

std::string contentRange(const Window& window, std::size_t rows, std::optional<std::int64_t> total) {
    const std::string last = total ? std::to_string(*total) : "*";
    return rows == 0
               ? "*/" + last
               : fmt::format("{}-{}/{}", window.offset, window.offset + static_cast<std::int64_t>(rows) - 1, last);
}

json bodyOf(const Request& request) {
    json body = json::parse(request.text, nullptr, false);
    if (!body.is_object() && !body.is_array()) {
        throw RequestError{tableRefusal(400, "bad_json", "the body is no JSON object or array")};
    }
    return body;
}

RequestError lacksPermission(const Table& table) {
    return {tableRefusal(403, "42501", fmt::format("permission denied for table {}", table.name))};
}

RequestError violatesPolicy(const Table& table) {
    return {tableRefusal(403, "42501",
                         fmt::format("new row violates row-level security policy for table \"{}\"", table.name))};
}

void requireGranted(const Table& table, const json& row, const std::vector<std::string>& granted) {
    for (const auto& item : row.items()) {
        if (std::ranges::find(granted, table.column(item.key()).name) == granted.end()) {
            throw lacksPermission(table);
        }
    }
}

Values storedValues(const Table& table, const json& row) {
    Values values;
    for (const auto& item : row.items()) {
        values.emplace(item.key(), storedValue(table.column(item.key()), item.value()));
    }
    return values;
}

std::vector<Value> argumentsOf(const Values& values) {
    return {std::views::values(values).begin(), std::views::values(values).end()};
}

// Turns an insert into an update of the row in conflict, in the columns that were sent. That row is the user's own:
// the key holds the user, or it is the id, which a user cannot choose.
std::string mergeClause(const Query& query, const json& row) {
    std::vector<std::string> updates = {"updated_at = excluded.updated_at"};
    for (const auto& item : row.items()) {
        updates.push_back(fmt::format("{0} = excluded.{0}", item.key()));
    }
    const auto key = query.conflictKey().empty() ? std::vector<std::string>{"id"} : query.conflictKey();
    return fmt::format(" ON CONFLICT({}) DO UPDATE SET {}", fmt::join(key, ", "), fmt::join(updates, ", "));
}

// One row as itself, where that was asked for.
Response inAskedForm(const Request& request, Response response) {
    constexpr const char* oneObject = "application/vnd.pgrst.object+json";
    if (response.body.empty() || request.head.header("accept").find(oneObject) == std::string::npos) {
        return response;
    }
    const json rows = json::parse(response.body);
    if (rows.size() != 1) {
        throw RequestError{tableRefusal(406, "PGRST116", fmt::format("the result contains {} rows", rows.size()))};
    }
    response.body = textOf(rows[0]);
    response.contentType = oneObject;
    return response;
}

// What SQLite names last in its words: a constraint, or columns as "table.column".
std::string subjectOf(const DatabaseError& error) {
    const std::string words = error.what();
    return words.substr(words.rfind(": ") + 2);
}

Response constraintRefusal(const std::string& table, const DatabaseError& error) {
    const std::string subject = subjectOf(error);
    switch (error.constraint()) {
    case Constraint::unique:
        return tableRefusal(409, "23505", fmt::format("duplicate key value violates unique constraint on {}", subject));
    case Constraint::foreignKey:
        return tableRefusal(409, "23503", error.what());
    case Constraint::notNull:
        return tableRefusal(400, "23502",
                            fmt::format("null value in column \"{}\" of relation \"{}\" violates not-null constraint",
                                        subject.substr(subject.find('.') + 1), table));
    case Constraint::check:
        return tableRefusal(
            400, "23514", fmt::format("new row for relation \"{}\" violates check constraint \"{}\"", table, subject));
    case Constraint::none:
        break;
    }
    return tableRefusal(500, "XX000", error.what());
}

} // namespace

Tables::Tables(Database& database, Clock clock, std::function<void()> jobsChanged)
    : database_(database), clock_(std::move(clock)), jobsChanged_(std::move(jobsChanged)) {
    createTables(database_);
}

Tables::Preferences Tables::preferencesOf(const Request& request) {
    const std::string prefer = request.head.header("prefer");
    const auto asksFor = [&](std::string_view preference) { return prefer.find(preference) != std::string::npos; };
    return {.countsExactly = asksFor("count=exact"),
            .returnsRows = asksFor("return=representation"),
            .mergesDuplicates = asksFor("resolution=merge-duplicates")};
}

Response Tables::answer(const Request& request, const User& user) {
    try {
        const Table& table = tableOf(request.path);
        if (request.head.method == "DELETE") {
            throw lacksPermission(table);
        }
        if (request.head.method == "GET" || request.head.method == "HEAD") {
            return inAskedForm(request, read(table, request, user));
        }
        if (request.head.method != "POST" && request.head.method != "PATCH") {
            return tableRefusal(405, "bad_method", "rows are read by GET, added by POST and changed by PATCH");
        }
        Response response = database_.inTransaction([&] {
            return inAskedForm(request, request.head.method == "POST" ? insert(table, request, user)
                                                                      : update(table, request, user));
        });
        if (table.name == "jobs") {
            jobsChanged_();
        }
        return response;
    } catch (const RequestError& error) {
        return error.response;
    } catch (const DatabaseError& error) {
        return constraintRefusal(request.path.substr(pathPrefix.size()), error);
    }
}

Response Tables::read(const Table& table, const Request& request, const User& user) {
    const Query query(table, request.head.query());
    const Window window = windowOf(query, request.head);
    std::vector<Value> arguments;
    const std::string from = fmt::format(" FROM {}{}", table.name, query.where(user.id, arguments));
    std::optional<std::int64_t> total;
    if (preferencesOf(request).countsExactly) {
        total = integerOf(database_.run("SELECT count(*)" + from, arguments).front()[0]);
    }
    arguments.emplace_back(window.limit);
    arguments.emplace_back(window.offset);
    const auto records = database_.run(
        fmt::format("SELECT {}{}{} LIMIT ? OFFSET ?", namesOf(query.selected()), from, query.order()), arguments);
    if (total && window.offset > 0 && window.offset >= *total) {
        return tableRefusal(416, "bad_range",
                            fmt::format("an offset of {} was requested, but there are {} rows", window.offset, *total));
    }
    Response response = jsonResponse(200, rowsJson(query.selected(), records));
    response.headers.emplace_back("Content-Range", contentRange(window, records.size(), total));
    if (total && static_cast<std::int64_t>(records.size()) < *total) {
        response.status = 206;
    }
    return response;
}

Response Tables::insert(const Table& table, const Request& request, const User& user) {
    const Query query(table, request.head.query());
    const Preferences preferences = preferencesOf(request);
    json body = bodyOf(request);
    const json rows = body.is_array() ? std::move(body) : json::array({std::move(body)});
    std::vector<Record> records;
    bool areAllMerged = preferences.mergesDuplicates;
    for (const json& row : rows) {
        Written written = writeRow(table, query, row, preferences, user);
        areAllMerged = areAllMerged && !written.isNew;
        records.push_back(std::move(written.record));
    }
    const int status = areAllMerged ? 200 : 201;
    return preferences.returnsRows ? jsonResponse(status, rowsJson(query.selected(), records))
                                   : Response{.status = status};
}

Tables::Written Tables::writeRow(const Table& table, const Query& query, const json& row,
                                 const Preferences& preferences, const User& user) {
    if (!row.is_object()) {
        throw RequestError{tableRefusal(400, "bad_json", "a row is a JSON object")};
    }
    requireGranted(table, row, table.insertable);
    if (preferences.mergesDuplicates) {
        requireGranted(table, row, table.updatable);
    }
    Values values = storedValues(table, row);
    requirePermitted(table, values, user);
    const std::string now = timestampOf(clock_());
    const Value id = randomUuid();
    values.insert({{"id", id}, {"created_at", now}, {"updated_at", now}});
    const std::string merge = preferences.mergesDuplicates ? mergeClause(query, row) : "";
    const std::string sql = fmt::format(
        "INSERT INTO {}({}) VALUES({}){} RETURNING {}, id", table.name, fmt::join(std::views::keys(values), ", "),
        fmt::join(std::vector<std::string>(values.size(), "?"), ", "), merge, namesOf(query.selected()));
    Record record = database_.run(sql, argumentsOf(values)).front();
    const bool isNew = record.back() == id; // a row that was merged keeps its own
    record.pop_back();
    return {.record = std::move(record), .isNew = isNew};
}

void Tables::requirePermitted(const Table& table, Values values, const User& user) {
    const auto ownsFile = [&] {
        return !database_.run("SELECT 1 FROM files WHERE id = ? AND user_id = ?", {values["file_id"], Value(user.id)})
                    .empty();
    };
    if (values["user_id"] != Value(user.id) || (table.name == "jobs" && !ownsFile())) {
        throw violatesPolicy(table);
    }
}

Response Tables::update(const Table& table, const Request& request, const User& user) {
    const Query query(table, request.head.query());
    const Preferences preferences = preferencesOf(request);
    const json changes = bodyOf(request);
    if (!changes.is_object()) {
        throw RequestError{tableRefusal(400, "bad_json", "the body is no JSON object")};
    }
    requireGranted(table, changes, table.updatable);
    Values values = storedValues(table, changes);
    if (values.contains("user_id") && values["user_id"] != Value(user.id)) {
        throw violatesPolicy(table);
    }
    values.emplace("updated_at", timestampOf(clock_()));
    std::vector<Value> arguments = argumentsOf(values);
    const std::string where = query.where(user.id, arguments);
    const auto changed =
        database_.run(fmt::format("UPDATE {} SET {} = ?{} RETURNING {}", table.name,
                                  fmt::join(std::views::keys(values), " = ?, "), where, namesOf(query.selected())),
                      arguments);
    return preferences.returnsRows ? jsonResponse(200, rowsJson(query.selected(), changed)) : Response{.status = 204};
}

json Tables::all(const std::string& table) {
    const Query query(tableOf(std::string(pathPrefix) + table), {});
    return rowsJson(query.selected(),
                    database_.run(fmt::format("SELECT {} FROM {} ORDER BY rowid", namesOf(query.selected()), table)));
}

} // namespace local_project
