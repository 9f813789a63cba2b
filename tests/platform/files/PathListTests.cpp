#include "platform/files/PathList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

using namespace platform;
using Paths = std::vector<std::string>;

namespace {

PathList listOf(const Paths& paths) {
    PathList list;
    for (const std::string& path : paths) {
        list.add(path);
    }
    return list;
}

} // namespace

TEST(PathList, KeepsTheOrderOfAddingUntilItIsSortedBytewise) {
    const Paths added{"/a/b/c", "/a/b.txt", "", "/a/\xFF", "/a/b", "/a/b c", "/A"};
    PathList list = listOf(added);
    EXPECT_TRUE(std::ranges::equal(list, added));
    list.sort();
    EXPECT_TRUE(std::ranges::equal(list, Paths{"", "/A", "/a/b", "/a/b c", "/a/b.txt", "/a/b/c", "/a/\xFF"}));
    const PathList moved = std::move(list);
    EXPECT_EQ(moved[1], "/A");
    EXPECT_TRUE(list.empty()); // NOLINT(bugprone-use-after-move)
}

TEST(PathList, FindsEachOfManyPathsAndNoOther) {
    Paths paths(5'000);
    for (std::size_t place = 0; place < paths.size(); ++place) {
        paths[place] = "/home/ann/" + std::to_string(7 * place) + "/report.pdf";
    }
    std::ranges::shuffle(paths, std::mt19937(1));
    PathList list = listOf(paths);
    list.sort();
    std::ranges::sort(paths);
    for (std::size_t place = 0; place < paths.size(); ++place) {
        ASSERT_EQ(list.find(paths[place]), place);
        ASSERT_EQ(list.find(paths[place], place), place);
        ASSERT_EQ(list.find(paths[place] + "x", place), std::nullopt);
    }
    EXPECT_EQ(list.lowerBound("/home/ann/7/"), list.find("/home/ann/7/report.pdf"));
    EXPECT_EQ(list.lowerBound("/i"), list.size());
}
