#include "state/RetryQueueStore.h"

#include "state/Stored.h"

#include <gtest/gtest.h>

using namespace veskline;
using Store = veskline::testing::Stored<RetryQueueStore>;
using Items = std::vector<RetryQueueItem>;

namespace {

RetryQueueItem item(const std::string& path, const std::string& key = "k", std::optional<std::string> owner = {}) {
    return {.localPath = path, .storageKey = key, .bytes = 5, .userID = std::move(owner), .attempts = 1};
}

const std::string oneItem = "[\n  {\n    \"attempts\": 1,\n    \"bytes\": 5,\n    \"localPath\": \"/a\",\n"
                            "    \"storageKey\": \"k\"\n  }\n]";

} // namespace

TEST(RetryQueueStore, KeepsEachFieldUnderItsName) {
    const std::string full = R"([{"attempts":2,"bytes":7,"lastError":"e","legacyStorageKey":"l","localPath":"/p",)"
                             R"("logicalPath":"p","mimeType":"m","sha256":"s","storageKey":"k","userID":"u"}])";
    Store stored;
    stored.folder.write("own", full);
    stored.run(&RetryQueueStore::write, stored.run(&RetryQueueStore::read));
    std::string text = stored.folder.read("own");
    std::erase_if(text, [](char c) { return c == ' ' || c == '\n'; });
    EXPECT_EQ(text, full);
}

TEST(RetryQueueStore, AppendsToWhateverIsThere) {
    const auto withBytes = [](const std::string& number) {
        return R"([{"localPath":"/a","storageKey":"k","bytes":5,"attempts":1},
                   {"localPath":"/b","storageKey":"k","bytes":)" +
               number + R"(,"attempts":1}])";
    };
    struct Row {
        const char* name;
        std::string own, older;
        Items items;
    };
    const Items last{item("/last")};
    const Row rows[] = {
        {"nothing", "nothing", "nothing", last},
        {"one item", oneItem, "nothing", {item("/a"), item("/last")}},
        {"the older queue", "nothing", oneItem, {item("/a"), item("/last")}},
        {"its own before the older", "[]", oneItem, last},
        {"an invalid one hides the older", "nonsense", oneItem, last},
        {"a fraction fails the whole queue", withBytes("5.5"), "nothing", last},
        {"a boolean fails the whole queue", withBytes("true"), "nothing", last},
        {"an overflow fails the whole queue", withBytes("9223372036854775808"), "nothing", last},
        {"no default", R"([{"localPath":"/a","storageKey":"k","bytes":5}])", "nothing", last},
        {"an invalid older one", "nothing", withBytes("null"), last},
    };
    for (const auto& [name, own, older, items] : rows) {
        Store stored;
        stored.put("own", own);
        stored.put("older", older);
        stored.run(&RetryQueueStore::append, item("/last"));
        EXPECT_EQ(stored.run(&RetryQueueStore::read), items) << name;
        EXPECT_EQ(stored.folder.read("older"), older == "nothing" ? "" : older) << name;
    }
}

TEST(RetryQueueStore, TakesTheOlderQueueOverOnceAlsoWhenItIsEmpty) {
    Store stored;
    stored.folder.write("older", "[]");
    EXPECT_EQ(stored.run(&RetryQueueStore::read), Items());
    stored.folder.write("older", oneItem);
    EXPECT_EQ(stored.run(&RetryQueueStore::read), Items());
}

TEST(RetryQueueStore, SplitsTheQueueByOwnerAndKeepsItsOrder) {
    const RetryQueueStore::Partition expected{
        .active = {item("/1", "user-abc/root-1/x", "abc"), item("/2", "user-other/x", "abc"),
                   item("/3", "user-abc/file.txt"), item("/4", "files/user-other/x"), item("/5", "User-other/x"),
                   item("/6", "user-"), item("/7", "user-//"), item("/8", "user-//abc//x"), item("/9", "user-abc")},
        .deferred = {item("/a", "user-abc/x", "other"), item("/b", "user-abcd/root-1/x"), item("/c", "user-/x"),
                     item("/d", "user-abc/x", "")}};
    Items all = expected.deferred;
    all.insert(all.begin() + 1, expected.active.begin(), expected.active.end());
    Store stored;
    stored.run(&RetryQueueStore::write, all);
    EXPECT_EQ(stored.run(&RetryQueueStore::partition, "abc"), expected);
    EXPECT_EQ(stored.run(&RetryQueueStore::read), all);
}

// Reading the memory of a process at address 0 fails like a disk with a bad block (proc(5)).
TEST(RetryQueueStore, DoesNotReplaceAQueueThatCannotBeReadForTheMoment) {
    Store stored;
    std::filesystem::create_symlink("/proc/self/mem", stored.place.path);
    stored.folder.write("older", oneItem);
    EXPECT_EQ(stored.run(&RetryQueueStore::read), Items());
    EXPECT_EQ(stored.failureOf(&RetryQueueStore::append, item("/a")),
              "The file \"" + stored.place.path + "\" could not be read: Input/output error");
    EXPECT_TRUE(std::filesystem::is_symlink(stored.place.path));
}
