#include "hosted/SupabaseHTTPClientRequests.h"
#include "platform/text/ErrorDescription.h"

#include <exception>

namespace veskline {

namespace {

struct SignInResponse {
    std::string accessToken;
    std::string refreshToken;
    StoredUser user;
};

struct RefreshResponse {
    std::string accessToken;
    std::string refreshToken;
    std::optional<StoredUser> user;
};

struct NestedSession {
    std::string accessToken;
    std::string refreshToken;
};

// Tokens at the top level of the body are not looked at.
struct SignUpEnvelope {
    std::optional<StoredUser> user;
    std::optional<NestedSession> session;
};

SignInResponse readRecord(std::type_identity<SignInResponse>, const platform::JsonObject& object) {
    return {.accessToken = object.required<std::string>("access_token"),
            .refreshToken = object.required<std::string>("refresh_token"),
            .user = object.required<StoredUser>("user")};
}

RefreshResponse readRecord(std::type_identity<RefreshResponse>, const platform::JsonObject& object) {
    return {.accessToken = object.required<std::string>("access_token"),
            .refreshToken = object.required<std::string>("refresh_token"),
            .user = object.optional<StoredUser>("user")};
}

NestedSession readRecord(std::type_identity<NestedSession>, const platform::JsonObject& object) {
    return {.accessToken = object.required<std::string>("access_token"),
            .refreshToken = object.required<std::string>("refresh_token")};
}

SignUpEnvelope readRecord(std::type_identity<SignUpEnvelope>, const platform::JsonObject& object) {
    return {.user = object.optional<StoredUser>("user"), .session = object.optional<NestedSession>("session")};
}

// By the status alone, as everywhere: these three are how a service refuses a token that it does not know, or that is
// used up or revoked.
SessionAnswer::Standing standingAfter(const std::exception& failure) {
    const auto* const error = dynamic_cast<const SupabaseHTTPError*>(&failure);
    const int status = error != nullptr ? error->status().value_or(0) : 0;
    const bool isRefusal = status == 400 || status == 401 || status == 403;
    return isRefusal ? SessionAnswer::Standing::refused : SessionAnswer::Standing::unknown;
}

} // namespace

// Without a session, and without a refresh: a 401 ends it at once.
template <class T>
async::Task<T> SupabaseHTTPClient::authRequest(std::string path, QueryItems queryItems, JSONValue::Object body) const {
    platform::HttpRequest request = makeRequest(path, "POST", std::nullopt, body, queryItems);
    const platform::HttpResponse response = co_await send(std::move(request));
    co_return decode<T>(response.body);
}

async::Task<std::optional<StoredSession>> SupabaseHTTPClient::currentSession() const {
    co_return co_await sessionStore_.load();
}

async::Task<StoredSession> SupabaseHTTPClient::signIn(std::string email, std::string password) const {
    QueryItems queryItems{{"grant_type", "password"}};
    JSONValue::Object body{{"email", email}, {"password", password}};
    const auto response =
        co_await authRequest<SignInResponse>("/auth/v1/token", std::move(queryItems), std::move(body));
    StoredSession session{response.accessToken, response.refreshToken, response.user};
    co_await sessionStore_.save(session);
    co_return session;
}

async::Task<SignupAnswer> SupabaseHTTPClient::signUp(std::string email, std::string password) const {
    JSONValue::Object body{{"email", email}, {"password", password}};
    const auto envelope = co_await authRequest<SignUpEnvelope>("/auth/v1/signup", QueryItems(), std::move(body));
    SignupAnswer answer{.session = std::nullopt, .user = envelope.user};
    if (envelope.session) {
        answer.session = StoredSession{envelope.session->accessToken, envelope.session->refreshToken, envelope.user};
        co_await sessionStore_.save(*answer.session);
    }
    co_return answer;
}

async::Task<std::optional<StoredUser>> SupabaseHTTPClient::currentUser() const {
    std::optional<StoredSession> session = co_await sessionStore_.load();
    if (!session) {
        co_return std::nullopt;
    }
    const auto fetch = [this](StoredSession current) { return fetchCurrentUser(std::move(current)); };
    co_return co_await reportingSession(runRefreshingOnce(*std::move(session), fetch));
}

async::Task<StoredSession> SupabaseHTTPClient::refresh(StoredSession session) const {
    QueryItems queryItems{{"grant_type", "refresh_token"}};
    JSONValue::Object body{{"refresh_token", session.refreshToken}};
    const auto response = co_await reportingSession(
        authRequest<RefreshResponse>("/auth/v1/token", std::move(queryItems), std::move(body)));
    session.accessToken = response.accessToken;
    session.refreshToken = response.refreshToken;
    if (response.user) {
        session.user = response.user;
    }
    co_await sessionStore_.save(session);
    co_return session;
}

template <class T>
async::Task<T> SupabaseHTTPClient::reportingSession(async::Task<T> question) const {
    SessionAnswer told;
    std::exception_ptr failure;
    std::optional<T> answer;
    try {
        answer = co_await std::move(question);
        told.standing = SessionAnswer::Standing::accepted;
    } catch (const std::exception& error) {
        told = {.standing = standingAfter(error), .reason = platform::describe(error)};
        failure = std::current_exception();
    }
    if (onSession_) {
        onSession_(std::move(told));
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
    co_return *std::move(answer);
}

async::Task<StoredUser> SupabaseHTTPClient::fetchCurrentUser(StoredSession session) const {
    return get<StoredUser>(std::move(session), "/auth/v1/user", {});
}

} // namespace veskline
