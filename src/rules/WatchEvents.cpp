#include "rules/WatchEvents.h"

#include <cstring>
#include <sys/inotify.h>

namespace veskline {

WatchEvents decodeWatchEvents(std::span<const std::byte> bytes) {
    WatchEvents result;
    while (!bytes.empty()) {
        struct inotify_event header{};
        if (bytes.size() < sizeof header) {
            result.isWhole = false;
            break;
        }
        std::memcpy(&header, bytes.data(), sizeof header);
        bytes = bytes.subspan(sizeof header);
        if (bytes.size() < header.len) {
            result.isWhole = false;
            break;
        }
        const auto* name = reinterpret_cast<const char*>(bytes.data());
        result.events.push_back(
            {.watch = header.wd, .mask = header.mask, .name = {name, ::strnlen(name, header.len)}}); // padded by zeros
        bytes = bytes.subspan(header.len);
    }
    return result;
}

} // namespace veskline
