#pragma once

#include <nlohmann/json_fwd.hpp>

#include <stdexcept>
#include <string>
#include <string_view>

// JSON as this program takes it: strict in what it reads, sorted in what it writes.
//
// Reading goes by records (JsonObject.h): strict types, unknown keys ignored, and one wrong value fails the document.
// This header is light; include <nlohmann/json.hpp> where a document is put together.
//
// Pure functions; they run wherever they are called.

namespace platform {

using Json = nlohmann::json;
class JsonObject;
class JsonPlace;

// A text is no valid JSON, a document has not the form of the record that is read from it, or a document holds a text
// that cannot be written. Its words name the place, as in: The value of "user.id" is missing
class JsonError : public std::runtime_error {
public:
    explicit JsonError(const std::string& words) : std::runtime_error(words) {}
};

// Documents nested deeper than this are refused: nothing that we read comes near, and memory stays in proportion.
inline constexpr int deepestJson = 256;

// Takes a whole text as one document (RFC 8259; a byte order mark at its start is skipped). Invalid UTF-8 and lone
// surrogates fail like any other error of syntax. Of a key that is there twice, the last one counts.
[[nodiscard]] Json parseJson(std::string_view bytes);

// Both write the keys of each object in bytewise order, and text as UTF-8 without needless escapes. A text that is no
// valid UTF-8 throws JsonError and nothing is written: there is no JSON that could stand for it.
// Pretty is one value a line, two spaces a level, for files that people may look into; compact is for requests.
[[nodiscard]] std::string encodePretty(const Json& document);
[[nodiscard]] std::string encodeCompact(const Json& document);

// Adds `text` to JSON that is written piece by piece, as encodeCompact() writes it. `place` names it in a failure.
void appendJsonText(std::string& json, std::string_view text, const JsonPlace& place);

} // namespace platform
