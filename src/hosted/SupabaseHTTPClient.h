#pragma once

#include "hosted/JSONValue.h"
#include "platform/async/Task.h"
#include "platform/http/HttpTransport.h"
#include "platform/http/UrlBuilder.h"
#include "state/SessionStore.h"
#include "state/records/FailedUploadItem.h"
#include "state/records/IngestStatusSnapshot.h"
#include "state/records/PublicConfig.h"
#include "state/records/RemoteFileRecord.h"
#include "state/records/StoredSession.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace veskline {

// What the service made of a sign-up: without a session the address waits to be confirmed.
struct SignupAnswer {
    std::optional<StoredSession> session;
    std::optional<StoredUser> user;
};

// How a question about the stored session went: for its user, or for a renewal.
struct SessionAnswer {
    enum class Standing {
        accepted,
        refused,
        unknown, // the service could not be asked: nothing answered, or not with what was asked for
    };

    Standing standing = Standing::unknown;
    std::string reason; // for the user; empty where accepted
};

// The one client of the hosted project. It holds no tokens: each operation reads the session from the SessionStore,
// and a success that brings new tokens saves them there. It never removes a session.
//
// Owned by the model, shared with the coordinator. Its fields are fixed at construction, so its operations may overlap:
// they run on the pool's threads, with no lock and no order between them.
//
// Every operation may throw SupabaseHTTPError, platform::TransportError, platform::JsonError for a 2xx body that does
// not have the form of what was asked for, and async::Cancelled. Those that run with a session fail with
// "Not authenticated", sending nothing, where none is stored; on status 401 they renew the session once and do all
// their requests once more. Nothing else is tried again. Refreshes are not merged: each that meets a 401 does its own,
// and the last one to be saved stands.
class SupabaseHTTPClient {
public:
    // Called on a thread of the pool, before the operation that asked returns.
    using SessionHandler = std::function<void(SessionAnswer)>;

    SupabaseHTTPClient(PublicConfig config, SessionStore& sessionStore, platform::HttpTransport urlSession,
                       async::Executor pool, SessionHandler onSession = {});
    SupabaseHTTPClient(const SupabaseHTTPClient&) = delete;
    SupabaseHTTPClient& operator=(const SupabaseHTTPClient&) = delete;

    [[nodiscard]] async::Executor executor() const noexcept { return pool_; }

    // Authentication. Where a session cannot be saved its tokens are lost: the operation fails with the failure of
    // SessionStore::save, and the old file stands.

    // What is on disk; whether it still works nobody knows. Throws nothing.
    [[nodiscard]] async::Task<std::optional<StoredSession>> currentSession() const;
    async::Task<StoredSession> signIn(std::string email, std::string password) const;
    async::Task<SignupAnswer> signUp(std::string email, std::string password) const;
    // Asks the service who the session belongs to, renewing it once on a 401. Absent, with nothing sent, where there is
    // no session.
    [[nodiscard]] async::Task<std::optional<StoredUser>> currentUser() const;
    // Trades the session's refresh token for a new session, which keeps the old user where the service names none.
    async::Task<StoredSession> refresh(StoredSession session) const;

    // Remote files. Each is one step of its own, repeatable but for insertJob, which adds a job each time.

    // Puts the file at the path `localURL` into the bucket, over an object that is there under this key. Throws
    // platform::FileError, too.
    async::Task<> uploadFile(std::string localURL, std::string storageKey, std::string mimeType) const;
    // Inserts or updates the file's row and revives it: not deleted, no ingest error. Gives the row as it stands then.
    async::Task<RemoteFileRecord> upsertRemoteFile(std::string logicalPath, std::string storageKey, std::int64_t bytes,
                                                   std::string mimeType, std::string sha256) const;
    // Also a row that is marked deleted.
    [[nodiscard]] async::Task<std::optional<RemoteFileRecord>> fetchRemoteFile(std::string storageKey) const;
    async::Task<> markFileDeleted(std::string fileID) const;
    async::Task<> insertJob(std::string fileID, std::string kind) const;

    // Ingest status

    // How far the hosted worker has got, by five reads at once: all of it or a failure, that of the first read in the
    // order of the snapshot's fields. The others are cancelled then, and have ended when this does.
    [[nodiscard]] async::Task<IngestStatusSnapshot> fetchIngestStatus() const;

    // Failed uploads

    // The ingest jobs that failed with their files, newest first; `limit` is brought between 1 and 200. A job without a
    // file, or whose file's row is gone, has none.
    [[nodiscard]] async::Task<std::vector<FailedUploadItem>> fetchFailedUploads(std::int64_t limit = 100) const;
    // Puts every failed ingest job back in the queue, then clears the failure of their files. Gives the number of jobs.
    // Where the second step fails, the first one stands.
    async::Task<std::int64_t> retryFailedUploads() const;

private:
    using QueryItems = std::vector<platform::QueryItem>;
    using Headers = std::vector<platform::HttpHeader>;

    static constexpr const char* fileColumns =
        "id,user_id,storage_bucket,storage_key,sha256,ingested_sha256,is_deleted,path,bytes,mime,ingest_error";

    // Requests; the templates stand in SupabaseHTTPClientRequests.h.
    [[nodiscard]] platform::HttpRequest makeRequest(std::string_view path, std::string_view method,
                                                    const std::optional<std::string>& bearerToken,
                                                    const QueryItems& queryItems = {},
                                                    const Headers& extraHeaders = {}) const;
    [[nodiscard]] platform::HttpRequest makeRequest(std::string_view path, std::string_view method,
                                                    const std::optional<std::string>& bearerToken,
                                                    const JSONValue::Object& body, const QueryItems& queryItems = {},
                                                    const Headers& extraHeaders = {}) const;
    static void validate(const platform::HttpResponse& response);
    template <class T>
    [[nodiscard]] static T decode(std::string_view data);
    async::Task<platform::HttpResponse> send(platform::HttpRequest request) const; // a response that is valid
    template <class Operation>
    std::invoke_result_t<Operation&, StoredSession> runWithRefreshedSession(Operation operation) const;
    template <class Operation>
    std::invoke_result_t<Operation&, StoredSession> runRefreshingOnce(StoredSession session, Operation operation) const;
    template <class T>
    async::Task<T> getWithSession(std::string path, QueryItems queryItems) const;
    template <class T>
    async::Task<T> get(StoredSession session, std::string path, QueryItems queryItems) const;
    async::Task<> patchWithoutResponse(std::string path, QueryItems queryItems, JSONValue::Object body) const;
    async::Task<> patch(StoredSession session, std::string path, QueryItems queryItems, JSONValue::Object body,
                        Headers extraHeaders) const;

    // Authentication
    template <class T>
    async::Task<T> authRequest(std::string path, QueryItems queryItems, JSONValue::Object body) const;
    async::Task<StoredUser> fetchCurrentUser(StoredSession session) const;
    template <class T>
    async::Task<T> reportingSession(async::Task<T> question) const;

    // Remote files
    async::Task<> upload(StoredSession session, std::string localURL, std::string storageKey,
                         std::string mimeType) const;
    async::Task<RemoteFileRecord> upsertFileRow(StoredSession session, JSONValue::Object row) const;
    async::Task<> insertJobRow(StoredSession session, JSONValue::Object row) const;

    // Ingest status
    async::Task<std::int64_t> countRows(std::string path, QueryItems queryItems) const;
    async::Task<std::int64_t> count(StoredSession session, std::string path, QueryItems queryItems) const;
    async::Task<std::optional<Time>> fetchOldestQueuedAt() const;
    async::Task<std::optional<Time>> fetchLastIngestedAt() const;

    // Failed uploads
    static std::string inFilter(const std::vector<std::string>& values);

    const PublicConfig config_;
    const platform::UrlBuilder urls_{config_.supabaseURL};
    SessionStore& sessionStore_;
    const platform::HttpTransport urlSession_;
    const async::Executor pool_;
    const SessionHandler onSession_;
};

static_assert(async::Actor<SupabaseHTTPClient>);

} // namespace veskline
