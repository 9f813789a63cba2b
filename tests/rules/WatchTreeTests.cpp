#include "rules/WatchTree.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace veskline {

TEST(WatchTree, GivesThePathsOfFoldersAndEntries) {
    WatchTree tree("/home/ann");
    tree.add(1, WatchTree::none, "");
    tree.add(2, 1, "docs");
    tree.add(3, 2, "old");
    EXPECT_EQ(tree.path(1), "/home/ann");
    EXPECT_EQ(tree.path(3, "a.txt"), "/home/ann/docs/old/a.txt");
    EXPECT_EQ(tree.namesBelowRoot(3), (std::vector<std::string>{"docs", "old"}));
    EXPECT_EQ(tree.path(9), std::nullopt);

    WatchTree disk("/");
    disk.add(1, WatchTree::none, "");
    disk.add(2, 1, "home");
    EXPECT_EQ(disk.path(1), "/");
    EXPECT_EQ(disk.path(2, "a"), "/home/a");
}

TEST(WatchTree, TakesAllBelowAlong) {
    WatchTree tree("/r");
    tree.add(1, WatchTree::none, "");
    tree.add(2, 1, "a");
    tree.add(3, 1, "b");
    tree.add(4, 2, "inner");
    tree.move(2, 3, "c");
    EXPECT_EQ(tree.path(4), "/r/b/c/inner");
    EXPECT_TRUE(tree.isAt(2, 3, "c"));
    EXPECT_TRUE(tree.isWithin(4, 3));
    tree.detach(3);
    EXPECT_FALSE(tree.isAttached(4));
    EXPECT_EQ(tree.path(4), std::nullopt);
    EXPECT_EQ(tree.remove(3), std::vector<int>{2});
    EXPECT_FALSE(tree.contains(3));
    tree.move(2, 1, "back");
    EXPECT_EQ(tree.path(4), "/r/back/inner");
}

// The table of watches against a map: thousands of watches come and go, so that searches run over gaps and the end.
TEST(WatchTree, FindsEveryWatchAmongManyThatComeAndGo) {
    std::mt19937 random(4711);
    WatchTree tree("/r");
    tree.add(1, WatchTree::none, "");
    std::map<int, std::string> model;
    for (int step = 0; step < 20'000; ++step) {
        const int watch = static_cast<int>(random() % 3000) - 1000;
        if (watch == WatchTree::none || watch == 1) {
            continue;
        }
        if (model.erase(watch) == 1) {
            EXPECT_TRUE(tree.remove(watch).empty());
        } else {
            tree.add(watch, 1, std::to_string(step));
            model[watch] = "/r/" + std::to_string(step);
        }
    }
    ASSERT_EQ(tree.size(), model.size() + 1);
    for (int watch = -1000; watch < 2000; ++watch) {
        const auto known = model.find(watch);
        const auto path = known == model.end() ? std::nullopt : std::optional(known->second);
        EXPECT_EQ(tree.path(watch), watch == 1 ? "/r" : path);
    }
}

} // namespace veskline
