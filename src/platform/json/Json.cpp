#include "platform/json/Json.h"

#include "platform/json/JsonObject.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>

namespace platform {

namespace {

// The library's own words quote what stood there, which may be a token or half a character: only the place is told.
JsonError syntaxError(std::string_view bytes, std::size_t byte) {
    const std::string_view before = bytes.substr(0, byte == 0 ? 0 : std::min(byte - 1, bytes.size()));
    const auto line = std::ranges::count(before, '\n') + 1;
    const std::size_t lineStart = before.rfind('\n') + 1; // npos + 1 is the start of the text
    return JsonError(
        fmt::format("The text is not valid JSON: error in line {}, column {}", line, before.size() - lineStart + 1));
}

bool isValidText(const std::string& text) {
    try {
        return !Json(text).dump().empty();
    } catch (const Json::type_error&) {
        return false;
    }
}

// Throws for the first text that cannot be written.
void refuseInvalidText(const Json& value, const JsonPlace& place) {
    if (value.is_string() && !isValidText(value.get_ref<const std::string&>())) {
        throw place.failure("cannot be written as JSON: it is not valid UTF-8");
    }
    for (std::size_t index = 0; value.is_array() && index < value.size(); ++index) {
        refuseInvalidText(value[index], JsonPlace(place, index));
    }
    if (value.is_object()) {
        for (const auto& [key, member] : value.items()) {
            refuseInvalidText(member, JsonPlace(place, key));
        }
    }
}

std::string encode(const Json& document, int indent) {
    try {
        return document.dump(indent);
    } catch (const Json::type_error&) {
        refuseInvalidText(document, JsonPlace());
        throw JsonError("The document cannot be written as JSON: a key in it is not valid UTF-8");
    }
}

// Where the first value opens that lies too deep, or the end of the text. Looked for in the bytes, as the library's
// own way to watch a document grow takes a time that is quadratic in the members of a list.
std::size_t endOfAllowedDepth(std::string_view bytes) {
    if (bytes.size() <= deepestJson) {
        return bytes.size();
    }
    int depth = 0;
    bool isInText = false;
    for (std::size_t place = 0; place < bytes.size(); ++place) {
        const char byte = bytes[place];
        if (isInText && byte == '\\') {
            ++place;
        } else if (byte == '"') {
            isInText = !isInText;
        } else if (!isInText && (byte == ']' || byte == '}')) {
            --depth;
        } else if (!isInText && (byte == '[' || byte == '{') && ++depth > deepestJson) {
            return place;
        }
    }
    return bytes.size();
}

} // namespace

Json parseJson(std::string_view bytes) {
    const std::size_t end = endOfAllowedDepth(bytes);
    try {
        return Json::parse(bytes.substr(0, end));
    } catch (const Json::parse_error& error) {
        if (end < bytes.size() && error.byte > end) {
            throw JsonError(fmt::format("The JSON text is nested deeper than {} levels", deepestJson));
        }
        throw syntaxError(bytes, error.byte);
    } catch (const Json::out_of_range&) {
        throw JsonError("The text is not valid JSON: a number in it is too large");
    }
}

std::string encodePretty(const Json& document) {
    return encode(document, 2);
}

std::string encodeCompact(const Json& document) {
    return encode(document, -1);
}

// Most texts stand as they are; whatever else is in one, the library sees to.
void appendJsonText(std::string& json, std::string_view text, const JsonPlace& place) {
    const auto isPlain = [](char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; };
    if (std::ranges::all_of(text, isPlain)) {
        json.append("\"").append(text).append("\"");
    } else {
        const Json value(text);
        refuseInvalidText(value, place);
        json += value.dump();
    }
}

} // namespace platform
