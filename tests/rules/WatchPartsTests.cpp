#include "rules/MountPoints.h"
#include "rules/PathBatch.h"
#include "rules/StartMoment.h"
#include "rules/WatchEvents.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sys/inotify.h>

using namespace veskline;
using namespace std::chrono_literals;
using Names = std::vector<std::string>;

TEST(MountPoints, ListWhatLiesWithinAFolder) {
    constexpr std::string_view mountInfo = "22 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
                                           "30 22 8:2 / /home rw shared:2 - ext4 /dev/sda2 rw\n"
                                           "31 30 8:3 / /home/my\\040disk rw - vfat /dev/sdb1 rw\n"
                                           "32 30 8:4 / /homes rw - ext4 /dev/sdc1 rw\n"
                                           "cut off";
    EXPECT_EQ(mountsWithin(mountInfo, "/home"), (Names{"30 /home", "31 /home/my disk"}));
    EXPECT_EQ(mountsWithin(mountInfo, "/").size(), 4U);
}

TEST(PathBatch, HoldsEachPathOnceFromTheFirstOneOnAndTheRootsWhereItWouldGrowTooLarge) {
    PathBatch batch({"/r"}, 1s, 2);
    const PathBatch::Instant start{1h};
    batch.add("/r/b", start);
    batch.add("/r/a", start + 900ms);
    batch.add("/r/a", start + 950ms);
    EXPECT_EQ(batch.due(), start + 1s);
    batch.postpone(start + 1s);
    EXPECT_EQ(batch.due(), start + 2s);
    Names paths = batch.take();
    std::ranges::sort(paths);
    EXPECT_EQ(paths, (Names{"/r/a", "/r/b"}));
    EXPECT_EQ(batch.due(), std::nullopt);
    for (const char* const path : {"/r/a", "/r/b", "/r/c", "/r/d"}) {
        batch.add(path, {});
    }
    EXPECT_EQ(batch.take(), Names{"/r"});
    batch.add("/r/e", {});
    EXPECT_EQ(batch.take(), Names{"/r/e"});
}

TEST(StartMoment, AllowsForTimesThatAreCutOff) {
    struct Row {
        const char* name;
        std::chrono::nanoseconds start, change;
        bool isCounted;
    };
    for (const Row& row :
         {Row{"at the same instant", 100s + 3ns, 100s + 3ns, true}, Row{"just before", 100s + 3ns, 100s + 2ns, false},
          Row{"two seconds of FAT", 101s + 999'999'999ns, 100s, true}, Row{"no longer those", 102s, 100s, false},
          Row{"ten milliseconds of exFAT", 100s + 29ms, 100s + 20ms, true},
          Row{"no longer those", 100s + 30ms, 100s + 20ms, false},
          Row{"a microsecond", 100s + 7999ns, 100s + 7us, true},
          Row{"a clock that runs a little ahead", 100s + 1ns, 201s + 1ns, true},
          Row{"a time that is still to come", 100s + 1ns, 260s + 1ns, false}}) {
        EXPECT_EQ(mayHaveChangedSince(row.start, row.change, 200s), row.isCounted) << row.name;
    }
}

TEST(WatchEvents, AreDecodedUpToWhereTheyAreCutOff) {
    // One event as the kernel lays it out, the name with whatever stands behind it.
    const auto event = [](int watch, std::uint32_t mask, std::string_view name = {}) {
        const struct inotify_event header{watch, mask, 7, static_cast<std::uint32_t>(name.size())};
        return std::string(reinterpret_cast<const char*>(&header), sizeof header).append(name);
    };
    const std::string made = event(3, IN_CREATE, std::string_view("a.txt\0\0\0", 8));
    const std::string gone = event(5, IN_DELETE_SELF);
    const WatchEvent madeEvent{.watch = 3, .mask = IN_CREATE, .name = "a.txt"};
    const WatchEvent goneEvent{.watch = 5, .mask = IN_DELETE_SELF};
    struct Row {
        std::string bytes;
        std::vector<WatchEvent> events;
        bool isWhole;
    };
    for (const Row& row :
         {Row{made + gone + made, {madeEvent, goneEvent, madeEvent}, true},
          Row{event(3, IN_CREATE, "a.txt"), {madeEvent}, true}, Row{made + made.substr(0, 15), {madeEvent}, false},
          Row{made + made.substr(0, made.size() - 1), {madeEvent}, false},
          Row{event(3, IN_CREATE).replace(12, 4, "\xFF\xFF\xFF\xFF"), {}, false}}) {
        // In a block of its own size, so that a sanitizer sees a read beyond the end.
        const std::vector<char> bytes(row.bytes.begin(), row.bytes.end());
        const WatchEvents found = decodeWatchEvents(std::as_bytes(std::span(bytes)));
        EXPECT_EQ(found.events, row.events);
        EXPECT_EQ(found.isWhole, row.isWhole);
    }
}
