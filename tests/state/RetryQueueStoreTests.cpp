#include "state/RetryQueueStore.h"

#include "Faults.h"
#include "platform/async/Spawn.h"
#include "platform/async/ThreadPool.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace veskline {
namespace {

using Items = std::vector<RetryQueueItem>;

struct Setting {
    TemporaryFolder folder;
    async::ThreadPool pool{4};
    RetryQueueStore store{pool.executor(), {.path = folder.at("queue.json")}, folder.at("older.json")};

    Items read() {
        return async::runBlocking(pool.executor(), [&] { return store.read(); });
    }
    void append(const RetryQueueItem& item) {
        async::runBlocking(pool.executor(), [&] { return store.append(item); });
    }
};

RetryQueueItem item(const std::string& path, const std::string& key = "k", std::optional<std::string> owner = {}) {
    return {.localPath = path, .storageKey = key, .bytes = 5, .userID = std::move(owner), .attempts = 1};
}

const std::string oneItem = "[\n  {\n    \"attempts\": 1,\n    \"bytes\": 5,\n    \"localPath\": \"/a\",\n"
                            "    \"storageKey\": \"k\"\n  }\n]";

TEST(RetryQueueStore, AppendsToWhateverIsThere) {
    const auto withBytes = [](const std::string& number) {
        return R"([{"localPath":"/a","storageKey":"k","bytes":5,"attempts":1},
                   {"localPath":"/b","storageKey":"k","bytes":)" +
               number + R"(,"attempts":1}])";
    };
    struct Case {
        const char* name;
        std::string own;
        std::string older;
        Items items;
    };
    const Items last{item("/last")};
    const Case cases[] = {
        {"nothing", "none", "none", last},
        {"one item", oneItem, "none", {item("/a"), item("/last")}},
        {"the older queue", "none", oneItem, {item("/a"), item("/last")}},
        {"its own before the older", "[]", oneItem, last},
        {"an invalid one hides the older", "nonsense", oneItem, last},
        {"a fraction fails the whole queue", withBytes("5.5"), "none", last},
        {"a boolean fails the whole queue", withBytes("true"), "none", last},
        {"an overflow fails the whole queue", withBytes("9223372036854775808"), "none", last},
        {"an invalid older one", "none", withBytes("null"), last},
    };
    for (const Case& one : cases) {
        Setting setting;
        one.own == "none" ? "" : setting.folder.write("queue.json", one.own);
        one.older == "none" ? "" : setting.folder.write("older.json", one.older);
        setting.append(item("/last"));
        EXPECT_EQ(setting.read(), one.items) << one.name;
        EXPECT_EQ(setting.folder.read("older.json"), one.older == "none" ? "" : one.older) << one.name;
    }
}

TEST(RetryQueueStore, TakesTheOlderQueueOverAlsoWhenItIsEmpty) {
    for (const std::string& older : {std::string("[]"), oneItem}) {
        Setting setting;
        setting.folder.write("older.json", older);
        const Items taken = setting.read();
        EXPECT_EQ(setting.folder.read("queue.json"), older);
        setting.folder.write("older.json", "changed");
        EXPECT_EQ(setting.read(), taken);
    }
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
    Setting setting;
    async::runBlocking(setting.pool.executor(), [&] { return setting.store.write(all); });
    const auto found = async::runBlocking(setting.pool.executor(), [&] { return setting.store.partition("abc"); });
    EXPECT_EQ(found, expected);
    EXPECT_EQ(setting.read(), all);
}

TEST(RetryQueueStore, LosesNoItemOfConcurrentAppends) {
    Setting setting;
    std::vector<async::TaskHandle> tasks;
    for (int number = 0; number < 50; ++number) {
        const auto append = [&setting, number] { return setting.store.append(item(std::to_string(number))); };
        tasks.push_back(async::spawn(setting.pool.executor(), append));
    }
    for (const async::TaskHandle& task : tasks) {
        task.waitBlocking();
    }
    EXPECT_EQ(setting.read().size(), 50U);
}

TEST(RetryQueueStore, KeepsOldFileWhenWriteFails) {
    Setting setting;
    setting.append(item("/a"));
    EXPECT_EQ(test::failureOf([&] { setting.append(item("/\xff")); }),
              "The value of \"[1].localPath\" cannot be written as JSON: it is not valid UTF-8");
    const test::FileSizeLimit limit(100);
    EXPECT_EQ(test::failureOf([&] { setting.append(item("/b")); }),
              "The file \"" + setting.folder.at("queue.json") + "\" could not be written: File too large");
    EXPECT_EQ(setting.folder.read("queue.json"), oneItem);
}

// Reading the memory of a process at address 0 fails like a disk with a bad block (proc(5)).
TEST(RetryQueueStore, DoesNotReplaceAQueueThatCannotBeReadForTheMoment) {
    Setting setting;
    std::filesystem::create_symlink("/proc/self/mem", setting.folder.at("queue.json"));
    setting.folder.write("older.json", oneItem);
    EXPECT_EQ(setting.read(), Items());
    EXPECT_EQ(test::failureOf([&] { setting.append(item("/a")); }),
              "The file \"" + setting.folder.at("queue.json") + "\" could not be read: Input/output error");
    EXPECT_TRUE(std::filesystem::is_symlink(setting.folder.at("queue.json")));
}

} // namespace
} // namespace veskline
