#include "support/OtherConnection.h"
#include "sync/SyncFixture.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cmath>
#include <fstream>

using namespace veskline;
using veskline::testing::InProcessProject;

namespace {

class ProcessFile : public veskline::testing::SyncFixture {
protected:
    void touch(std::string_view name, std::int64_t seconds, long nanoseconds = 0) {
        const timespec times[2] = {{0, UTIME_OMIT}, {seconds, nanoseconds}};
        ASSERT_EQ(::utimensat(AT_FDCWD, (root + "/" + std::string(name)).c_str(), times, 0), 0);
    }
    void failAt(std::string part, InProcessProject::Fault fault = {.status = 500}) {
        project.setFaults([part = std::move(part), fault](std::string_view request) {
            return request.find(part) != std::string_view::npos ? std::optional(fault) : std::nullopt;
        });
    }
};

constexpr const char* digestOfHello = "2cf24dba5fb0a30e26e83b2ac5b9e29e1b161e5c1fa7425e73043362938b9824";

} // namespace

TEST_F(ProcessFile, UploadsRecordsQueuesAndCommitsANewFile) {
    const std::string path = write("Notes.txt", "hello");
    touch("Notes.txt", 1'700'000'000, 250'000'000);
    start();
    EXPECT_EQ(summary(), summaryOf(1, 0, 0, 0));
    const InProcessProject::File* const file = project.fileAt("Notes.txt");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(project.objects[file->storageKey], "hello");
    const std::optional<FileStateRow> row = rowOf("Notes.txt");
    const FileStateRow expected{.path = path,
                                .rootPath = root,
                                .logicalPath = "Notes.txt",
                                .storageKey = file->storageKey,
                                .sha256 = digestOfHello,
                                .bytes = 5,
                                .mtimeMilliseconds = 1'700'000'000'250.0};
    EXPECT_EQ(row, expected);
    EXPECT_EQ(project.jobs, (std::vector<InProcessProject::FileJob>{{file->id, "ingest"}}));
    EXPECT_EQ(project.journal().size(), 5U) << "and nothing beside the file's five requests";
}

TEST_F(ProcessFile, SkipsAnUnchangedFileWithoutADigestARowOrARequest) {
    const std::string path = write("a.txt", "hello");
    touch("a.txt", 1'700'000'000, 123'456'789);
    start();
    // Other content under the same size and time would be seen by a digest.
    write("a.txt", "HELLO");
    touch("a.txt", 1'700'000'000, 123'456'789);
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 1, 0, 0));
    EXPECT_TRUE(project.journal().empty());
    EXPECT_EQ(rowOf("a.txt")->sha256, digestOfHello);
}

TEST_F(ProcessFile, RefreshesTheRowOfAFileWithAnotherTimeAndTheSameContent) {
    write("a.txt", "hello");
    touch("a.txt", 1'700'000'000);
    start();
    FileStateRow row = *rowOf("a.txt");
    row.storageKey = "user-ann/older-form.txt";
    thread.run([&] { return database.upsert(row); });
    touch("a.txt", 1'700'000'000, 1000);
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 1, 0, 0));
    EXPECT_TRUE(project.journal().empty());
    EXPECT_EQ(rowOf("a.txt")->mtimeMilliseconds, 1'700'000'000'000.001);
    EXPECT_EQ(rowOf("a.txt")->storageKey, "user-ann/older-form.txt") << "the key that the content lies under is kept";

    // Its deletion looks the hosted record up under that key.
    project.files["user-ann/older-form.txt"] = InProcessProject::File{.id = "old", .storageKey = row.storageKey};
    removeFile("a.txt");
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 0, 1, 0));
    EXPECT_TRUE(project.files["user-ann/older-form.txt"].isDeleted);
}

TEST_F(ProcessFile, SkipsAFileOverTheLimitAndKeepsItsKey) {
    const std::string path = write("big.pdf", std::string(limit, 'x'));
    write("bigger.pdf", std::string(limit + 1, 'x'));
    start();
    EXPECT_EQ(summary(), summaryOf(1, 1, 0, 0)) << "exactly the limit passes";
    EXPECT_EQ(countLines("File too large for upload, skipped: " + root + "/bigger.pdf"), 1U);
    EXPECT_EQ(rowOf("bigger.pdf")->storageKey, "");
    EXPECT_EQ(rowOf("bigger.pdf")->sha256, "skipped-too-large");

    const std::string key = rowOf("big.pdf")->storageKey;
    write("big.pdf", std::string(limit + 5, 'y'));
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 2, 0, 0));
    EXPECT_EQ(countLines("File too large"), 2U) << "told at every scan, before the comparison with the row";
    EXPECT_EQ(rowOf("big.pdf")->storageKey, key);
    EXPECT_EQ(project.fileAt("big.pdf")->bytes, limit) << "the hosted record stays as it was";

    write("bigger.pdf", "small again");
    removeFile("big.pdf");
    restart();
    EXPECT_EQ(summary(), summaryOf(1, 0, 1, 0));
}

TEST_F(ProcessFile, PausesInRegularModeOnlyBeforeAnUpload) {
    write("a.txt", "a");
    write("b.txt", "b");
    const auto begin = thread.clock().now();
    start(SyncMode::regular);
    EXPECT_EQ(thread.clock().now() - begin, std::chrono::milliseconds(1500));
    restart();
    stop();
    start(SyncMode::regular);
    EXPECT_EQ(thread.clock().now() - begin, std::chrono::milliseconds(1500));
}

TEST_F(ProcessFile, QueuesNoJobForContentThatTheWorkerHasIngested) {
    write("a.txt", "hello");
    start();
    project.ingestAll();
    thread.run([&] { return database.deleteRow(root + "/a.txt"); });
    restart();
    EXPECT_EQ(summary(), summaryOf(1, 0, 0, 0));
    EXPECT_TRUE(project.jobs.empty());
}

TEST_F(ProcessFile, AsksTheServiceForTheUserOnlyWhereTheSessionNamesNone) {
    storeSession(std::nullopt);
    write("a.txt", "hello");
    start();
    EXPECT_EQ(summary(), summaryOf(1, 0, 0, 0));
    EXPECT_EQ(project.requestsWith("GET /auth/v1/user"), 3U);
    EXPECT_NE(rowOf("a.txt")->storageKey.find("user-ann/"), std::string::npos);
}

TEST_F(ProcessFile, LeavesAnItemWhenAStepOfTheUploadFails) {
    struct Row {
        const char* step;
        const char* words;
    };
    const Row rows[] = {
        {"POST /storage/v1/object/files/", "Supabase request failed with status 503"},
        {"POST /rest/v1/files", "Supabase request failed with status 503"},
        {"POST /rest/v1/jobs", "Supabase request failed with status 503"},
    };
    const std::string path = write("a.txt", "hello");
    start();
    for (const Row& step : rows) {
        SCOPED_TRACE(step.step);
        write("a.txt", std::string("hello ") + step.step);
        const FileStateRow before = *rowOf("a.txt");
        thread.run([&] { return retryQueue.write({}); });
        failAt(step.step, {.status = 503});
        restart();
        EXPECT_EQ(summary(), summaryOf(0, 0, 0, 1));
        EXPECT_EQ(countLines("Upload failed, queued for retry: " + path + " (" + step.words + ")"), 1U);
        EXPECT_EQ(rowOf("a.txt"), before);
        const std::vector<RetryQueueItem> items = queue();
        ASSERT_EQ(items.size(), 1U);
        EXPECT_EQ(items[0].localPath, path);
        EXPECT_EQ(items[0].storageKey, before.storageKey);
        EXPECT_EQ(items[0].legacyStorageKey, "user-ann/a-a5e54d1f.txt");
        EXPECT_EQ(items[0].mimeType, "text/plain");
        EXPECT_EQ(items[0].logicalPath, "a.txt");
        EXPECT_EQ(items[0].userID, "ann");
        EXPECT_EQ(items[0].attempts, 0);
        EXPECT_EQ(items[0].lastError, step.words);
        project.setFaults({});
    }
}

TEST_F(ProcessFile, LeavesNoItemForAFailureBeforeTheUpload) {
    write("a.txt", "hello");
    const std::string unreadable = write("b.txt", "x");
    std::filesystem::remove(unreadable);
    ASSERT_EQ(::mkfifo(unreadable.c_str(), 0600), 0) << "no regular file, so the walk leaves it out";
    thread.run([&] { return sessionStore.clear(); });
    start();
    EXPECT_EQ(summary(), summaryOf(0, 0, 0, 1));
    EXPECT_EQ(countLines("Upload failed, queued for retry: " + root + "/a.txt (Not authenticated)"), 1U);
    EXPECT_TRUE(queue().empty());
    EXPECT_TRUE(project.journal().empty());
}

TEST_F(ProcessFile, LeavesAnItemWhenTheStateRowCannotBeWrittenAndUploadsAgain) {
    write("a.txt", "hello");
    project.hold("POST /rest/v1/jobs");
    const async::TaskHandle run =
        async::spawn(thread.executor(), [&] { return coordinator.startSync({root}, SyncMode::ultra); });
    thread.settle();
    ASSERT_EQ(project.heldCount(), 1U);
    {
        veskline::testing::OtherConnection other(folder.at("state.sqlite3"));
        other.lock();
        project.release();
        thread.settle();
    }
    EXPECT_TRUE(run.hasEnded());
    EXPECT_EQ(summary(), summaryOf(0, 0, 0, 1));
    ASSERT_EQ(queue().size(), 1U);
    EXPECT_NE(queue()[0].lastError->find("database is locked"), std::string::npos);
    EXPECT_EQ(rowOf("a.txt"), std::nullopt);
    restart();
    EXPECT_EQ(summary(), summaryOf(1, 0, 0, 0));
}

TEST_F(ProcessFile, RefreshesAnExpiredSessionOnceAndGoesOnWithTheNewTokens) {
    write("a.txt", "hello");
    bool hasExpired = false;
    project.setFaults([&](std::string_view request) -> std::optional<InProcessProject::Fault> {
        if (request.starts_with("POST /storage/v1") && !std::exchange(hasExpired, true)) {
            project.expireAccessToken();
        }
        return std::nullopt;
    });
    start();
    EXPECT_EQ(summary(), summaryOf(1, 0, 0, 0));
    EXPECT_EQ(project.requestsWith("grant_type=refresh_token"), 1U);
    EXPECT_EQ(project.requestsWith("POST /storage/v1"), 2U);
    const std::optional<StoredSession> session = thread.run([&] { return sessionStore.load(); });
    EXPECT_EQ(session->accessToken, project.accessToken());
    EXPECT_EQ(session->refreshToken, project.refreshToken());
}
