#include "hosted/SupabaseHTTPClientRequests.h"

namespace veskline {

async::Task<> SupabaseHTTPClient::uploadFile(std::string localURL, std::string storageKey, std::string mimeType) const {
    return runWithRefreshedSession([this, localURL, storageKey, mimeType](StoredSession session) {
        return upload(std::move(session), localURL, storageKey, mimeType);
    });
}

async::Task<> SupabaseHTTPClient::upload(StoredSession session, std::string localURL, std::string storageKey,
                                         std::string mimeType) const {
    const std::string path = "/storage/v1/object/" + config_.filesBucket + "/" + storageKey;
    const Headers extraHeaders{{"content-type", mimeType}, {"cache-control", "max-age=3600"}, {"x-upsert", "true"}};
    platform::HttpRequest request = makeRequest(path, "POST", session.accessToken, {}, extraHeaders);
    request.body = platform::FileBody{localURL};
    co_await send(std::move(request));
}

async::Task<RemoteFileRecord> SupabaseHTTPClient::upsertRemoteFile(std::string logicalPath, std::string storageKey,
                                                                   std::int64_t bytes, std::string mimeType,
                                                                   std::string sha256) const {
    JSONValue::Object row{{"path", logicalPath},       {"storage_bucket", config_.filesBucket},
                          {"storage_key", storageKey}, {"bytes", bytes},
                          {"mime", mimeType},          {"sha256", sha256},
                          {"is_deleted", false},       {"ingest_error", nullptr}};
    return runWithRefreshedSession(
        [this, row = std::move(row)](StoredSession session) { return upsertFileRow(std::move(session), row); });
}

// The owner is whom the service names, not whom the stored session does.
async::Task<RemoteFileRecord> SupabaseHTTPClient::upsertFileRow(StoredSession session, JSONValue::Object row) const {
    const StoredUser user = co_await fetchCurrentUser(session);
    row.emplace("user_id", user.id);
    const QueryItems queryItems{{"on_conflict", "user_id,storage_bucket,storage_key"}, {"select", fileColumns}};
    const Headers extraHeaders{{"Prefer", "resolution=merge-duplicates,return=representation"}};
    platform::HttpRequest request =
        makeRequest("/rest/v1/files", "POST", session.accessToken, row, queryItems, extraHeaders);
    const platform::HttpResponse response = co_await send(std::move(request));
    const auto records = decode<std::vector<RemoteFileRecord>>(response.body);
    if (records.empty()) {
        throw SupabaseHTTPError::invalidResponse();
    }
    co_return records.front();
}

async::Task<std::optional<RemoteFileRecord>> SupabaseHTTPClient::fetchRemoteFile(std::string storageKey) const {
    QueryItems queryItems{{"select", fileColumns}, {"storage_key", "eq." + storageKey}, {"limit", "1"}};
    const auto records =
        co_await getWithSession<std::vector<RemoteFileRecord>>("/rest/v1/files", std::move(queryItems));
    co_return records.empty() ? std::nullopt : std::optional(records.front());
}

async::Task<> SupabaseHTTPClient::markFileDeleted(std::string fileID) const {
    const QueryItems queryItems{{"id", "eq." + fileID}};
    const JSONValue::Object body{{"is_deleted", true}};
    return runWithRefreshedSession([this, queryItems, body](StoredSession session) {
        return patch(std::move(session), "/rest/v1/files", queryItems, body, Headers());
    });
}

async::Task<> SupabaseHTTPClient::insertJob(std::string fileID, std::string kind) const {
    JSONValue::Object row{{"file_id", fileID}, {"kind", kind}, {"payload", JSONValue::Object()}};
    return runWithRefreshedSession(
        [this, row = std::move(row)](StoredSession session) { return insertJobRow(std::move(session), row); });
}

async::Task<> SupabaseHTTPClient::insertJobRow(StoredSession session, JSONValue::Object row) const {
    const StoredUser user = co_await fetchCurrentUser(session);
    row.emplace("user_id", user.id);
    platform::HttpRequest request = makeRequest("/rest/v1/jobs", "POST", session.accessToken, row);
    co_await send(std::move(request));
}

} // namespace veskline
