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
    : main_(pool_.executor()),
      agent_(PublicConfig{.supabaseURL = url, .supabaseAnonKey = "key", .dashboardURL = url}, surroundings()) {
    // As in the window each line and each progress is handed over; what becomes of it there is not the engine's.
    const SyncCoordinator::LogHandler take = [this](const std::string& line) { takeLine(line); };
    async::runBlocking(pool_.executor(), [&] { return agent_.syncCoordinator.setLogHandler(take); });
    const SyncCoordinator::IndexingHandler drop = [](const IndexingProgressSnapshot&) {};
    async::runBlocking(pool_.executor(), [&] { return agent_.syncCoordinator.setIndexingHandler(drop); });
}

AppSurroundings Engine::surroundings() {
    const auto watch = [this](const std::vector<std::string>&, std::function<void(std::vector<std::string>)> tell) {
        tellChanges_ = std::move(tell);
        return SyncCoordinator::EventStream{.stop = [] {}};
    };
    return {.main = main_.executor(),
            .pool = pool_.executor(),
            .clock = timers_.clock(),
            .urlSession = http_.transport(),
            .watchFolders = watch};
}

// A rescan begins and ends with a line of its own.
void Engine::takeLine(const std::string& line) {
    if (line.starts_with("Rescan: ")) {
        rescanTime_.emplace();
    } else if (line.starts_with("Summary: ")) {
        counters_ = readSummary(line);
        if (rescanTime_) {
            rescanCost_.set_value(rescanTime_->stop(counters_.skipped));
        }
    } else if (line.starts_with("Upload failed")) {
        std::fprintf(stderr, "%s\n", line.c_str());
    }
}

void Engine::signIn() {
    const StoredSession session{.accessToken = std::string(tokenBytes, 'a'),
                                .refreshToken = "refresh",
                                .user = StoredUser{.id = userID, .email = "you@example.com"}};
    async::runBlocking(pool_.executor(), [&] { return agent_.sessionStore.save(session); });
}

ScanCounters Engine::startSync(const std::string& root) {
    const std::vector<std::string> roots{root};
    async::runBlocking(pool_.executor(), [&] { return agent_.syncCoordinator.startSync(roots, SyncMode::ultra); });
    return counters_;
}

Sample Engine::rescan(const std::string& root) {
    const auto tell = [&]() -> async::Task<> {
        tellChanges_({root + "/changed.txt"});
        co_return;
    };
    async::runBlocking(main_.executor(), tell);
    const Sample cost = rescanCost_.get_future().get();
    async::runBlocking(pool_.executor(), [&] { return agent_.syncCoordinator.stopSync(); });
    return cost;
}

void Engine::upload(const std::string& file) {
    const std::string key = FileRules::buildStorageKey(userID, "/root", "large.pdf");
    async::runBlocking(pool_.executor(),
                       [&] { return agent_.client.uploadFile(file, key, FileRules::mimeType(file)); });
}

} // namespace bench
