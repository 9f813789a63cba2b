#pragma once

#include "hosted/SupabaseHTTPClient.h"
#include "hosted/SupabaseHTTPError.h"
#include "platform/json/JsonObject.h"

#include <utility>

// What all operations of the client go through, as far as it depends on a type. For the client's own sources.

namespace veskline {

// The `message` of a body that is a service's account of a failure; absent for any other body.
[[nodiscard]] std::optional<std::string> messageOfService(std::string_view body);

// A 2xx body without the form of what was asked for may say why; else the failure of the reading stands.
template <class T>
T SupabaseHTTPClient::decode(std::string_view data) {
    try {
        return platform::decodeJson<T>(data);
    } catch (const platform::JsonError&) {
        if (std::optional<std::string> message = messageOfService(data)) {
            throw SupabaseHTTPError::message(*std::move(message));
        }
        throw;
    }
}

// `operation` gives a Task for a StoredSession and may be called twice. It is no coroutine itself.
template <class Operation>
std::invoke_result_t<Operation&, StoredSession> SupabaseHTTPClient::runWithRefreshedSession(Operation operation) const {
    std::optional<StoredSession> session = co_await sessionStore_.load();
    if (!session) {
        throw SupabaseHTTPError::notAuthenticated();
    }
    co_return co_await runRefreshingOnce(*std::move(session), std::move(operation));
}

// The second run gets the session that the refresh gave, whatever was saved meanwhile, and its failure stands.
template <class Operation>
std::invoke_result_t<Operation&, StoredSession> SupabaseHTTPClient::runRefreshingOnce(StoredSession session,
                                                                                      Operation operation) const {
    try {
        co_return co_await operation(session);
    } catch (const SupabaseHTTPError& error) {
        if (error.errorCase() != SupabaseHTTPError::Case::unauthorized) {
            throw;
        }
    }
    session = co_await refresh(session);
    co_return co_await operation(session);
}

template <class T>
async::Task<T> SupabaseHTTPClient::getWithSession(std::string path, QueryItems queryItems) const {
    return runWithRefreshedSession(
        [this, path, queryItems](StoredSession session) { return get<T>(std::move(session), path, queryItems); });
}

template <class T>
async::Task<T> SupabaseHTTPClient::get(StoredSession session, std::string path, QueryItems queryItems) const {
    platform::HttpRequest request = makeRequest(path, "GET", session.accessToken, queryItems);
    const platform::HttpResponse response = co_await send(std::move(request));
    co_return decode<T>(response.body);
}

} // namespace veskline
