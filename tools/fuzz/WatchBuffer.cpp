#include "Target.h"
#include "rules/WatchEvents.h"

#include <span>
#include <string>
#include <sys/inotify.h>

namespace veskline::fuzz {

namespace {

WatchEvents decoded(std::string_view buffer) {
    return decodeWatchEvents(std::as_bytes(std::span(buffer)));
}

// As the kernel writes them: a name is padded with zeros, one of them at least.
std::string encoded(const std::vector<WatchEvent>& events) {
    std::string buffer;
    for (const WatchEvent& event : events) {
        const std::size_t room = event.name.empty() ? 0 : (event.name.size() / 16 + 1) * 16;
        const struct inotify_event header{
            .wd = event.watch, .mask = event.mask, .cookie = 0, .len = static_cast<std::uint32_t>(room)};
        buffer.append(reinterpret_cast<const char*>(&header), sizeof header).append(event.name);
        buffer.append(room - event.name.size(), '\0');
    }
    return buffer;
}

} // namespace

void check(std::string_view input) {
    const WatchEvents result = decoded(input);
    for (const WatchEvent& event : result.events) {
        require(event.name.data() >= input.data() + sizeof(struct inotify_event) &&
                    event.name.data() + event.name.size() <= input.data() + input.size(),
                "a name is a part of the buffer");
        require(!event.name.contains('\0'), "a name ends before its padding");
    }
    const std::string again = encoded(result.events);
    const WatchEvents twice = decoded(again);
    require(twice.isWhole && twice.events == result.events, "events that are written and read again are the same");
    if (result.isWhole) {
        const std::string longer = std::string(input) + '\0';
        const WatchEvents cut = decoded(longer);
        require(!cut.isWhole && cut.events == result.events, "a byte too many leaves the events before it");
    }
}

} // namespace veskline::fuzz
