#include "rules/StartMoment.h"

#include <gtest/gtest.h>

#include <string_view>
#include <vector>

namespace veskline {

using namespace std::chrono_literals;

TEST(StartMoment, AllowsForTimesThatAreCutOff) {
    struct Row {
        std::string_view name;
        std::chrono::nanoseconds start;
        std::chrono::nanoseconds change;
        bool isCounted;
    };
    constexpr std::chrono::nanoseconds now = 200s;
    const std::vector<Row> rows{
        {"at the same instant", 100s + 3ns, 100s + 3ns, true},
        {"just before", 100s + 3ns, 100s + 2ns, false},
        {"after", 100s + 3ns, 101s + 1ns, true},
        {"two seconds of FAT", 101s + 999'999'999ns, 100s, true},
        {"no longer those", 102s, 100s, false},
        {"ten milliseconds of exFAT", 100s + 29ms, 100s + 20ms, true},
        {"no longer those", 100s + 30ms, 100s + 20ms, false},
        {"a microsecond", 100s + 7999ns, 100s + 7us, true},
        {"a clock that runs a little ahead", 100s + 1ns, 201s + 1ns, true},
        {"a time that is still to come", 100s + 1ns, 260s + 1ns, false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(mayHaveChangedSince(row.start, row.change, now), row.isCounted) << row.name;
    }
}

} // namespace veskline
