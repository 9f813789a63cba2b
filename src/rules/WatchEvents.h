#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace veskline {

// One change as inotify(7) tells it. The number that pairs the two halves of a move is left out: the second half may
// come late or never, so whether a moved folder is still below its root is asked of the disk.
struct WatchEvent {
    int watch = -1; // of the folder; -1 where the kernel's queue overflowed
    std::uint32_t mask = 0;
    std::string_view name; // of the entry in the folder, part of the bytes given; empty for the folder itself
    bool operator==(const WatchEvent&) const = default;
};

struct WatchEvents {
    std::vector<WatchEvent> events;
    // False where the bytes end within an event: what came after it is not known.
    bool isWhole = true;
};

// What one read(2) of an inotify instance gave. Pure; takes any bytes.
[[nodiscard]] WatchEvents decodeWatchEvents(std::span<const std::byte> bytes);

} // namespace veskline
