#pragma once

#include "platform/json/Json.h"

#include <optional>
#include <string>
#include <type_traits>

namespace veskline {

// The signed-in user, as the hosted service names them.
struct StoredUser {
    std::string id; // the `user_id` of hosted rows and the user part of storage keys
    std::optional<std::string> email;

    friend bool operator==(const StoredUser&, const StoredUser&) = default;
};

[[nodiscard]] StoredUser readRecord(std::type_identity<StoredUser>, const platform::JsonObject& object);
[[nodiscard]] platform::Json toJson(const StoredUser& user);

} // namespace veskline
