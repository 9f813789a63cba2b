#include "state/records/StoredUser.h"

#include "platform/json/JsonObject.h"

#include <nlohmann/json.hpp>

namespace veskline {

StoredUser readRecord(std::type_identity<StoredUser>, const platform::JsonObject& object) {
    return {.id = object.required<std::string>("id"), .email = object.optional<std::string>("email")};
}

platform::Json toJson(const StoredUser& user) {
    platform::Json json = {{"id", user.id}};
    if (user.email) {
        json["email"] = *user.email;
    }
    return json;
}

} // namespace veskline
