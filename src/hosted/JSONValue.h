#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <variant>

namespace veskline {

// A value in the body of a request: only ever encoded. The client's bodies need neither lists nor fractions.
class JSONValue {
public:
    using Object = std::map<std::string, JSONValue>;

    JSONValue(std::string text) : value_(std::move(text)) {}
    JSONValue(const char* text) : value_(std::string(text)) {}
    JSONValue(std::int64_t number) : value_(number) {}
    JSONValue(std::same_as<bool> auto truth) : value_(truth) {} // and no pointer in its place
    JSONValue(Object members) : value_(std::move(members)) {}
    JSONValue(std::nullptr_t) : value_(nullptr) {}

    // The JSON text of an object. Throws platform::JsonError for text in it that is no valid UTF-8.
    [[nodiscard]] static std::string encoded(const Object& members);

private:
    friend struct JSONValueEncoder;

    std::variant<std::string, std::int64_t, bool, Object, std::nullptr_t> value_;
};

} // namespace veskline
