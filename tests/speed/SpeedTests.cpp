#include "model/Collaborators.h"
#include "platform/async/Spawn.h"
#include "platform/async/ThreadPool.h"
#include "platform/async/TimerThread.h"
#include "platform/files/FileAttributes.h"
#include "platform/http/CurlTransport.h"
#include "rules/FileRules.h"
#include "speed/Counters.h"
#include "support/ScriptedServer.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

using namespace veskline;
using namespace veskline::testing;

namespace {

// The engine on real threads and a real connection, and what its work costs by counting: unlike a time, a count is the
// same on every machine.
class Speed : public ::testing::Test {
protected:
    Speed() {
        setenv("VESK_STATE_DIR", folder.makeFolder("state").c_str(), 1);
        setenv("XDG_DATA_HOME", folder.string().c_str(), 1);
        engine.emplace(PublicConfig{.supabaseURL = server.url(), .supabaseAnonKey = "key"}, surroundings());
        const SyncCoordinator::LogHandler take = [this](const std::string& line) { takeLine(line); };
        async::runBlocking(pool.executor(), [&] { return engine->syncCoordinator.setLogHandler(take); });
        const StoredSession session{.accessToken = std::string(1000, 'a'), .refreshToken = "r", .user = {{.id = "u"}}};
        async::runBlocking(pool.executor(), [&] { return engine->sessionStore.save(session); });
    }

    AppSurroundings surroundings() {
        const auto watch = [](const auto&, const auto&) { return SyncCoordinator::EventStream{.stop = [] {}}; };
        return {.main = main.executor(),
                .pool = pool.executor(),
                .clock = timers.clock(),
                .urlSession = curl.transport(),
                .watchFolders = watch};
    }
    void takeLine(const std::string& line) {
        if (line.starts_with("Found ")) {
            found = Counters::now();
        } else if (line.starts_with("Summary: ")) {
            summary = line;
            done = Counters::now();
        }
    }
    void writeDocuments(int count) const {
        for (int file = 0; file < count; ++file) {
            const std::string name = "Project " + std::to_string(file / 20) + "/report " + std::to_string(file) + ".md";
            folder.write("documents/" + name, name);
        }
    }
    // A start to its end, as after a launch.
    void start() {
        async::runBlocking(pool.executor(), [this] { return engine->syncCoordinator.stopSync(); });
        before = Counters::now();
        const std::vector<std::string> roots{folder.at("documents")};
        async::runBlocking(pool.executor(), [&] { return engine->syncCoordinator.startSync(roots, SyncMode::ultra); });
    }
    // As if an earlier run had uploaded all that lies in the folder.
    void rememberDocuments() {
        const std::string root = folder.at("documents");
        async::runBlocking(pool.executor(), [&]() -> async::Task<> {
            platform::PathList files = FileRules::listFiles(root);
            for (const std::string_view path : files) {
                FileStateRow row{.path = std::string(path), .rootPath = root};
                row.logicalPath = FileRules::logicalPath(path, root);
                row.storageKey = "user-u/root-0badcafe/" + row.logicalPath;
                row.sha256 = std::string(64, 'a');
                const platform::FileAttributes attributes = platform::readFileAttributes(row.path);
                row.bytes = attributes.bytes;
                row.mtimeMilliseconds = attributes.mtimeMilliseconds;
                co_await engine->database.upsert(std::move(row));
            }
        });
    }

    TemporaryFolder folder;
    ScriptedServer server;
    async::ThreadPool pool{async::ThreadPool::leastThreads + 1};
    async::SerialExecutor main{pool.executor()};
    async::TimerThread timers;
    platform::CurlTransport curl{pool.executor()};
    std::optional<Collaborators> engine;

    Counters before; // the start
    Counters found;  // all files and rows, none looked at yet
    Counters done;
    std::string summary;
};

} // namespace

TEST_F(Speed, WakesNoThreadBetweenTheStepsOfAFile) {
    constexpr int files = 40;
    writeDocuments(files);
    const ScriptedReply user{.body = R"({"id":"u"})"};
    server.reply(user); // for the drain, which asks first
    for (int file = 0; file < files; ++file) {
        server.replies({{}, user, {.body = R"([{"id":"f"}])"}, user, {}});
    }
    const std::uint64_t wakeUps = pool.wakeUps();
    start();
    EXPECT_EQ(summary, "Summary: uploaded 40, skipped 0, deleted 0, failed 0.");
    EXPECT_EQ(server.requests().size(), 5U * files + 1);
    EXPECT_EQ(server.requests().back().connection, 1);
    RecordProperty("wake-ups", std::to_string(pool.wakeUps() - wakeUps));
    EXPECT_LT(pool.wakeUps() - wakeUps, files / 2U) << "each switch between threads costs a file more than its digest";
}

TEST_F(Speed, LooksOnceAtAnUnchangedFileAndKeepsLittleOfIt) {
    constexpr std::int64_t files = 10'000;
    writeDocuments(files);
    rememberDocuments();
    server.replies({{.body = R"({"id":"u"})"}, {.body = R"({"id":"u"})"}});
    start(); // the database's own memory is there after it
    start();
    ASSERT_EQ(summary, "Summary: uploaded 0, skipped 10000, deleted 0, failed 0.");
    const struct {
        const char* what;
        std::int64_t cost;
        std::int64_t most;
    } costs[] = {
        {"file-system calls", done.since(before).fileSystemCalls, files * 13 / 10},
        {"allocations for looking at them", done.since(found).allocations, files / 100},
        {"allocations in all", done.since(before).allocations, files / 5},
        {"bytes kept", found.since(before).heldBytes, files * 200}, // mapped pages count whole, used or not
        {"bytes not given back", Counters::now().since(before).heldBytes, files / 2},
    };
    for (const auto& [what, cost, most] : costs) {
        EXPECT_LE(cost, most) << what;
        RecordProperty(what, std::to_string(cost));
    }
}
