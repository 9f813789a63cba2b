#include "Service.h"
#include "Target.h"

#include "hosted/SupabaseHTTPError.h"
#include "platform/json/AbsoluteUrl.h"
#include "platform/json/Json.h"

#include <algorithm>
#include <charconv>
#include <ranges>
#include <string>

namespace veskline::fuzz {

namespace {

// A read of the status asks five questions, and each may be met by a refresh and asked once more.
constexpr std::size_t mostRequests = 15;

Service& service() {
    static Service one;
    return one;
}
const SupabaseHTTPClient& client() {
    return service().client();
}

void requireStored(const StoredSession& session) {
    require(service().stored() == session, "the session that was given is the stored one");
}

void signIn() {
    const auto session = service().run([] { return client().signIn("ann@example.com", "secret"); });
    requireStored(session);
    require(session.user.has_value(), "who signed in is known");
}
void signUp() {
    const SignupAnswer answer = service().run([] { return client().signUp("ann@example.com", "secret"); });
    requireStored(answer.session.value_or(Service::ann));
}
void refresh() {
    requireStored(service().run([] { return client().refresh(Service::ann); }));
}
void currentUser() {
    require(service().run([] { return client().currentUser(); }).has_value(), "who has a session is somebody");
}
void uploadFile() {
    service().run([] { return client().uploadFile("/a.txt", "user-ann/a \xC3\xA9?.txt", "text/plain"); });
}
void upsertRemoteFile() {
    static_cast<void>(
        service().run([] { return client().upsertRemoteFile("a.txt", "user-ann/a", 1, "text/plain", "ab"); }));
}
void fetchRemoteFile() {
    static_cast<void>(service().run([] { return client().fetchRemoteFile("user-ann/a"); }));
}
void markFileDeleted() {
    service().run([] { return client().markFileDeleted("f1"); });
}
void insertJob() {
    service().run([] { return client().insertJob("f1", "ingest"); });
}
void fetchIngestStatus() {
    const IngestStatusSnapshot status = service().run([] { return client().fetchIngestStatus(); });
    require(status.queued >= 0 && status.running >= 0 && status.errors >= 0, "rows that are counted are no debt");
}
void fetchFailedUploads() {
    for (const FailedUploadItem& item : service().run([] { return client().fetchFailedUploads(); })) {
        require(!item.file || item.file->id == item.fileID, "a job is shown with its own file");
    }
}
void retryFailedUploads() {
    require(service().run([] { return client().retryFailedUploads(); }) >= 0, "jobs are counted");
}

constexpr void (*operations[])() = {
    &signIn,          &signUp,    &refresh,           &currentUser,        &uploadFile,         &upsertRemoteFile,
    &fetchRemoteFile, &insertJob, &fetchIngestStatus, &fetchFailedUploads, &retryFailedUploads, &markFileDeleted,
};

// A status in its first line, then the body to a line of "--".
platform::HttpResponse takeReply(std::string_view& rest) {
    platform::HttpResponse reply{.status = 200};
    const std::string_view status = takeLine(rest);
    std::from_chars(status.data(), status.data() + status.size(), reply.status);
    constexpr std::string_view end = "\n--\n";
    reply.body = rest.substr(0, rest.find(end));
    rest.remove_prefix(std::min(rest.size(), reply.body.size() + end.size()));
    return reply;
}

void requireSoundRequests() {
    require(service().requests().size() <= mostRequests, "an operation comes to an end");
    for (const platform::HttpRequest& request : service().requests()) {
        require(request.url.starts_with(Service::url + "/") && platform::isAbsoluteUrl(request.url),
                "every request goes to the service");
    }
}

} // namespace

// An operation by its letter, in a line; then the replies, the last one again and again.
void check(std::string_view input) {
    const std::string_view letter = takeLine(input);
    const std::size_t chosen = letter.empty() ? 0 : static_cast<unsigned char>(letter.front());
    platform::HttpResponse reply;
    service().begin([&] { return input.empty() ? reply : reply = takeReply(input); });
    try {
        operations[chosen % std::size(operations)]();
    } catch (const SupabaseHTTPError& error) {
        require(*error.what() != '\0' || error.errorCase() == SupabaseHTTPError::Case::message, "a failure has words");
    } catch (const platform::JsonError& error) {
        require(*error.what() != '\0', "a failure has words");
    }
    requireSoundRequests();
    require(service().stored().has_value(), "no reply signs the user out");
    const auto isAuthentication = [](const platform::HttpRequest& request) {
        return request.url.contains("/auth/v1/token?") || request.url.ends_with("/auth/v1/signup");
    };
    require(std::ranges::any_of(service().requests(), isAuthentication) || service().stored() == Service::ann,
            "only authentication changes the session");
}

} // namespace veskline::fuzz
