#include "hosted/SupabaseHTTPClient.h"
#include "platform/files/Paths.h"
#include "platform/text/ErrorDescription.h"
#include "state/RetryQueueStore.h"
#include "sync/SyncCoordinator.h"

#include <fmt/format.h>

#include <exception>

namespace veskline {

namespace {

RetryQueueItem failedAgain(RetryQueueItem item, const std::string& userID, const std::string& lastError) {
    item.userID = item.userID.value_or(userID);
    ++item.attempts;
    item.lastError = lastError;
    return item;
}

} // namespace

// Tries each queued upload of the signed-in user once. It works from what the item recorded, looks at no file and
// writes no state row: making those agree is the business of the scan that follows. Once begun it goes on to its last
// write, whatever is stopped meanwhile, and another start's drain waits for it.
async::Task<> SyncCoordinator::drainRetryQueue() {
    const async::Exclusion::Turn turn = co_await drain_.enter();
    const std::optional<StoredUser> user = co_await client_.currentUser();
    if (!user) {
        co_return;
    }
    RetryQueueStore::Partition queue = co_await retryQueue_.partition(user->id);
    if (!queue.deferred.empty()) {
        co_await retryQueue_.write(queue.deferred);
    }
    if (queue.active.empty()) {
        co_return;
    }
    log(fmt::format("Retrying {} pending upload(s) from previous run...", queue.active.size()));
    std::vector<RetryQueueItem> remaining = std::move(queue.deferred);
    for (RetryQueueItem& item : queue.active) {
        const std::optional<std::string> failure = co_await retryUpload(item);
        if (failure) {
            remaining.push_back(failedAgain(std::move(item), user->id, *failure));
        }
    }
    co_await retryQueue_.write(std::move(remaining));
}

// The description of what failed, or nothing where the item is done.
async::Task<std::optional<std::string>> SyncCoordinator::retryUpload(RetryQueueItem item) {
    const std::string mimeType = item.mimeType.value_or("application/octet-stream");
    std::optional<std::string> failure;
    try {
        co_await client_.uploadFile(item.localPath, item.storageKey, mimeType);
        const std::string logicalPath = item.logicalPath.value_or(std::string(platform::lastComponent(item.localPath)));
        const RemoteFileRecord record = co_await client_.upsertRemoteFile(logicalPath, item.storageKey, item.bytes,
                                                                          mimeType, item.sha256.value_or(""));
        if (record.ingestedSHA256 != item.sha256) {
            co_await client_.insertJob(record.id, "ingest");
        }
        log("Retry OK: " + item.storageKey);
    } catch (const std::exception& error) {
        failure = platform::describe(error);
        log(fmt::format("Retry failed for {}: {}", item.storageKey, *failure));
    }
    co_return failure;
}

} // namespace veskline
