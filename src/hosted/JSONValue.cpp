#include "hosted/JSONValue.h"

#include "platform/json/Json.h"

#include <nlohmann/json.hpp>

namespace veskline {

struct JSONValueEncoder {
    static platform::Json document(const JSONValue& value) { return std::visit(JSONValueEncoder(), value.value_); }

    platform::Json operator()(const JSONValue::Object& members) const {
        platform::Json json = platform::Json::object();
        for (const auto& [key, member] : members) {
            json[key] = document(member);
        }
        return json;
    }
    platform::Json operator()(const auto& plain) const { return plain; }
};

std::string JSONValue::encoded(const Object& members) {
    return platform::encodeCompact(JSONValueEncoder()(members));
}

} // namespace veskline
