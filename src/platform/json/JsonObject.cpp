#include "platform/json/JsonObject.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>

namespace platform {

JsonObject::JsonObject(const Json& value, const JsonPlace& place) : object_(value), place_(place) {
    if (!value.is_object()) {
        throw place.failure("is not an object");
    }
}

const Json* JsonObject::find(std::string_view key) const {
    const auto found = object_.find(key);
    return found == object_.end() || found->is_null() ? nullptr : &*found;
}

JsonDocument::JsonDocument(std::string_view bytes) : root_(std::make_unique<const Json>(parseJson(bytes))) {}

JsonDocument::~JsonDocument() = default;

const std::string& readJsonText(const Json& value, const JsonPlace& place) {
    return value.is_string() ? value.get_ref<const std::string&>() : throw place.failure("is not a text");
}

bool readJsonBoolean(const Json& value, const JsonPlace& place) {
    return value.is_boolean() ? value.get<bool>() : throw place.failure("is not true or false");
}

std::int64_t readJsonInteger(const Json& value, const JsonPlace& place) {
    constexpr std::uint64_t most = std::numeric_limits<std::int64_t>::max();
    constexpr double mostExact = 9007199254740992.0; // 2^53: beyond it a double may be another number than was written
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > most) {
        throw place.failure("is too large a number");
    }
    if (value.is_number_integer()) {
        return value.get<std::int64_t>();
    }
    if (value.is_number_float()) {
        const double number = value.get<double>();
        if (std::abs(number) <= mostExact && std::trunc(number) == number) {
            return static_cast<std::int64_t>(number);
        }
    }
    throw place.failure("is not a whole number");
}

std::size_t jsonListSize(const Json& value, const JsonPlace& place) {
    return value.is_array() ? value.size() : throw place.failure("is not a list");
}

const Json& jsonListElement(const Json& list, std::size_t index) {
    return list[index];
}

} // namespace platform
