#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace local_project {

using Clock = std::function<std::chrono::system_clock::time_point()>;

// The one form in which times are stored and sent: 2024-05-01T10:20:30.123456+00:00. Of equal length and always UTC,
// so that the order of the texts is the order of the times.
[[nodiscard]] std::string timestampOf(std::chrono::system_clock::time_point time);

// A UTC date-time with up to six digits of fraction, ending in "Z" or "+00:00", in the form above; absent for any
// other text.
[[nodiscard]] std::optional<std::string> normalisedTimestamp(std::string_view text);

} // namespace local_project
