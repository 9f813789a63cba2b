#include "hosted/SupabaseHTTPClient.h"
#include "platform/async/Elsewhere.h"
#include "platform/files/Paths.h"
#include "state/DatabaseError.h"
#include "state/SessionStore.h"
#include "sync/SyncCoordinator.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <exception>
#include <stdexcept>

namespace veskline {

namespace {

std::vector<std::string> standardised(const std::vector<std::string>& roots) {
    std::vector<std::string> paths;
    paths.reserve(roots.size());
    for (const std::string& root : roots) {
        paths.push_back(platform::standardisedPath(root));
    }
    return paths;
}

} // namespace

async::Task<> SyncCoordinator::startSync(std::vector<std::string> roots, SyncMode mode) {
    if (isRunning_ || roots.empty()) {
        co_return;
    }
    const RunNumber run = beginRun(roots, mode);
    std::exception_ptr failure;
    try {
        co_await performStart(run, std::move(roots), mode);
    } catch (const DatabaseError& error) {
        failure = std::make_exception_ptr(std::runtime_error(wordsOf(error)));
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure) {
        // Nothing but this start can have set it, unless a stop and another start came in between.
        if (run == run_) {
            isRunning_ = false;
        }
        std::rethrow_exception(failure);
    }
}

SyncCoordinator::RunNumber SyncCoordinator::beginRun(const std::vector<std::string>& roots, SyncMode mode) {
    roots_ = standardised(roots);
    currentMode_ = mode;
    isRunning_ = true;
    ++run_;
    resetProgress();
    return run_;
}

async::Task<> SyncCoordinator::performStart(RunNumber run, std::vector<std::string> roots, SyncMode mode) {
    co_await selection_.write(roots, mode);
    if (!isCurrent(run)) {
        co_return;
    }
    log(fmt::format("Starting sync ({})...", rawValue(mode)));
    log(fmt::format("Folders: {}", fmt::join(roots, ", ")));
    log("Performing initial scan...");
    co_await drainRetryQueue();
    const std::vector<std::string> paths = standardised(roots);
    for (const std::string& path : paths) {
        if (!isCurrent(run)) {
            co_return;
        }
        co_await scan(path, "Initial scan", true);
    }
    if (!isCurrent(run)) {
        co_return;
    }
    markInitialScanComplete();
    co_await startEventStream(run, paths);
}

async::Task<> SyncCoordinator::stopSync() {
    if (!isRunning_) {
        co_return;
    }
    isRunning_ = false;
    const RunNumber run = run_;
    cancelRescans();
    if (const std::optional<EventStream> stream = std::exchange(eventStream_, std::nullopt)) {
        co_await async::Elsewhere(main_).call(stream->stop);
    }
    if (run == run_) { // else the progress belongs to a new run
        setIndexingProgress(false);
    }
    log("Sync stopped.");
}

async::Task<> SyncCoordinator::signOut() {
    co_await sessionStore_.clear();
    co_await stopSync();
}

namespace {

// The result of `read`, or `fallback` where it fails: a restore never does.
template <class T>
async::Task<T> orElse(async::Task<T> read, T fallback) {
    std::optional<T> result;
    try {
        result = co_await std::move(read);
    } catch (const std::exception&) {
        result = std::move(fallback);
    }
    co_return *std::move(result);
}

} // namespace

async::Task<SyncStateSnapshot> SyncCoordinator::restoreSnapshot() {
    SyncStateSnapshot snapshot;
    snapshot.user = co_await orElse(client_.currentUser(), std::optional<StoredUser>());
    snapshot.folders = co_await orElse(storedFolders(), std::vector<std::string>());
    snapshot.mode = co_await orElse(storedMode(), SyncMode::regular);
    snapshot.autoStart = co_await orElse(selection_.autoStart(), false);
    snapshot.running = isRunning_;
    co_return snapshot;
}

async::Task<std::vector<std::string>> SyncCoordinator::storedFolders() {
    return selection_.folders();
}

async::Task<SyncMode> SyncCoordinator::storedMode() {
    return selection_.mode();
}

} // namespace veskline
