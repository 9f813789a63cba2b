#include "support/OtherConnection.h"
#include "sync/SyncFixture.h"

#include "platform/async/Spawn.h"

#include <algorithm>

using namespace veskline;
using veskline::testing::InProcessProject;
using veskline::testing::OtherConnection;

namespace {

class StartStop : public veskline::testing::SyncFixture {
protected:
    [[nodiscard]] async::TaskHandle beginStart(const std::vector<std::string>& roots) {
        return async::spawn(thread.executor(), [this, roots] { return coordinator.startSync(roots, SyncMode::ultra); });
    }
    [[nodiscard]] async::TaskHandle beginStop() {
        return async::spawn(thread.executor(), [this] { return coordinator.stopSync(); });
    }
    [[nodiscard]] bool hasLineAfter(std::string_view first, std::string_view later) const {
        const auto at = std::ranges::find(lines, first);
        return std::any_of(at, lines.end(), [&](const std::string& line) { return line.starts_with(later); });
    }
    // Everything on the disk is on the hosted side, and nothing that is not on the disk is alive there.
    void expectLevel(const std::map<std::string, std::string>& disk) {
        std::map<std::string, std::string> alive;
        for (const auto& [key, file] : project.files) {
            if (!file.isDeleted) {
                alive[file.path] = project.objects[key];
            }
        }
        EXPECT_EQ(alive, disk);
    }
};

} // namespace

TEST_F(StartStop, IsSilentWithoutFoldersWhileRunningAndWhenIdle) {
    EXPECT_TRUE(start(std::vector<std::string>{}).empty());
    stop();
    EXPECT_TRUE(lines.empty());
    start();
    EXPECT_TRUE(start({folder.makeFolder("other")}, SyncMode::regular).empty()) << "a second start changes nothing";
    const SyncStateSnapshot snapshot = thread.run([&] { return coordinator.restoreSnapshot(); });
    const SyncStateSnapshot expected{.user = StoredUser{.id = "ann", .email = "ann@example.com"},
                                     .running = true,
                                     .folders = {root},
                                     .mode = SyncMode::ultra,
                                     .autoStart = true};
    EXPECT_EQ(snapshot, expected);
    stop();
    EXPECT_EQ(lines, std::vector<std::string>{"Sync stopped."});
}

TEST_F(StartStop, RestoresWhatItCanAndFallsBackForTheRest) {
    struct Row {
        const char* name;
        std::string folders, mode, autoIndex;
        SyncStateSnapshot expected;
    };
    const StoredUser ann{.id = "ann", .email = "ann@example.com"};
    const Row rows[] = {
        {"as stored", R"(["/a","/b"])", "ultra", "true", {ann, false, {"/a", "/b"}, SyncMode::ultra, true}},
        {"no JSON", "[\"/a\"", "turbo", "TRUE", {ann, false, {}, SyncMode::regular, false}},
        {"not all texts", "[\"/a\", 1]", "", "", {ann, false, {}, SyncMode::regular, false}},
    };
    EXPECT_EQ(thread.run([&] { return coordinator.restoreSnapshot(); }), (SyncStateSnapshot{.user = ann}));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        thread.run([&] { return database.setPreference(row.folders, "watched_folders"); });
        thread.run([&] { return database.setPreference(row.mode, "pref_mode"); });
        thread.run([&] { return database.setPreference(row.autoIndex, "auto_index"); });
        EXPECT_EQ(thread.run([&] { return coordinator.restoreSnapshot(); }), row.expected);
    }
    project.setFaults([](std::string_view) { return std::optional(InProcessProject::Fault{.status = 0}); });
    EXPECT_EQ(thread.run([&] { return coordinator.restoreSnapshot(); }).user, std::nullopt);
}

TEST_F(StartStop, StopsAtTheNextFileAndLeavesTheRestForTheNextStart) {
    write("a.txt", "a");
    write("b.txt", "b");
    write("gone.txt", "c");
    start();
    stop();
    write("a.txt", "a2");
    write("b.txt", "b2");
    removeFile("gone.txt");
    lines.clear();
    project.hold("POST /storage/v1/object");
    const async::TaskHandle run = beginStart({root});
    thread.settle();
    stop();
    EXPECT_EQ(lines.back(), "Sync stopped.");
    project.release();
    thread.settle();
    EXPECT_TRUE(run.hasEnded());
    EXPECT_EQ(lines.back(), summaryOf(1, 0, 0, 0)) << "the file in flight ended, the delete pass was left out";
    EXPECT_FALSE(hasLineAfter("Sync stopped.", "Initial scan"));
    EXPECT_FALSE(progress.back().isActive);
    start();
    EXPECT_EQ(summary(), summaryOf(1, 1, 1, 0));
    expectLevel({{"a.txt", "a2"}, {"b.txt", "b2"}});
}

TEST_F(StartStop, RunsTheDeletePassAfterAStopDuringTheLastFile) {
    write("a.txt", "a");
    write("gone.txt", "b");
    start();
    stop();
    write("a.txt", "a2");
    removeFile("gone.txt");
    lines.clear();
    project.hold("POST /storage/v1/object");
    const async::TaskHandle run = beginStart({root});
    thread.settle();
    stop();
    project.release();
    thread.settle();
    EXPECT_EQ(lines.back(), summaryOf(1, 0, 1, 0));
}

// Stops a start that has work of every kind, after each number of steps until it is over before the stop comes.
TEST_F(StartStop, EndsAStartWhereverTheStopComesAndTheNextOneFinishesIt) {
    const std::string second = folder.makeFolder("second");
    bool wasOverBefore = false;
    int rounds = 0;
    for (; !wasOverBefore; ++rounds) {
        SCOPED_TRACE(rounds);
        const std::string text = "round " + std::to_string(rounds);
        write("a.txt", text);
        write("old.txt", text);
        folder.write("second/b.txt", text);
        start({root, second});
        stop();
        write("a.txt", text + ", changed");
        removeFile("old.txt");
        folder.write("second/b.txt", text + ", changed");
        lines.clear();
        const async::TaskHandle run = beginStart({root, second});
        for (int step = 0; step < rounds && thread.step(); ++step) {
        }
        wasOverBefore = run.hasEnded();
        const async::TaskHandle stopping = beginStop();
        thread.settle();
        ASSERT_TRUE(run.hasEnded() && stopping.hasEnded());
        if (!wasOverBefore && countLines("Initial scan complete") == 0) {
            EXPECT_FALSE(hasLineAfter("Sync stopped.", "Initial scan"));
            EXPECT_FALSE(hasLineAfter("Sync stopped.", "Starting sync"));
        }
        EXPECT_FALSE(progress.back().isActive);
        // A stop that came before the start itself found nothing to stop.
        stop();
        start({root, second});
        expectLevel({{"a.txt", text + ", changed"}, {"b.txt", text + ", changed"}});
        EXPECT_TRUE(queue().empty());
        stop();
        project.files.clear();
        for (const std::string& path : {root + "/a.txt", second + "/b.txt"}) {
            thread.run([&] { return database.deleteRow(path); });
        }
    }
    EXPECT_GT(rounds, 50) << "the start has that many steps to stop between";
}

TEST_F(StartStop, LeavesTheOldRunsScanBehindWhenANewOneBegins) {
    write("a.txt", "a");
    write("b.txt", "b");
    project.hold("POST /storage/v1/object");
    const async::TaskHandle first = beginStart({root});
    thread.settle();
    stop();
    const async::TaskHandle second = beginStart({root});
    thread.settle();
    project.release();
    thread.settle();
    EXPECT_TRUE(first.hasEnded() && second.hasEnded());
    EXPECT_EQ(countLines(summaryOf(1, 0, 0, 0)), 1U) << "the old run ended after the file it was at";
    EXPECT_EQ(countLines("Summary: "), 2U);
    EXPECT_EQ(countLines("Initial scan complete"), 1U);
    EXPECT_EQ(countLines("Scanned: "), 2U) << "what the old run finished late counts nowhere";
    EXPECT_EQ(progress.back().scannedFiles, 2);
    expectLevel({{"a.txt", "a"}, {"b.txt", "b"}});
}

TEST_F(StartStop, StandsStillAfterAFailedStartSoThatTheNextOneWorks) {
    write("a.txt", "a");
    {
        OtherConnection other(folder.at("state.sqlite3"));
        other.lock();
        EXPECT_THROW(start(), std::exception);
    }
    EXPECT_TRUE(lines.empty()) << "it failed before it had anything to tell";
    EXPECT_TRUE(progress.back().isActive) << "the progress stays as it stood";
    start();
    EXPECT_EQ(summary(), summaryOf(1, 0, 0, 0));
}

TEST_F(StartStop, ReportsTheScansOwnFailureAndSkipsTheRootsBehindIt) {
    const std::string second = folder.makeFolder("second");
    write("a.txt", "a");
    OtherConnection(folder.at("state.sqlite3")).run("drop table files");
    EXPECT_THROW(start({root, second}), std::exception);
    EXPECT_EQ(lines.back(), "Initial scan: " + root);
}

TEST_F(StartStop, SignsOutAndStopsAndKeepsWhatBelongsToTheMachine) {
    write("a.txt", "a");
    start();
    thread.run([&] { return coordinator.signOut(); });
    EXPECT_EQ(lines.back(), "Sync stopped.");
    EXPECT_EQ(thread.run([&] { return sessionStore.load(); }), std::nullopt);
    EXPECT_TRUE(rowOf("a.txt"));
    const SyncStateSnapshot expected{.folders = {root}, .mode = SyncMode::ultra, .autoStart = true};
    EXPECT_EQ(thread.run([&] { return coordinator.restoreSnapshot(); }), expected);
}

TEST_F(StartStop, TellsANewHandlerTheCurrentValueAtOnce) {
    write("a.txt", "a");
    write("x.zip", "x");
    start();
    std::vector<std::int64_t> counts;
    thread.run([&] { return coordinator.setUnsupportedFilesHandler([&](std::int64_t n) { counts.push_back(n); }); });
    EXPECT_EQ(counts, std::vector<std::int64_t>{1});
    IndexingProgressSnapshot told;
    thread.run([&] {
        return coordinator.setIndexingHandler([&](const IndexingProgressSnapshot& snapshot) { told = snapshot; });
    });
    EXPECT_EQ(told, progress.back());
}
