#include "state/records/SyncMode.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace veskline {

std::string_view rawValue(SyncMode mode) noexcept {
    return mode == SyncMode::ultra ? "ultra" : "regular";
}

std::optional<SyncMode> fromRawValue(std::string_view text) noexcept {
    const auto* const mode = std::ranges::find(allCases, text, rawValue);
    return mode == allCases.end() ? std::nullopt : std::optional(*mode);
}

std::chrono::nanoseconds processingDelayNanoseconds(SyncMode mode) noexcept {
    return mode == SyncMode::ultra ? std::chrono::milliseconds(0) : std::chrono::milliseconds(750);
}

std::optional<SyncMode> readText(std::type_identity<SyncMode>, const std::string& text) {
    return fromRawValue(text);
}

platform::Json toJson(SyncMode mode) {
    return rawValue(mode);
}

} // namespace veskline
