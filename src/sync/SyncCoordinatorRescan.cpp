#include "platform/async/Cancelled.h"
#include "platform/async/Elsewhere.h"
#include "platform/files/Paths.h"
#include "sync/SyncCoordinator.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <exception>
#include <set>

namespace veskline {

namespace {

constexpr std::chrono::seconds debounceDelay{2};

} // namespace

// The stream lives on the main thread. A stop may come while it is being made there: then it is ended again, and
// nobody hears of it.
async::Task<> SyncCoordinator::startEventStream(RunNumber run, std::vector<std::string> roots) {
    if (!watchFolders_) {
        co_return;
    }
    const auto watch = [this, run, &roots] {
        return watchFolders_(roots, [this, run](std::vector<std::string> paths) { deliver(run, std::move(paths)); });
    };
    const EventStream stream = co_await async::Elsewhere(main_).call(watch);
    if (!isCurrent(run)) {
        co_await async::Elsewhere(main_).call(stream.stop);
        co_return;
    }
    eventStream_ = stream;
    log(fmt::format("Watching {} ...", fmt::join(roots, ", ")));
}

// On the main thread: hands a batch over to the coordinator's executor.
void SyncCoordinator::deliver(RunNumber run, std::vector<std::string> paths) {
    std::erase_if(deliveries_, [](const async::TaskHandle& delivery) { return delivery.hasEnded(); });
    deliveries_.push_back(async::spawn(
        main_, [this, run, paths = std::move(paths)]() mutable { return handleEventPaths(run, std::move(paths)); }));
}

// Changed paths choose the folders to scan, and the scan finds out what changed. The first root that a path begins with
// takes it, as a plain prefix: so a root also takes what happens in a sibling whose name begins with its own.
// A batch that a stop has overtaken changes nothing, not even in a new run: no rescan meets an initial scan.
async::Task<> SyncCoordinator::handleEventPaths(RunNumber run, std::vector<std::string> paths) {
    if (!isCurrent(run)) {
        co_return;
    }
    std::set<std::string> changed;
    for (const std::string& path : paths) {
        const std::string standardised = platform::standardisedPath(path);
        const auto root =
            std::ranges::find_if(roots_, [&](const std::string& each) { return standardised.starts_with(each); });
        if (root != roots_.end()) {
            changed.insert(*root);
        }
    }
    for (const std::string& root : changed) {
        scheduleRescan(root);
    }
}

// Every batch starts the wait anew, so a root that changes without a pause is scanned when it comes to rest.
void SyncCoordinator::scheduleRescan(const std::string& root) {
    async::TaskHandle& task = rescanTasks_[root];
    if (!task.hasEnded()) {
        task.cancel();
        std::erase_if(superseded_, [](const async::TaskHandle& old) { return old.hasEnded(); });
        superseded_.push_back(task);
    }
    task = async::spawn(executor(), [this, root] { return rescan(root); });
}

async::Task<> SyncCoordinator::rescan(std::string root) {
    try {
        co_await clock_.sleepFor(debounceDelay);
    } catch (const async::Cancelled&) {
        co_return; // superseded or stopped
    }
    if ((co_await async::currentContext()).isCancelled()) {
        co_return;
    }
    try {
        co_await scan(root, "Rescan", false);
    } catch (const std::exception& error) {
        log(fmt::format("Rescan failed for {}: {}", root, wordsOf(error)));
    }
}

void SyncCoordinator::cancelRescans() {
    for (const auto& [root, task] : rescanTasks_) {
        task.cancel();
        superseded_.push_back(task);
    }
    rescanTasks_.clear();
    std::erase_if(superseded_, [](const async::TaskHandle& old) { return old.hasEnded(); });
}

} // namespace veskline
