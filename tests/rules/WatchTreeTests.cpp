#include "rules/WatchTree.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

using namespace veskline;

TEST(WatchTree, GivesPathsBelowASlash) {
    WatchTree disk("/");
    disk.add(1, WatchTree::none, "");
    disk.add(2, 1, "home");
    EXPECT_EQ(disk.path(1), "/");
    EXPECT_EQ(disk.path(2, "a"), "/home/a");
    EXPECT_EQ(disk.path(9), std::nullopt);
}

// The table of watches against a map: thousands of watches come and go, so that searches run over gaps and the end.
TEST(WatchTree, FindsEveryWatchAmongManyThatComeAndGo) {
    std::mt19937 random(4711);
    WatchTree tree("/r");
    tree.add(5000, WatchTree::none, "");
    std::map<int, std::string> model;
    for (int step = 0; step < 20'000; ++step) {
        const int watch = static_cast<int>(random() % 3000);
        if (model.erase(watch) == 1) {
            EXPECT_TRUE(tree.remove(watch).empty());
        } else {
            tree.add(watch, 5000, std::to_string(step));
            model[watch] = "/r/" + std::to_string(step);
        }
    }
    for (int watch = 0; watch < 3000; ++watch) {
        const auto known = model.find(watch);
        EXPECT_EQ(tree.path(watch), known == model.end() ? std::nullopt : std::optional(known->second));
    }
}
