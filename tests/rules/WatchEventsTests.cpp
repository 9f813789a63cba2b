#include "rules/WatchEvents.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <sys/inotify.h>

namespace veskline {

namespace {

// One event as the kernel lays it out, the name with whatever stands behind it.
std::string event(int watch, std::uint32_t mask, std::string_view name = {}) {
    const struct inotify_event header{
        .wd = watch, .mask = mask, .cookie = 7, .len = static_cast<std::uint32_t>(name.size())};
    return std::string(reinterpret_cast<const char*>(&header), sizeof header).append(name);
}

struct Row {
    std::string_view name;
    std::string bytes;
    std::vector<WatchEvent> events;
    bool isWhole = true;
};

const std::string made = event(3, IN_CREATE, std::string_view("a.txt\0\0\0", 8));
const WatchEvent madeEvent{.watch = 3, .mask = IN_CREATE, .name = "a.txt"};

const std::vector<Row> rows{
    {"nothing", "", {}},
    {"one event", made, {madeEvent}},
    {"several events, one of the folder itself",
     made + event(5, IN_DELETE_SELF) + made,
     {madeEvent, {.watch = 5, .mask = IN_DELETE_SELF}, madeEvent}},
    {"a name without a zero byte", event(3, IN_CREATE, "a.txt"), {madeEvent}},
    {"an overflow", event(-1, IN_Q_OVERFLOW), {{.watch = -1, .mask = IN_Q_OVERFLOW}}},
    {"cut off in a header", made + made.substr(0, 15), {madeEvent}, false},
    {"cut off in a name", made + made.substr(0, made.size() - 1), {madeEvent}, false},
    {"a length beyond all bounds", event(3, IN_CREATE).replace(12, 4, "\xFF\xFF\xFF\xFF"), {}, false},
};

} // namespace

TEST(WatchEvents, DecodesWhatTheKernelGave) {
    for (const Row& row : rows) {
        // In a block of its own size, so that a sanitizer sees a read beyond the end.
        const std::vector<char> bytes(row.bytes.begin(), row.bytes.end());
        const WatchEvents found = decodeWatchEvents(std::as_bytes(std::span(bytes)));
        EXPECT_EQ(found.events, row.events) << row.name;
        EXPECT_EQ(found.isWhole, row.isWhole) << row.name;
    }
}

} // namespace veskline
