#pragma once

#include "platform/json/Json.h"

#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace veskline {

// The user's speed profile. It changes the pause before an upload and nothing else.
enum class SyncMode { regular, ultra };

// In the order that the user sees.
inline constexpr std::array<SyncMode, 2> allCases{SyncMode::regular, SyncMode::ultra};

// What is stored and sent for a mode, in JSON as a text; and back, absent for any other text.
[[nodiscard]] std::string_view rawValue(SyncMode mode) noexcept;
[[nodiscard]] std::optional<SyncMode> fromRawValue(std::string_view rawValue) noexcept;

// The pause that the processing of a file makes before it uploads.
[[nodiscard]] std::chrono::nanoseconds processingDelayNanoseconds(SyncMode mode) noexcept;

[[nodiscard]] std::optional<SyncMode> readText(std::type_identity<SyncMode>, const std::string& text);
[[nodiscard]] platform::Json toJson(SyncMode mode);

} // namespace veskline
