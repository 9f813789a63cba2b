#include "hosted/SupabaseHTTPClientRequests.h"

namespace veskline {

namespace {

struct SupabaseErrorEnvelope {
    std::string message;
};

SupabaseErrorEnvelope readRecord(std::type_identity<SupabaseErrorEnvelope>, const platform::JsonObject& object) {
    return {.message = object.required<std::string>("message")};
}

} // namespace

std::optional<std::string> messageOfService(std::string_view body) {
    try {
        return platform::decodeJson<SupabaseErrorEnvelope>(body).message;
    } catch (const platform::JsonError&) {
        return std::nullopt;
    }
}

SupabaseHTTPClient::SupabaseHTTPClient(PublicConfig config, SessionStore& sessionStore,
                                       platform::HttpTransport urlSession, async::Executor pool,
                                       SessionHandler onSession)
    : config_(std::move(config)), sessionStore_(sessionStore), urlSession_(urlSession), pool_(pool),
      onSession_(std::move(onSession)) {}

platform::HttpRequest SupabaseHTTPClient::makeRequest(std::string_view path, std::string_view method,
                                                      const std::optional<std::string>& bearerToken,
                                                      const QueryItems& queryItems, const Headers& extraHeaders) const {
    std::optional<std::string> url = urls_.build(path, queryItems);
    if (!url) {
        throw SupabaseHTTPError::invalidURL();
    }
    platform::HttpRequest request{.method = std::string(method), .url = *std::move(url)};
    request.headers.reserve(4 + extraHeaders.size()); // three, and perhaps a content-type
    request.setHeader("apikey", config_.supabaseAnonKey);
    request.setHeader("accept", "application/json");
    if (bearerToken) {
        request.setHeader("Authorization", "Bearer " + *bearerToken);
    }
    for (const platform::HttpHeader& header : extraHeaders) {
        request.setHeader(header.name, header.value);
    }
    return request;
}

platform::HttpRequest SupabaseHTTPClient::makeRequest(std::string_view path, std::string_view method,
                                                      const std::optional<std::string>& bearerToken,
                                                      const JSONValue::Object& body, const QueryItems& queryItems,
                                                      const Headers& extraHeaders) const {
    platform::HttpRequest request = makeRequest(path, method, bearerToken, queryItems, extraHeaders);
    request.setHeader("content-type", "application/json");
    request.body = JSONValue::encoded(body);
    return request;
}

// By the status alone: what the service says in the body of a refusal is not read.
void SupabaseHTTPClient::validate(const platform::HttpResponse& response) {
    if (response.status == 0) {
        throw SupabaseHTTPError::invalidResponse();
    }
    if (response.status == 401) {
        throw SupabaseHTTPError::unauthorized();
    }
    if (response.status < 200 || response.status > 299) {
        throw SupabaseHTTPError::refused(response.status);
    }
}

async::Task<platform::HttpResponse> SupabaseHTTPClient::send(platform::HttpRequest request) const {
    platform::HttpResponse response = co_await urlSession_.send(std::move(request));
    validate(response);
    co_return response;
}

async::Task<> SupabaseHTTPClient::patchWithoutResponse(std::string path, QueryItems queryItems,
                                                       JSONValue::Object body) const {
    const Headers extraHeaders{{"Prefer", "return=minimal"}};
    return runWithRefreshedSession(
        [=, this](StoredSession session) { return patch(std::move(session), path, queryItems, body, extraHeaders); });
}

async::Task<> SupabaseHTTPClient::patch(StoredSession session, std::string path, QueryItems queryItems,
                                        JSONValue::Object body, Headers extraHeaders) const {
    platform::HttpRequest request = makeRequest(path, "PATCH", session.accessToken, body, queryItems, extraHeaders);
    co_await send(std::move(request));
}

} // namespace veskline
