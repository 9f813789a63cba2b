#include "sync/SyncFixture.h"

#include "platform/async/Spawn.h"

using namespace veskline;
using Items = std::vector<RetryQueueItem>;

namespace {

class RetryDrain : public veskline::testing::SyncFixture {
protected:
    RetryQueueItem item(const std::string& name, const std::string& userID) {
        return RetryQueueItem{.localPath = folder.write("queued/" + name, "content of " + name),
                              .storageKey = "user-" + userID + "/" + name,
                              .bytes = 7,
                              .mimeType = "text/plain",
                              .sha256 = "digest of " + name,
                              .logicalPath = "queued/" + name,
                              .userID = userID,
                              .attempts = 3,
                              .lastError = "an earlier failure"};
    }
    void queueUp(Items items) {
        thread.run([&] { return retryQueue.write(items); });
    }
};

} // namespace

TEST_F(RetryDrain, TriesTheUsersItemsInOrderAndKeepsWhatFailedBehindTheOthers) {
    const RetryQueueItem bobs = item("b.txt", "bob");
    const RetryQueueItem bad = item("bad.txt", "ann");
    RetryQueueItem nobodys = item("bad-n.txt", "");
    nobodys.userID = std::nullopt;
    nobodys.storageKey = "no-prefix/bad-n.txt";
    const RetryQueueItem good = item("good.txt", "ann");
    queueUp({bad, bobs, nobodys, good});
    failAt("/bad", 507);
    start();
    const std::vector<std::string> expected{
        "Retrying 3 pending upload(s) from previous run...",
        "Retry failed for user-ann/bad.txt: Supabase request failed with status 507",
        "Retry failed for no-prefix/bad-n.txt: Supabase request failed with status 507",
        "Retry OK: user-ann/good.txt",
        "Initial scan: " + root,
    };
    EXPECT_EQ(std::vector<std::string>(lines.begin() + 3, lines.begin() + 8), expected);
    const auto failed = [](RetryQueueItem one) {
        one.userID = "ann";
        one.attempts = 4;
        one.lastError = "Supabase request failed with status 507";
        return one;
    };
    EXPECT_EQ(queue(), (Items{bobs, failed(bad), failed(nobodys)}));
    EXPECT_EQ(project.files["user-ann/good.txt"].path, "queued/good.txt");
    EXPECT_EQ(project.files["user-ann/good.txt"].bytes, 7) << "what the item recorded, not what lies there";
    EXPECT_EQ(project.objects["user-ann/good.txt"], "content of good.txt");
    EXPECT_EQ(project.jobs.size(), 1U);
}

TEST_F(RetryDrain, FallsBackWhereAnItemRecordedLittle) {
    RetryQueueItem bare{.localPath = folder.write("queued/x.bin", "x"), .storageKey = "user-ann/x.bin", .bytes = 1};
    queueUp({bare});
    start();
    const auto& file = project.files["user-ann/x.bin"];
    EXPECT_EQ(file.mime + ", " + file.path + ", " + file.sha256, "application/octet-stream, x.bin, ");
    EXPECT_TRUE(project.jobs.empty()) << "absent equals absent";
    EXPECT_EQ(folder.read("retry-queue.json"), "[]") << "an empty array, not a missing file";
    project.files["user-ann/x.bin"].ingestedSHA256 = "something";
    queueUp({bare});
    restart();
    EXPECT_EQ(project.jobs.size(), 1U);
}

TEST_F(RetryDrain, IsSilentWithoutItemsOfTheUser) {
    start();
    EXPECT_FALSE(folder.has("retry-queue.json")) << "no write for an empty queue";
    const Items bobs{item("b.txt", "bob")};
    queueUp(bobs);
    restart();
    EXPECT_EQ(queue(), bobs);
    thread.run([&] { return sessionStore.clear(); });
    restart();
    EXPECT_EQ(queue(), bobs);
    EXPECT_EQ(countLines("Retry"), 0U);
    EXPECT_TRUE(project.journal().empty());
    EXPECT_EQ(countLines("Initial scan complete"), 1U) << "without a user the start goes on";
}

TEST_F(RetryDrain, FailsTheStartWhenTheServiceCannotBeAskedForTheUser) {
    const Items items{item("a.txt", "ann")};
    queueUp(items);
    failAt("", 0);
    EXPECT_THROW(start(), std::exception);
    EXPECT_EQ(lines.back(), "Performing initial scan...");
    EXPECT_EQ(queue(), items);
    heal();
    start();
    EXPECT_TRUE(queue().empty());
}

// What a crash in the midst of a drain leaves: the whole queue, or the other users' items and files to be scanned.
TEST_F(RetryDrain, LeavesAQueueThatNoCrashSpoils) {
    const RetryQueueItem mine = item("a.txt", "ann");
    const RetryQueueItem bobs = item("b.txt", "bob");
    for (const bool hasOthers : {false, true}) {
        queueUp(hasOthers ? Items{bobs, mine} : Items{mine});
        const async::TaskHandle run = beginHeldAt("POST /storage/v1/object/files/user-ann/a.txt");
        EXPECT_EQ(queue(), hasOthers ? Items{bobs} : Items{mine});
        letGo();
        EXPECT_TRUE(run.hasEnded());
        stop();
    }
}

TEST_F(RetryDrain, GoesOnThroughAStopAndHasTheNextStartsDrainWait) {
    queueUp({item("a.txt", "ann"), item("b.txt", "ann")});
    const async::TaskHandle first = beginHeldAt("POST /storage/v1/object/files/user-ann/a.txt");
    stop();
    const async::TaskHandle second = begin({root});
    thread.settle();
    EXPECT_EQ(project.requestsWith("GET /auth/v1/user"), 1U) << "the second drain has not begun";
    letGo();
    EXPECT_TRUE(first.hasEnded() && second.hasEnded());
    EXPECT_EQ(countLines("Retry OK: "), 2U);
    EXPECT_TRUE(queue().empty());
    EXPECT_EQ(countLines("Initial scan: "), 1U) << "the stopped start began no scan";
}
