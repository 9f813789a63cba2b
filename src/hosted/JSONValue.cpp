#include "hosted/JSONValue.h"

#include "platform/json/Json.h"
#include "platform/json/JsonPlace.h"

#include <fmt/format.h>

namespace veskline {

// Straight into the text: each file has two bodies, and a document of the library in between takes longer than both.
struct JSONValueEncoder {
    std::string& json;
    platform::JsonPlace place;

    void operator()(const JSONValue::Object& members) const {
        char separator = '{';
        for (const auto& [key, member] : members) {
            json += std::exchange(separator, ',');
            platform::appendJsonText(json, key, place);
            json += ':';
            std::visit(JSONValueEncoder{json, platform::JsonPlace(place, key)}, member.value_);
        }
        json += members.empty() ? "{}" : "}";
    }
    void operator()(const std::string& text) const { platform::appendJsonText(json, text, place); }
    void operator()(std::int64_t number) const { json += fmt::format_int(number).c_str(); }
    void operator()(bool truth) const { json += truth ? "true" : "false"; }
    void operator()(std::nullptr_t) const { json += "null"; }
};

std::string JSONValue::encoded(const Object& members) {
    std::string json;
    JSONValueEncoder{json, platform::JsonPlace()}(members);
    return json;
}

} // namespace veskline
