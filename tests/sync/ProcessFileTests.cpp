#include "rules/FileRules.h"
#include "support/OtherConnection.h"
#include "sync/SyncFixture.h"

#include <fcntl.h>
#include <sys/stat.h>

using namespace veskline;
using veskline::testing::InProcessProject;

namespace {

class ProcessFile : public veskline::testing::SyncFixture {
protected:
    void touch(std::string_view name, std::int64_t seconds, long nanoseconds = 0) {
        const timespec times[2] = {{0, UTIME_OMIT}, {seconds, nanoseconds}};
        ASSERT_EQ(::utimensat(AT_FDCWD, (root + "/" + std::string(name)).c_str(), times, 0), 0);
    }
};

constexpr const char* digestOfHello = "2cf24dba5fb0a30e26e83b2ac5b9e29e1b161e5c1fa7425e73043362938b9824";

} // namespace

TEST_F(ProcessFile, UploadsRecordsQueuesAndCommitsANewFileAndSkipsItUnchanged) {
    const std::string path = write("Notes.txt", "hello");
    touch("Notes.txt", 1'700'000'000, 250'000'000);
    start();
    EXPECT_EQ(summary(), summaryOf(1, 0, 0, 0));
    const InProcessProject::File* const file = project.fileAt("Notes.txt");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(project.objects[file->storageKey], "hello");
    const FileStateRow row{path, root, "Notes.txt", file->storageKey, digestOfHello, 5, 1'700'000'000'250.0};
    EXPECT_EQ(rowOf("Notes.txt"), row);
    EXPECT_EQ(project.jobs, (std::vector<InProcessProject::FileJob>{{file->id, "ingest"}}));
    EXPECT_EQ(project.journal().size(), 5U) << "and nothing beside the file's five requests";

    // Other content under the same size and time would be seen by a digest.
    write("Notes.txt", "HELLO");
    touch("Notes.txt", 1'700'000'000, 250'000'000);
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 1, 0, 0));
    EXPECT_TRUE(project.journal().empty());
    EXPECT_EQ(rowOf("Notes.txt"), row);
}

TEST_F(ProcessFile, RefreshesTheRowOfAFileWithAnotherTimeAndTheSameContent) {
    write("a.txt", "hello");
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
    write("big.pdf", std::string(limit, 'x'));
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
    EXPECT_TRUE(rowOf("a.txt")->storageKey.starts_with("user-ann/"));
}

TEST_F(ProcessFile, LeavesAnItemWhenAStepOfTheUploadFails) {
    const std::string path = write("a.txt", "hello");
    start();
    const FileStateRow before = *rowOf("a.txt");
    for (const std::string step : {"POST /storage/v1/object/files/", "POST /rest/v1/files", "POST /rest/v1/jobs"}) {
        SCOPED_TRACE(step);
        write("a.txt", "hello " + step);
        thread.run([&] { return retryQueue.write({}); });
        failAt(step, 503);
        restart();
        EXPECT_EQ(summary(), summaryOf(0, 0, 0, 1));
        const std::string words = "Supabase request failed with status 503";
        EXPECT_EQ(countLines("Upload failed, queued for retry: " + path + " (" + words + ")"), 1U);
        EXPECT_EQ(rowOf("a.txt"), before);
        const auto bytes = static_cast<std::int64_t>(step.size() + 6);
        const RetryQueueItem item{path,
                                  before.storageKey,
                                  "user-ann/a-a5e54d1f.txt",
                                  bytes,
                                  "text/plain",
                                  FileRules::sha256Hex(path),
                                  "a.txt",
                                  "ann",
                                  0,
                                  words};
        EXPECT_EQ(queue(), std::vector{item});
    }
}

TEST_F(ProcessFile, LeavesNoItemForAFailureBeforeTheUpload) {
    write("a.txt", "hello");
    thread.run([&] { return sessionStore.clear(); });
    start();
    EXPECT_EQ(summary(), summaryOf(0, 0, 0, 1));
    EXPECT_EQ(countLines("Upload failed, queued for retry: " + root + "/a.txt (Not authenticated)"), 1U);
    EXPECT_TRUE(queue().empty());
    EXPECT_TRUE(project.journal().empty());
}

TEST_F(ProcessFile, LeavesAnItemWhenTheStateRowCannotBeWrittenAndUploadsAgain) {
    write("a.txt", "hello");
    const async::TaskHandle run = beginHeldAt("POST /rest/v1/jobs");
    {
        veskline::testing::OtherConnection other(folder.at("state.sqlite3"));
        other.lock();
        letGo();
    }
    EXPECT_TRUE(run.hasEnded());
    EXPECT_EQ(summary(), summaryOf(0, 0, 0, 1));
    ASSERT_EQ(queue().size(), 1U);
    EXPECT_TRUE(queue()[0].lastError->contains("database is locked"));
    EXPECT_EQ(rowOf("a.txt"), std::nullopt);
    restart();
    EXPECT_EQ(summary(), summaryOf(1, 0, 0, 0));
}
