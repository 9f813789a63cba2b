#pragma once

#include "platform/json/Json.h"
#include "platform/json/JsonPlace.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

// Reading records out of JSON.
//
// What can be read: std::string, std::int64_t, bool, lists of all these as std::vector, and any type of the program
// that declares, in its own namespace,
//     Record readRecord(std::type_identity<Record>, const platform::JsonObject& object);     from an object, or
//     std::optional<Value> readText(std::type_identity<Value>, const std::string& text);     from a text.
//
// The rules, the same for all: a value of the wrong type fails, also under an optional key; a whole number is a whole
// number (5.0 is one as long as a double holds it exactly, 5.5, true, "5" and 2^63 are none); null counts as missing;
// keys that nobody asks for are ignored. A failure is a JsonError and fails the whole document.

namespace platform {

template <class T>
[[nodiscard]] T readJson(const Json& value, const JsonPlace& place);

// One object of a document, looked at by key. Lives no longer than the document and the place that it was made from.
class JsonObject {
public:
    // Throws JsonError where `value` is no object. `path` must outlive the reading; it starts the words of a failure.
    explicit JsonObject(const Json& value, std::string_view path = {}) : JsonObject(value, JsonPlace(path)) {}
    JsonObject(const Json& value, const JsonPlace& place);

    // The value under `key`; a key that is missing or null throws JsonError.
    template <class T>
    [[nodiscard]] T required(std::string_view key) const {
        const Json* const value = find(key);
        const JsonPlace place(place_, key);
        return value != nullptr ? readJson<T>(*value, place) : throw place.failure("is missing");
    }
    // The same, absent where the key is missing or null.
    template <class T>
    [[nodiscard]] std::optional<T> optional(std::string_view key) const {
        const Json* const value = find(key);
        return value != nullptr ? std::optional<T>(readJson<T>(*value, JsonPlace(place_, key))) : std::nullopt;
    }

private:
    [[nodiscard]] const Json* find(std::string_view key) const;

    const Json& object_;
    JsonPlace place_;
};

// A parsed document, for code that only reads it and need not see the JSON library.
class JsonDocument {
public:
    explicit JsonDocument(std::string_view bytes);
    ~JsonDocument();
    JsonDocument(const JsonDocument&) = delete;
    JsonDocument& operator=(const JsonDocument&) = delete;

    [[nodiscard]] const Json& root() const noexcept { return *root_; }

private:
    std::unique_ptr<const Json> root_;
};

// Reads a record, or a list of them, from a whole text. Throws JsonError for a text that is no JSON, too.
template <class T>
[[nodiscard]] T decodeJson(std::string_view bytes) {
    const JsonDocument document(bytes);
    return readJson<T>(document.root(), JsonPlace());
}

// The plain values. The steps of readJson, which is the name to use.
[[nodiscard]] const std::string& readJsonText(const Json& value, const JsonPlace& place);
[[nodiscard]] std::int64_t readJsonInteger(const Json& value, const JsonPlace& place);
[[nodiscard]] bool readJsonBoolean(const Json& value, const JsonPlace& place);
[[nodiscard]] std::size_t jsonListSize(const Json& value, const JsonPlace& place);
[[nodiscard]] const Json& jsonListElement(const Json& list, std::size_t index);

template <class T>
concept JsonRecord = requires(const JsonObject& object) {
    { readRecord(std::type_identity<T>{}, object) } -> std::same_as<T>;
};

template <class T>
struct JsonReader {
    static T read(const Json& value, const JsonPlace& place) {
        if constexpr (std::is_same_v<T, std::string>) {
            return readJsonText(value, place);
        } else if constexpr (std::is_same_v<T, std::int64_t>) {
            return readJsonInteger(value, place);
        } else if constexpr (std::is_same_v<T, bool>) {
            return readJsonBoolean(value, place);
        } else if constexpr (JsonRecord<T>) {
            return readRecord(std::type_identity<T>{}, JsonObject(value, place));
        } else {
            std::optional<T> known = readText(std::type_identity<T>{}, readJsonText(value, place));
            return known ? *std::move(known) : throw place.failure("is not one of the values that are known");
        }
    }
};

template <class T>
struct JsonReader<std::vector<T>> {
    static std::vector<T> read(const Json& value, const JsonPlace& place) {
        const std::size_t size = jsonListSize(value, place);
        std::vector<T> list;
        list.reserve(size);
        for (std::size_t index = 0; index < size; ++index) {
            list.push_back(readJson<T>(jsonListElement(value, index), JsonPlace(place, index)));
        }
        return list;
    }
};

template <class T>
T readJson(const Json& value, const JsonPlace& place) {
    return JsonReader<T>::read(value, place);
}

} // namespace platform
