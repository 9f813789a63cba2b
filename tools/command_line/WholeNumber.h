#pragma once

#include <charconv>
#include <concepts>
#include <limits>
#include <optional>
#include <string_view>
#include <system_error>

namespace command_line {

// The number that a word of digits alone says; absent for any other word and for a number above `largest`.
template <std::unsigned_integral Number>
[[nodiscard]] std::optional<Number> wholeNumber(std::string_view word,
                                                Number largest = std::numeric_limits<Number>::max()) {
    Number number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    const bool isWhole = error == std::errc() && end == word.data() + word.size();
    return isWhole && number <= largest ? std::optional(number) : std::nullopt;
}

} // namespace command_line
