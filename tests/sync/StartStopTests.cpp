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
    [[nodiscard]] bool hasLineAfterTheStop(std::string_view beginning) const {
        const auto stopped = std::ranges::find(lines, "Sync stopped.");
        return std::any_of(stopped, lines.end(), [&](const std::string& line) { return line.starts_with(beginning); });
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
    const StoredUser ann{.id = "ann", .email = "ann@example.com"};
};

} // namespace

TEST_F(StartStop, IsSilentWithoutFoldersWhileRunningAndWhenIdle) {
    EXPECT_TRUE(start(std::vector<std::string>{}).empty());
    stop();
    EXPECT_TRUE(lines.empty());
    start();
    EXPECT_TRUE(start({folder.makeFolder("other")}, SyncMode::regular).empty()) << "a second start changes nothing";
    EXPECT_EQ(snapshot(), (SyncStateSnapshot{ann, true, {root}, SyncMode::ultra, true}));
    stop();
    EXPECT_EQ(lines, std::vector<std::string>{"Sync stopped."});
}

TEST_F(StartStop, RestoresWhatItCanAndFallsBackForTheRest) {
    EXPECT_EQ(snapshot(), (SyncStateSnapshot{.user = ann}));
    struct Row {
        std::string folders, mode, autoIndex;
        SyncStateSnapshot expected;
    };
    for (const Row& row : {Row{R"(["/a","/b"])", "ultra", "true", {ann, false, {"/a", "/b"}, SyncMode::ultra, true}},
                           Row{"[\"/a\"", "turbo", "TRUE", {.user = ann}}, Row{"[\"/a\", 1]", "", "", {.user = ann}}}) {
        storePreference("watched_folders", row.folders);
        storePreference("pref_mode", row.mode);
        storePreference("auto_index", row.autoIndex);
        EXPECT_EQ(snapshot(), row.expected) << row.folders;
    }
    failAt("", 0);
    EXPECT_EQ(snapshot().user, std::nullopt);
}

TEST_F(StartStop, EndsTheFileInFlightAndTheDeletePassOnlyWhereThatWasTheLast) {
    for (const bool isLast : {false, true}) {
        write("gone.txt", "c");
        write("a.txt", isLast ? "1" : "2");
        restart();
        stop();
        write("a.txt", "changed");
        isLast ? removeFile("b.txt") : static_cast<void>(write("b.txt", "b"));
        removeFile("gone.txt");
        const async::TaskHandle run = beginHeldAt("POST /storage/v1/object");
        stop();
        EXPECT_EQ(lines.back(), "Sync stopped.");
        letGo();
        EXPECT_TRUE(run.hasEnded());
        EXPECT_EQ(lines.back(), isLast ? summaryOf(1, 0, 2, 0) : summaryOf(1, 0, 0, 0));
        EXPECT_FALSE(progress.back().isActive);
        start();
        EXPECT_EQ(summary(), isLast ? summaryOf(0, 1, 0, 0) : summaryOf(1, 1, 1, 0));
    }
    expectLevel({{"a.txt", "changed"}});
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
        const async::TaskHandle run = begin({root, second});
        for (int step = 0; step < rounds && thread.step(); ++step) {
        }
        wasOverBefore = run.hasEnded();
        const async::TaskHandle stopping = async::spawn(thread.executor(), [this] { return coordinator.stopSync(); });
        thread.settle();
        ASSERT_TRUE(run.hasEnded() && stopping.hasEnded());
        for (const char* const work : {"Starting sync", "Initial scan", "Watching"}) {
            EXPECT_FALSE(hasLineAfterTheStop(work));
        }
        EXPECT_FALSE(progress.back().isActive);
        // A stop that came before the start itself found nothing to stop.
        stop();
        EXPECT_EQ(stream.starts, stream.stops) << "also where it was being made when the stop came";
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
    const async::TaskHandle first = beginHeldAt("POST /storage/v1/object");
    stop();
    const async::TaskHandle second = begin({root});
    thread.settle();
    letGo();
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
    stop();
    OtherConnection(folder.at("state.sqlite3")).run("drop table files");
    EXPECT_THROW(start({root, folder.makeFolder("second")}), std::exception);
    EXPECT_EQ(lines.back(), "Initial scan: " + root) << "the roots behind it are skipped";
}

TEST_F(StartStop, SignsOutAndStopsAndKeepsWhatBelongsToTheMachine) {
    write("a.txt", "a");
    start();
    thread.run([&] { return coordinator.signOut(); });
    EXPECT_EQ(lines.back(), "Sync stopped.");
    EXPECT_EQ(thread.run([&] { return sessionStore.load(); }), std::nullopt);
    EXPECT_TRUE(rowOf("a.txt"));
    EXPECT_EQ(snapshot(), (SyncStateSnapshot{std::nullopt, false, {root}, SyncMode::ultra, true}));
}
