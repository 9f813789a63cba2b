#pragma once

#include "platform/json/Json.h"
#include "state/records/StoredUser.h"

#include <optional>
#include <string>
#include <type_traits>

namespace veskline {

// A session with the hosted service; what the session file holds.
struct StoredSession {
    std::string accessToken;  // bearer token of requests
    std::string refreshToken; // obtains a new session, once
    std::optional<StoredUser> user;

    friend bool operator==(const StoredSession&, const StoredSession&) = default;
};

[[nodiscard]] StoredSession readRecord(std::type_identity<StoredSession>, const platform::JsonObject& object);
[[nodiscard]] platform::Json toJson(const StoredSession& session);

} // namespace veskline
