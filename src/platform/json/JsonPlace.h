#pragma once

#include "platform/json/Json.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

// Where in a document a value stands: the name of the document, a key below another place, or an element of a list.
// Each points to the one above and is alive while what is below it is read, so that a place costs nothing until a
// failure needs its words.
class JsonPlace {
public:
    explicit JsonPlace(std::string_view document = {}) : key_(document) {}
    JsonPlace(const JsonPlace& above, std::string_view key) : above_(&above), key_(key) {}
    JsonPlace(const JsonPlace& above, std::size_t index) : above_(&above), index_(index), isElement_(true) {}

    // As in: user.id, [3].bytes. Empty for a document without a name.
    [[nodiscard]] std::string path() const;

    // `reason` completes the sentence 'The value of "<path>" ...', or 'The document ...' where there is no path.
    [[nodiscard]] JsonError failure(std::string_view reason) const;

private:
    const JsonPlace* above_ = nullptr;
    std::string_view key_;
    std::size_t index_ = 0;
    bool isElement_ = false;
};

} // namespace platform
