#include "support/Unprivileged.h"
#include "sync/SyncFixture.h"

#include <nlohmann/json.hpp>

#include <fstream>

using namespace veskline;
using veskline::testing::InProcessProject;

namespace {

class Scan : public veskline::testing::SyncFixture {};

} // namespace

TEST_F(Scan, LogsAnEmptyRootAndReportsItsProgress) {
    const std::vector<std::string> expected{
        "Starting sync (ultra)...",   "Folders: " + root,    "Performing initial scan...", "Initial scan: " + root,
        "Found 0 files. Indexing...", summaryOf(0, 0, 0, 0), "Initial scan complete",      "Watching " + root + " ...",
    };
    EXPECT_EQ(start(), expected);
    const IndexingProgressSnapshot last{.totalFiles = 0, .startedAt = thread.wallTime()};
    EXPECT_EQ(progress.back(), last);
}

TEST_F(Scan, UploadsInTheOrderOfWholePathsAndCountsOverAllRoots) {
    write("b/c.txt", "1");
    write("b.txt", "2");
    write("photo.png", "3");
    const std::string second = folder.makeFolder("second");
    folder.write("second/x.md", "4");
    folder.write("second/tool.exe", "5");
    start({root, second});
    const std::vector<std::string> expected{
        "Starting sync (ultra)...",
        "Folders: " + root + ", " + second,
        "Performing initial scan...",
        "Initial scan: " + root,
        "Unsupported file type skipped: " + root + "/photo.png",
        "Found 2 files. Indexing...",
        "Scanned: 1",
        "Scanned: 2",
        summaryOf(2, 0, 0, 0),
        "Initial scan: " + second,
        "Unsupported file type skipped: " + second + "/tool.exe",
        "Found 3 files. Indexing...",
        "Scanned: 3",
        summaryOf(1, 0, 0, 0),
        "Initial scan complete",
        "Watching " + root + ", " + second + " ...",
    };
    EXPECT_EQ(lines, expected);
    EXPECT_EQ(unsupported, (std::vector<std::int64_t>{0, 0, 1, 2}));
    EXPECT_NE(project.journal().front().find("/b-"), std::string::npos);
    EXPECT_EQ(project.journal().front().find("/c-"), std::string::npos) << "\"b.txt\" stands before \"b/c.txt\"";
}

TEST_F(Scan, DeletesWhatHasGoneAfterAllUploads) {
    write("old name.txt", "hello");
    start();
    std::filesystem::rename(root + "/old name.txt", root + "/new name.txt");
    restart();
    EXPECT_EQ(summary(), summaryOf(1, 0, 1, 0));
    EXPECT_TRUE(project.fileAt("old name.txt")->isDeleted);
    EXPECT_FALSE(project.fileAt("new name.txt")->isDeleted);
    EXPECT_EQ(project.jobs.back(), (InProcessProject::FileJob{project.fileAt("old name.txt")->id, "delete"}));
    EXPECT_EQ(rowOf("old name.txt"), std::nullopt);
}

TEST_F(Scan, TakesAnExcludedFileForGoneAndAVanishedRecordForDeleted) {
    write("a.txt", "a");
    write("b.txt", "b");
    start();
    std::filesystem::create_directories(root + "/node_modules");
    std::filesystem::rename(root + "/a.txt", root + "/node_modules/a.txt");
    project.files.erase(rowOf("b.txt")->storageKey);
    removeFile("b.txt");
    project.jobs.clear();
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 0, 2, 0));
    EXPECT_EQ(project.jobs.size(), 1U);
}

TEST_F(Scan, KeepsTheRowWhenADeletionFailsAndFinishesItLater) {
    const std::string path = write("a.txt", "a");
    start();
    project.jobs.clear();
    removeFile("a.txt");
    project.setFaults([](std::string_view request) {
        return request == "POST /rest/v1/jobs" ? std::optional(InProcessProject::Fault{.status = 502}) : std::nullopt;
    });
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 0, 0, 1));
    EXPECT_EQ(countLines("Delete sync warning for " + path + ": Supabase request failed with status 502"), 1U);
    EXPECT_TRUE(rowOf("a.txt"));
    project.setFaults({});
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 0, 1, 0));
    EXPECT_TRUE(project.jobs.empty()) << "the record was marked already";
    EXPECT_EQ(rowOf("a.txt"), std::nullopt);
}

TEST_F(Scan, EmptiesARootFileByFileTheLastOneToo) {
    write("a.txt", "a");
    write("b.txt", "b");
    start();
    removeFile("a.txt");
    removeFile("b.txt");
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 0, 2, 0));
}

TEST_F(Scan, NeverDeletesForAFolderThatIsNotAvailable) {
    struct Row {
        const char* name;
        void (*takeAway)(const std::string& root);
    };
    const Row rows[] = {
        {"missing", [](const std::string& at) { std::filesystem::rename(at, at + ".away"); }},
        {"replaced by a file",
         [](const std::string& at) {
             std::filesystem::rename(at, at + ".away");
             std::ofstream(at) << "x";
         }},
        {"a link to nowhere",
         [](const std::string& at) {
             std::filesystem::rename(at, at + ".away");
             std::filesystem::create_symlink("/nowhere/at/all", at);
         }},
    };
    write("sub/a.txt", "a");
    write("b.txt", "b");
    start();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        row.takeAway(root);
        restart();
        EXPECT_EQ(summary(), summaryOf(0, 0, 0, 0));
        EXPECT_EQ(countLines("Folder not available, its files are kept: " + root + " ("), 1U);
        EXPECT_TRUE(project.journal().empty());
        EXPECT_TRUE(rowOf("b.txt"));
        std::filesystem::remove(root);
        std::filesystem::rename(root + ".away", root);
    }
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 2, 0, 0));
}

TEST_F(Scan, KeepsTheRowsBelowAFolderThatCannotBeListed) {
    write("sub/deep/a.txt", "a");
    write("gone.txt", "b");
    start();
    removeFile("gone.txt");
    const veskline::testing::Unprivileged user(folder.path());
    std::filesystem::permissions(root + "/sub", std::filesystem::perms::none);
    restart();
    std::filesystem::permissions(root + "/sub", std::filesystem::perms::owner_all);
    EXPECT_EQ(summary(), summaryOf(0, 0, 1, 0));
    EXPECT_EQ(countLines("Folder not available, its files are kept: " + root + "/sub ("), 1U);
    EXPECT_TRUE(rowOf("sub/deep/a.txt"));
}

// An empty folder where a volume is mounted at other times, and one below the root that is gone altogether.
TEST_F(Scan, NeverDeletesForAVolumeThatIsNotMounted) {
    write("a.txt", "a");
    write("usb/b.txt", "b");
    start();
    removeFile("a.txt");
    removeFile("usb");
    const std::string key = "file_systems " + root;
    const std::string here = *thread.run([&] { return database.preference(key); });
    const std::string elsewhere = platform::encodeCompact(platform::Json{{root, "another"}});
    thread.run([&] { return database.setPreference(elsewhere, key); });
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 0, 0, 0));
    EXPECT_EQ(countLines("Folder not available, its files are kept: " + root + " ("), 1U);

    platform::Json both = platform::Json::parse(here);
    both[root + "/usb"] = "a stick";
    thread.run([&] { return database.setPreference(both.dump(), key); });
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 0, 1, 0));
    EXPECT_EQ(countLines("Folder not available, its files are kept: " + root + "/usb ("), 1U);
    EXPECT_TRUE(rowOf("usb/b.txt"));

    write("usb/b.txt", "b, on the same file system as the rest");
    restart();
    EXPECT_EQ(summary(), summaryOf(1, 0, 0, 0));
    removeFile("usb");
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 0, 1, 0)) << "where it really was emptied, it is deleted";
}

TEST_F(Scan, LooksAtTheRowsOfItsOwnRootAlone) {
    write("sub/a.txt", "a");
    start({root, root + "/sub"});
    EXPECT_EQ(countLines("Summary: uploaded 1"), 2U) << "another root's row is no previous row";
    EXPECT_EQ(rowOf("sub/a.txt")->rootPath, root + "/sub");
    stop();
    start({root});
    EXPECT_EQ(summary(), summaryOf(1, 0, 0, 0));
}

TEST_F(Scan, StoresFoldersAsGivenAndWorksOnThemStandardised) {
    write("a.txt", "a");
    start({root + "/../documents/./"});
    EXPECT_EQ(lines[1], "Folders: " + root + "/../documents/./");
    EXPECT_EQ(lines[3], "Initial scan: " + root);
    EXPECT_EQ(rowOf("a.txt")->rootPath, root);
    const SyncStateSnapshot snapshot = thread.run([&] { return coordinator.restoreSnapshot(); });
    EXPECT_EQ(snapshot.folders, std::vector<std::string>{root + "/../documents/./"});
}

// What happens to files between their listing and their turn, while the first of them is on the wire.
TEST_F(Scan, GoesOnOverFilesThatChangeUnderItsHands) {
    write("a.txt", "first");
    const std::string vanished = write("b.txt", "vanishes");
    const std::string unreadable = write("c.txt", "loses its permission");
    write("d.txt", "grows");
    const std::string folderNow = write("e.txt", "becomes a folder");
    const veskline::testing::Unprivileged user(folder.path());
    project.hold("POST /storage/v1/object");
    const async::TaskHandle run =
        async::spawn(thread.executor(), [&] { return coordinator.startSync({root}, SyncMode::ultra); });
    thread.settle();
    removeFile("b.txt");
    std::filesystem::permissions(unreadable, std::filesystem::perms::none);
    write("d.txt", "grows and grows");
    removeFile("e.txt");
    std::filesystem::create_directory(folderNow);
    project.release();
    thread.settle();
    ASSERT_TRUE(run.hasEnded());
    EXPECT_EQ(summary(), summaryOf(2, 0, 0, 3));
    EXPECT_EQ(
        countLines("Upload failed, queued for retry: " + vanished + " (The file \"" + vanished + "\" could not be "),
        1U);
    EXPECT_EQ(countLines("Upload failed, queued for retry: " + unreadable + " ("), 1U);
    EXPECT_TRUE(queue().empty()) << "nothing was sent of them";
    EXPECT_EQ(rowOf("d.txt")->bytes, 15) << "attributes are read at the file's turn";
    std::filesystem::permissions(unreadable, std::filesystem::perms::owner_all);
    restart();
    EXPECT_EQ(summary(), summaryOf(1, 2, 0, 0));
}
