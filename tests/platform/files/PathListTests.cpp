#include "platform/files/PathList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

using namespace platform;

TEST(PathList, SortsBytewiseAndFindsEachOfManyPathsAndNoOther) {
    std::vector<std::string> paths{"/a/b/c", "/a/b.txt", "", "/a/\xFF", "/a/b", "/a/b c", "/A"};
    for (int number = 0; number < 5'000; ++number) {
        paths.push_back("/home/ann/" + std::to_string(7 * number) + "/report.pdf");
    }
    std::ranges::shuffle(paths, std::mt19937(1));
    PathList list;
    for (const std::string& path : paths) {
        list.add(path);
    }
    EXPECT_TRUE(std::ranges::equal(list, paths));
    PathList more;
    more.add("/a/appended");
    more.add("/A/appended");
    list.append(more);
    paths.insert(paths.end(), {"/a/appended", "/A/appended"});
    EXPECT_TRUE(std::ranges::equal(list, paths));
    list.sort();
    std::ranges::sort(paths);
    EXPECT_TRUE(std::ranges::equal(list, paths));
    for (std::size_t place = 0; place < paths.size(); ++place) {
        ASSERT_EQ(list.find(paths[place]), place);
        ASSERT_EQ(list.find(paths[place], place), place);
        ASSERT_EQ(list.find(paths[place] + "x", place), std::nullopt);
    }
    EXPECT_EQ(list.lowerBound("/home/ann/7/"), list.find("/home/ann/7/report.pdf"));
    EXPECT_EQ(list.lowerBound("/i"), list.size());
    const PathList moved = std::move(list);
    EXPECT_EQ(moved[1], "/A");
    EXPECT_TRUE(list.empty()); // NOLINT(bugprone-use-after-move)
}
