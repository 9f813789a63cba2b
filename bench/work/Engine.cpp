#include "work/Engine.h"

#include "platform/async/Spawn.h"
#include "rules/FileRules.h"

#include <cinttypes>
#include <cstdio>
#include <utility>

namespace bench {

namespace {

using namespace veskline;

constexpr std::size_t tokenBytes = 1000; // about what a signed token takes

ScanCounters readSummary(const std::string& line) {
    ScanCounters counters;
    std::sscanf(line.c_str(),
                "Summary: uploaded %" SCNd64 ", skipped %" SCNd64 ", deleted %" SCNd64 ", failed %" SCNd64,
                &counters.uploaded, &counters.skipped, &counters.deleted, &counters.failed);
    return counters;
}

} // namespace

Engine::Engine(const std::string& url)
    : main_(pool_.executor()), agent_(PublicConfig{.supabaseURL = url, .supabaseAnonKey = "key", .dashboardURL = url},
                                      AppSurroundings{.main = main_.executor(),
                                                      .pool = pool_.executor(),
                                                      .clock = timers_.clock(),
                                                      .urlSession = http_.transport()}) {
    const StoredSession session{.accessToken = std::string(tokenBytes, 'a'),
                                .refreshToken = "refresh",
                                .user = StoredUser{.id = userID, .email = "you@example.com"}};
    async::runBlocking(pool_.executor(), [&] { return agent_.sessionStore.save(session); });
    // As in the window each line is handed over; what becomes of it there is not the engine's.
    const SyncCoordinator::LogHandler takeLine = [this](const std::string& line) {
        if (line.starts_with("Summary: ")) {
            counters_ = readSummary(line);
        } else if (line.starts_with("Upload failed")) {
            std::fprintf(stderr, "%s\n", line.c_str());
        }
    };
    async::runBlocking(pool_.executor(), [&] { return agent_.syncCoordinator.setLogHandler(takeLine); });
    const SyncCoordinator::IndexingHandler takeProgress = [](const IndexingProgressSnapshot&) {};
    async::runBlocking(pool_.executor(), [&] { return agent_.syncCoordinator.setIndexingHandler(takeProgress); });
}

ScanCounters Engine::startSync(const std::string& root) {
    const std::vector<std::string> roots{root};
    async::runBlocking(pool_.executor(), [&] { return agent_.syncCoordinator.startSync(roots, SyncMode::ultra); });
    const ScanCounters counters = counters_;
    async::runBlocking(pool_.executor(), [&] { return agent_.syncCoordinator.stopSync(); });
    return counters;
}

void Engine::upload(const std::string& file) {
    const std::string key = FileRules::buildStorageKey(userID, "/root", "large.pdf");
    async::runBlocking(pool_.executor(),
                       [&] { return agent_.client.uploadFile(file, key, FileRules::mimeType(file)); });
}

} // namespace bench
