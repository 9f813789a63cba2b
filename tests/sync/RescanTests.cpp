#include "platform/async/PostCall.h"
#include "platform/async/Spawn.h"
#include "platform/files/MountPoint.h"
#include "support/OtherConnection.h"
#include "sync/SyncFixture.h"

using namespace veskline;
using namespace std::chrono_literals;

namespace {

class Rescan : public veskline::testing::SyncFixture {
protected:
    using Paths = std::vector<std::string>;
    void report(Paths paths) {
        async::postCall(main.executor(), [this, paths] { stream.report(paths); });
        thread.settle();
    }
};

} // namespace

TEST_F(Rescan, RunsOnceTwoSecondsAfterTheLastBatchOfItsRoot) {
    start();
    lines.clear();
    const auto totals = progress.size();
    write("a.txt", "a");
    write("photo.png", "p");
    report({root + "/a.txt", root + "/photo.png"});
    thread.advance(1900ms);
    report({root + "/a.txt"});
    thread.advance(1900ms);
    EXPECT_TRUE(lines.empty());
    thread.advance(100ms);
    EXPECT_EQ(lines, (Paths{"Rescan: " + root, summaryOf(1, 0, 0, 0)}));
    EXPECT_EQ(progress.size(), totals) << "a rescan leaves the progress alone";
    thread.advance(1h);
    EXPECT_EQ(lines.size(), 2U) << "nothing but changes causes work";
}

TEST_F(Rescan, TakesThePlainPrefixAndTheFirstRootInTheList) {
    const std::string nested = folder.makeFolder("documents/nested");
    const std::string other = folder.makeFolder("other");
    start({root, nested, other});
    struct Row {
        const char* name;
        Paths paths, scanned;
    };
    const Row rows[] = {
        {"the root itself", {root}, {root}},
        {"a nested root's file goes to the one listed first", {nested + "/x.txt"}, {root}},
        {"a sibling whose name begins so", {root + " 2/x.txt"}, {root}},
        {"standardised first", {other + "/../documents/./x"}, {root}},
        {"two roots", {other + "/b", root + "/a", other + "/c"}, {root, other}},
        {"under no root", {"/nowhere/x.txt", ""}, {}},
    };
    for (const Row& row : rows) {
        lines.clear();
        report(row.paths);
        thread.advance(2s);
        EXPECT_EQ(countLines("Rescan: "), row.scanned.size()) << row.name;
        for (const std::string& scanned : row.scanned) {
            EXPECT_EQ(std::ranges::count(lines, "Rescan: " + scanned), 1) << row.name;
        }
    }
}

TEST_F(Rescan, SupersededMidwayQueuesWhatIsOnTheWireInRegularAndAllInUltra) {
    for (const SyncMode mode : {SyncMode::regular, SyncMode::ultra}) {
        SCOPED_TRACE(rawValue(mode));
        stop();
        start({root}, mode);
        lines.clear();
        for (const std::string name : {"a.txt", "b.txt", "c.txt"}) {
            write(name, name + " in " + std::string(rawValue(mode)));
        }
        project.hold("POST /storage/v1/object");
        report({root + "/a.txt"});
        thread.advance(3s);
        ASSERT_EQ(project.heldCount(), 1U) << "the first file is on the wire";
        report({root + "/b.txt"});
        EXPECT_EQ(summary(), summaryOf(0, 0, 0, 3)) << "each wait of the cancelled scan fails at once";
        // The file on the wire was past its pause, so it left an item in either mode.
        EXPECT_EQ(queue().size(), mode == SyncMode::regular ? 1U : 3U);
        project.release();
        thread.advance(10s);
        EXPECT_EQ(summary(), summaryOf(3, 0, 0, 0)) << "the newer rescan puts right what was missed";
        thread.run([&] { return retryQueue.write({}); });
    }
}

TEST_F(Rescan, TellsOfAScanThatFailed) {
    start();
    veskline::testing::OtherConnection(folder.at("state.sqlite3")).run("drop table preferences");
    report({root});
    thread.advance(2s);
    EXPECT_EQ(lines.back(), "Rescan failed for " + root + ": The state file \"" + folder.at("state.sqlite3") +
                                "\" on the disk mounted at \"" + platform::mountPoint(root) +
                                "\" could not be read: no such table: preferences");
}

TEST_F(Rescan, DropsABatchThatAStopAndANewStartHaveOvertaken) {
    write("a.txt", "a");
    start();
    const auto late = stream.callback();
    restart();
    const std::size_t count = lines.size();
    async::postCall(main.executor(), [&] { late({root + "/a.txt"}); });
    thread.advance(1h);
    EXPECT_EQ(lines.size(), count) << "its change was found by the new run's own scan";
}

TEST_F(Rescan, EndsWithAStopWhereverItIs) {
    write("a.txt", "a");
    start();
    const auto late = stream.callback();
    report({root + "/a.txt"});
    stop();
    EXPECT_EQ(stream.stops, 1);
    const std::size_t count = lines.size();
    async::postCall(main.executor(), [&] { late({root + "/a.txt"}); });
    thread.advance(1h);
    EXPECT_EQ(lines.size(), count) << "neither the waiting rescan nor a late batch does anything";

    start();
    write("a.txt", "a2");
    write("b.txt", "b");
    project.hold("POST /storage/v1/object");
    report({root + "/a.txt"});
    thread.advance(2s);
    stop();
    letGo();
    EXPECT_EQ(summary(), summaryOf(0, 0, 0, 1)) << "a stop cancels the rescan, and it ends at its next file";
}
