#pragma once

#include <string_view>
#include <vector>

namespace platform {

// The user-perceived characters of a text (extended grapheme clusters, Unicode Standard Annex 29) as views into it: a
// letter and the marks on it are one. Bytes that are no UTF-8 are characters of their own. Pure; any thread.
// Throws std::runtime_error where ICU's data is not there.
[[nodiscard]] std::vector<std::string_view> characters(std::string_view text);

// Whether a user-perceived character is a letter or a number: whether it begins with a scalar of the general category
// L or N.
[[nodiscard]] bool isLetterOrNumber(std::string_view character);

} // namespace platform
