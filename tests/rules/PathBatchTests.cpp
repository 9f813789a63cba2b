#include "rules/PathBatch.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace veskline {

using namespace std::chrono_literals;
using Names = std::vector<std::string>;

TEST(PathBatch, HoldsEachPathOnceUntilTheLatencyIsOver) {
    PathBatch batch({"/r"}, 1s);
    EXPECT_EQ(batch.due(), std::nullopt);
    const PathBatch::Instant start{1h};
    batch.add("/r/a", start);
    batch.add("/r/b", start + 900ms);
    batch.add("/r/a", start + 950ms);
    EXPECT_EQ(batch.due(), start + 1s);
    batch.postpone(start + 1s);
    EXPECT_EQ(batch.due(), start + 2s);
    Names paths = batch.take();
    std::ranges::sort(paths);
    EXPECT_EQ(paths, (Names{"/r/a", "/r/b"}));
    EXPECT_EQ(batch.due(), std::nullopt);
}

TEST(PathBatch, NamesTheRootsWhereItWouldGrowTooLarge) {
    PathBatch batch({"/r"}, 1s, 2);
    for (const std::string_view path : {"/r/a", "/r/b", "/r/c", "/r/d"}) {
        batch.add(std::string(path), {});
    }
    EXPECT_EQ(batch.take(), Names{"/r"});
    batch.add("/r/e", {});
    EXPECT_EQ(batch.take(), Names{"/r/e"});
}

} // namespace veskline
