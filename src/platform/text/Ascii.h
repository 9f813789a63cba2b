#pragma once

#include <algorithm>
#include <string_view>

// ASCII by itself, whatever the user's locale: names of headers, extensions and the like. Pure; any thread.

namespace platform {

[[nodiscard]] constexpr bool isAscii(std::string_view text) noexcept {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// Any other character stays as it is.
[[nodiscard]] constexpr char lowerAscii(char c) noexcept {
    return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}

[[nodiscard]] constexpr bool equalsInAnyCase(std::string_view one, std::string_view other) noexcept {
    return std::ranges::equal(one, other, {}, lowerAscii, lowerAscii);
}

} // namespace platform
