#pragma once

#include <cstdint>
#include <string>

namespace veskline {

// What a status that is shown in colour means; the window has a colour for each.
enum class StatusPillKind : std::uint8_t { accent, ok, warn, error, muted };

struct StatusPillPresentation {
    std::string text;
    StatusPillKind kind = StatusPillKind::muted;

    friend bool operator==(const StatusPillPresentation&, const StatusPillPresentation&) = default;
};

} // namespace veskline
