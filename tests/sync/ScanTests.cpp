#include "support/Unprivileged.h"
#include "sync/SyncFixture.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>

using namespace veskline;
using veskline::testing::InProcessProject;
using veskline::testing::Unprivileged;
namespace fs = std::filesystem;

namespace {

class Scan : public veskline::testing::SyncFixture {
protected:
    [[nodiscard]] std::size_t keepsFilesOf(const std::string& path) const {
        return countLines("Folder not available: " + path + " (");
    }
};

} // namespace

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
    EXPECT_EQ(unsupported, (std::vector<std::int64_t>{0, 0, 1, 2})) << "a new handler is told at once";
    const IndexingProgressSnapshot last{.totalFiles = 3, .scannedFiles = 3, .startedAt = thread.wallTime()};
    EXPECT_EQ(progress.front(), IndexingProgressSnapshot::idle);
    EXPECT_EQ(progress.back(), last);
    EXPECT_TRUE(project.journal().front().contains("/b-")) << "\"b.txt\" stands before \"b/c.txt\"";
}

TEST_F(Scan, DeletesWhatHasGoneAfterAllUploads) {
    write("old name.txt", "hello");
    write("unknown.txt", "a record that has vanished counts as deleted");
    start();
    fs::rename(root + "/old name.txt", root + "/new name.txt");
    project.files.erase(rowOf("unknown.txt")->storageKey);
    removeFile("unknown.txt");
    project.jobs.clear();
    restart();
    EXPECT_EQ(summary(), summaryOf(1, 0, 2, 0));
    EXPECT_TRUE(project.fileAt("old name.txt")->isDeleted);
    EXPECT_EQ(project.jobs, (std::vector<InProcessProject::FileJob>{{project.fileAt("new name.txt")->id, "ingest"},
                                                                    {project.fileAt("old name.txt")->id, "delete"}}));
    EXPECT_EQ(rowOf("old name.txt"), std::nullopt);
    removeFile("new name.txt");
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 0, 1, 0)) << "a root is emptied to its last file";
}

TEST_F(Scan, KeepsTheRowWhenADeletionFailsAndFinishesItLater) {
    const std::string path = write("a.txt", "a");
    start();
    project.jobs.clear();
    removeFile("a.txt");
    failAt("POST /rest/v1/jobs", 502);
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 0, 0, 1));
    EXPECT_EQ(countLines("Delete sync warning for " + path + ": Supabase request failed with status 502"), 1U);
    EXPECT_TRUE(rowOf("a.txt"));
    heal();
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 0, 1, 0));
    EXPECT_TRUE(project.jobs.empty()) << "the record was marked already";
    EXPECT_EQ(rowOf("a.txt"), std::nullopt);
}

TEST_F(Scan, NeverDeletesForAFolderThatIsNotAvailable) {
    write("sub/deep/a.txt", "a");
    write("gone.txt", "b");
    start();
    for (const bool isReplaced : {false, true}) {
        fs::rename(root, root + ".away");
        if (isReplaced) {
            std::ofstream(root) << "a file";
        }
        restart();
        EXPECT_EQ(summary(), summaryOf(0, 0, 0, 0));
        EXPECT_EQ(keepsFilesOf(root), 1U);
        EXPECT_TRUE(project.journal().empty());
        fs::remove(root);
        fs::rename(root + ".away", root);
    }
    removeFile("gone.txt");
    const Unprivileged user(folder.path());
    fs::permissions(root + "/sub", fs::perms::none);
    restart();
    fs::permissions(root + "/sub", fs::perms::owner_all);
    EXPECT_EQ(summary(), summaryOf(0, 0, 1, 0)) << "beside the folder that cannot be listed";
    EXPECT_EQ(keepsFilesOf(root + "/sub"), 1U);
    EXPECT_TRUE(rowOf("sub/deep/a.txt"));
}

TEST_F(Scan, ReportsFoldersThatCannotBeReadAlsoWithoutRows) {
    const std::string missing = folder.at("missing");
    folder.write("plain.txt", "a file, not a folder");
    write("readable.txt", "a");
    fs::create_directories(root + "/b/locked");
    fs::create_directories(root + "/a");
    const Unprivileged user(folder.path());
    fs::permissions(root + "/b/locked", fs::perms::none);
    fs::permissions(root + "/a", fs::perms::none);
    start({missing, folder.at("plain.txt"), root});
    std::vector<std::string> told;
    std::ranges::copy_if(lines, std::back_inserter(told),
                         [](const std::string& line) { return line.starts_with("Folder not available"); });
    fs::permissions(root + "/b/locked", fs::perms::owner_all);
    fs::permissions(root + "/a", fs::perms::owner_all);
    EXPECT_EQ(told, (std::vector<std::string>{
                        "Folder not available: " + missing + " (No such file or directory)",
                        "Folder not available: " + folder.at("plain.txt") + " (Not a directory)",
                        "Folder not available: " + root + "/a (Permission denied)",
                        "Folder not available: " + root + "/b/locked (Permission denied)",
                    }));
    EXPECT_EQ(summary(), summaryOf(1, 0, 0, 0));
}

// An empty folder where a volume is mounted at other times, and one below the root that is gone altogether.
TEST_F(Scan, NeverDeletesForAVolumeThatIsNotMounted) {
    write("a.txt", "a");
    write("usb/b.txt", "b");
    start();
    removeFile("a.txt");
    removeFile("usb");
    const std::string key = "file_systems " + root;
    platform::Json known = platform::Json::parse(*thread.run([&] { return database.preference(key); }));
    storePreference(key, platform::Json{{root, "another"}}.dump());
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 0, 0, 0));
    EXPECT_EQ(keepsFilesOf(root), 1U);

    known[root + "/usb"] = "a stick";
    storePreference(key, known.dump());
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 0, 1, 0));
    EXPECT_EQ(keepsFilesOf(root + "/usb"), 1U);
    EXPECT_TRUE(rowOf("usb/b.txt"));

    write("usb/b.txt", "b, on the same file system as the rest");
    restart();
    removeFile("usb");
    restart();
    EXPECT_EQ(summary(), summaryOf(0, 0, 1, 0)) << "where it really was emptied, it is deleted";
}

TEST_F(Scan, LooksAtTheRowsOfItsOwnRootAlone) {
    write("sub/a.txt", "a");
    start({root, root + "/sub"});
    EXPECT_EQ(countLines("Summary: uploaded 1"), 2U) << "another root's row is no previous row";
    EXPECT_EQ(rowOf("sub/a.txt")->rootPath, root + "/sub");
}

TEST_F(Scan, StoresFoldersAsGivenAndWorksOnThemStandardised) {
    write("a.txt", "a");
    const std::string given = root + "/../documents/./";
    start({given});
    EXPECT_EQ(lines[1], "Folders: " + given);
    EXPECT_EQ(lines[3], "Initial scan: " + root);
    EXPECT_EQ(rowOf("a.txt")->rootPath, root);
    EXPECT_EQ(snapshot().folders, std::vector<std::string>{given});
}

// What happens to files between their listing and their turn, while the first of them is on the wire.
TEST_F(Scan, GoesOnOverFilesThatChangeUnderItsHands) {
    write("a.txt", "first");
    const std::string vanished = write("b.txt", "vanishes");
    const std::string closed = write("c.txt", "loses its permission");
    write("d.txt", "grows");
    const std::string folderNow = write("e.txt", "becomes a folder");
    const Unprivileged user(folder.path());
    const async::TaskHandle run = beginHeldAt("POST /storage/v1/object");
    removeFile("b.txt");
    fs::permissions(closed, fs::perms::none);
    write("d.txt", "grows and grows");
    removeFile("e.txt");
    fs::create_directory(folderNow);
    letGo();
    ASSERT_TRUE(run.hasEnded());
    EXPECT_EQ(summary(), summaryOf(2, 0, 0, 3));
    for (const std::string& path : {vanished, closed, folderNow}) {
        EXPECT_EQ(countLines("Upload failed, queued for retry: " + path + " (The file \"" + path + "\" could not be "),
                  1U);
    }
    EXPECT_TRUE(queue().empty()) << "nothing was sent of them";
    EXPECT_EQ(rowOf("d.txt")->bytes, 15) << "attributes are read at the file's turn";
}
