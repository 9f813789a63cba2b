#include "platform/async/PostCall.h"
#include "platform/async/Spawn.h"
#include "support/OtherConnection.h"
#include "sync/SyncFixture.h"

#include <malloc.h>

using namespace veskline;
using namespace std::chrono_literals;
using veskline::testing::InProcessProject;

namespace {

class Rescan : public veskline::testing::SyncFixture {
protected:
    void report(std::vector<std::string> paths) {
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
    EXPECT_EQ(lines, (std::vector<std::string>{"Rescan: " + root, summaryOf(1, 0, 0, 0)}));
    EXPECT_EQ(progress.size(), totals) << "a rescan leaves the progress alone";
    thread.advance(1h);
    EXPECT_EQ(lines.size(), 2U) << "nothing but changes causes work";
}

TEST_F(Rescan, TakesThePlainPrefixAndTheFirstRootInTheList) {
    const std::string nested = folder.makeFolder("documents/nested");
    const std::string sibling = folder.makeFolder("documents 2");
    const std::string other = folder.makeFolder("other");
    start({root, nested, other});
    struct Row {
        const char* name;
        std::vector<std::string> paths;
        std::vector<std::string> scanned;
    };
    const Row rows[] = {
        {"the root itself", {root}, {root}},
        {"a nested root's file goes to the one listed first", {nested + "/x.txt"}, {root}},
        {"a sibling whose name begins so", {sibling + "/x.txt"}, {root}},
        {"standardised first", {other + "/../documents/./x"}, {root}},
        {"two roots in one batch", {other + "/b", root + "/a", other + "/c"}, {root, other}},
        {"under no root", {"/nowhere/x.txt", ""}, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        lines.clear();
        report(row.paths);
        thread.advance(2s);
        std::vector<std::string> scanned;
        for (const std::string& line : lines) {
            if (line.starts_with("Rescan: ")) {
                scanned.push_back(line.substr(8));
            }
        }
        std::ranges::sort(scanned);
        EXPECT_EQ(scanned, row.scanned);
    }
}

TEST_F(Rescan, SupersededMidwayQueuesNothingInRegularAndItemsInUltra) {
    for (const SyncMode mode : {SyncMode::regular, SyncMode::ultra}) {
        SCOPED_TRACE(rawValue(mode));
        stop();
        start({root}, mode);
        lines.clear();
        for (const char* const name : {"a.txt", "b.txt", "c.txt"}) {
            write(name, std::string(name) + " in " + std::string(rawValue(mode)));
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
    write("a.txt", "a");
    start();
    veskline::testing::OtherConnection(folder.at("state.sqlite3")).run("drop table preferences");
    report({root + "/a.txt"});
    thread.advance(2s);
    EXPECT_TRUE(lines.back().starts_with("Rescan failed for " + root + ": no such table: preferences")) << lines.back();
}

TEST_F(Rescan, EndsWithAStopWhereverItIs) {
    write("a.txt", "a");
    start();
    const std::function<void(std::vector<std::string>)> late = stream.callback();
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
    project.release();
    thread.advance(1h);
    EXPECT_EQ(summary(), summaryOf(0, 0, 0, 1)) << "a stop cancels the rescan, and it ends at its next file";
}

TEST_F(Rescan, StopsAStreamThatWasStillBeingMadeWhenTheStopCame) {
    struct Hold {
        std::vector<async::Job> jobs;
        static void post(void* self, async::Job job) { static_cast<Hold*>(self)->jobs.push_back(job); }
    } held;
    SyncCoordinator slow{config,
                         client,
                         database,
                         retryQueue,
                         sessionStore,
                         SyncCoordinator::Surroundings{.pool = thread.executor(),
                                                       .main = async::Executor(&Hold::post, &held),
                                                       .clock = thread.clock(),
                                                       .watchFolders = stream.watcher()}};
    thread.run([&] { return slow.setLogHandler([this](const std::string& line) { lines.push_back(line); }); });
    const async::TaskHandle run =
        async::spawn(thread.executor(), [&] { return slow.startSync({root}, SyncMode::ultra); });
    thread.settle();
    ASSERT_EQ(held.jobs.size(), 1U) << "the main thread has not come to it yet";
    thread.run([&] { return slow.stopSync(); });
    for (std::size_t i = 0; i < held.jobs.size(); ++i) {
        held.jobs[i].run(held.jobs[i].context);
        thread.settle();
    }
    EXPECT_TRUE(run.hasEnded());
    EXPECT_EQ(stream.starts, 1);
    EXPECT_EQ(stream.stops, 1);
    EXPECT_EQ(lines.back(), "Sync stopped.");
    EXPECT_EQ(countLines("Watching "), 0U);
}

TEST_F(Rescan, KeepsNothingOfAScanThatIsOver) {
    for (int i = 0; i < 500; ++i) {
        write("d" + std::to_string(i % 10) + "/" + std::to_string(i) + ".txt", "x");
    }
    start();
    const auto bytesAfter = [&](int rescans) {
        for (int i = 0; i < rescans; ++i) {
            report({root + "/d1"});
            thread.advance(2s);
        }
        lines.clear();
        lines.shrink_to_fit();
        return ::mallinfo2().uordblks;
    };
    const std::size_t before = bytesAfter(3);
    EXPECT_LE(bytesAfter(50), before + 4096);
}
