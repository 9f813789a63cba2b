#pragma once

#include <string>
#include <string_view>

namespace platform {

// UTF-8 as the Unicode Standard defines it (table 3-7): no surrogates, no overlong forms, nothing above U+10FFFF.
// Names on a disk are bytes and may be anything; what is stored or sent must be text.
[[nodiscard]] bool isValidUtf8(std::string_view text) noexcept;

// The same text with U+FFFD in place of what is no UTF-8: one for each maximal part of a sequence, as browsers do it.
// For showing; the result no longer names the file.
[[nodiscard]] std::string withReplacementCharacters(std::string_view text);

} // namespace platform
