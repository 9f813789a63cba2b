#include "hosted/SupabaseDate.h"
#include "hosted/SupabaseHTTPClientRequests.h"
#include "platform/async/TaskGroup.h"

#include <charconv>
#include <system_error>

namespace veskline {

namespace {

// Any value at all, so that a list of these is as long as any list.
struct EmptyRow {};

std::optional<Time> optionalDate(const platform::JsonObject& object, std::string_view key) {
    return object.optional<std::string>(key).transform(decodeSupabaseDate);
}

namespace oldest {

struct TimestampRow {
    std::optional<Time> createdAt;
};

TimestampRow readRecord(std::type_identity<TimestampRow>, const platform::JsonObject& object) {
    return {.createdAt = optionalDate(object, "created_at")};
}

} // namespace oldest

namespace last {

struct TimestampRow {
    std::optional<Time> ingestedAt;
};

TimestampRow readRecord(std::type_identity<TimestampRow>, const platform::JsonObject& object) {
    return {.ingestedAt = optionalDate(object, "ingested_at")};
}

} // namespace last

// The total in a Content-Range such as `0-0/57` or `*/0` (RFC 9110, 14.4): what follows the last slash that anything
// follows. Absent where that is no whole number, as in `0-0/*`.
std::optional<std::int64_t> totalOf(std::string_view contentRange) {
    const std::size_t end = contentRange.find_last_not_of('/') + 1;
    std::string_view piece = contentRange.substr(0, end);
    piece.remove_prefix(piece.find_last_of('/') + 1);
    std::int64_t total = 0;
    const auto [rest, error] = std::from_chars(piece.data(), piece.data() + piece.size(), total);
    const bool isWhole = error == std::errc() && rest == piece.data() + piece.size();
    return isWhole ? std::optional(total) : std::nullopt;
}

} // namespace

} // namespace veskline

template <>
struct platform::JsonReader<veskline::EmptyRow> {
    static veskline::EmptyRow read(const Json&, const JsonPlace&) { return {}; }
};

namespace veskline {

async::Task<IngestStatusSnapshot> SupabaseHTTPClient::fetchIngestStatus() const {
    const auto countJobs = [this](const char* status) {
        return countRows("/rest/v1/jobs", QueryItems{{"status", std::string("eq.") + status}});
    };
    auto reads = async::allInOrder(countJobs("queued"), countJobs("running"), countJobs("error"), fetchOldestQueuedAt(),
                                   fetchLastIngestedAt());
    const auto [queued, running, errors, oldestQueuedAt, lastIngestedAt] = co_await std::move(reads);
    co_return IngestStatusSnapshot{queued, running, errors, oldestQueuedAt, lastIngestedAt};
}

async::Task<std::int64_t> SupabaseHTTPClient::countRows(std::string path, QueryItems queryItems) const {
    return runWithRefreshedSession(
        [this, path, queryItems](StoredSession session) { return count(std::move(session), path, queryItems); });
}

// Asks for one row at most: the number comes in a header. A service that tells no total is taken by the rows it sends.
async::Task<std::int64_t> SupabaseHTTPClient::count(StoredSession session, std::string path,
                                                    QueryItems queryItems) const {
    const Headers extraHeaders{{"Prefer", "count=exact"}, {"Range-Unit", "items"}, {"Range", "0-0"}};
    platform::HttpRequest request = makeRequest(path, "GET", session.accessToken, queryItems, extraHeaders);
    const platform::HttpResponse response = co_await send(std::move(request));
    if (const auto total = response.header("Content-Range").and_then(totalOf)) {
        co_return *total;
    }
    co_return static_cast<std::int64_t>(decode<std::vector<EmptyRow>>(response.body).size());
}

async::Task<std::optional<Time>> SupabaseHTTPClient::fetchOldestQueuedAt() const {
    QueryItems queryItems{
        {"select", "created_at"}, {"status", "eq.queued"}, {"order", "created_at.asc"}, {"limit", "1"}};
    const auto rows =
        co_await getWithSession<std::vector<oldest::TimestampRow>>("/rest/v1/jobs", std::move(queryItems));
    co_return rows.empty() ? std::nullopt : rows.front().createdAt;
}

async::Task<std::optional<Time>> SupabaseHTTPClient::fetchLastIngestedAt() const {
    QueryItems queryItems{
        {"select", "ingested_at"}, {"ingested_at", "not.is.null"}, {"order", "ingested_at.desc"}, {"limit", "1"}};
    const auto rows = co_await getWithSession<std::vector<last::TimestampRow>>("/rest/v1/files", std::move(queryItems));
    co_return rows.empty() ? std::nullopt : rows.front().ingestedAt;
}

} // namespace veskline
