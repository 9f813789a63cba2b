#include "state/records/StoredSession.h"

#include "platform/json/JsonObject.h"

#include <nlohmann/json.hpp>

namespace veskline {

StoredSession readRecord(std::type_identity<StoredSession>, const platform::JsonObject& object) {
    return {.accessToken = object.required<std::string>("access_token"),
            .refreshToken = object.required<std::string>("refresh_token"),
            .user = object.optional<StoredUser>("user")};
}

platform::Json toJson(const StoredSession& session) {
    platform::Json json = {{"access_token", session.accessToken}, {"refresh_token", session.refreshToken}};
    if (session.user) {
        json["user"] = toJson(*session.user);
    }
    return json;
}

} // namespace veskline
