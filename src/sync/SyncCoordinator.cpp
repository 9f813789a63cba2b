#include "sync/SyncCoordinator.h"

#include "platform/files/MountPoint.h"
#include "platform/text/ErrorDescription.h"
#include "platform/text/Utf8.h"
#include "state/DatabaseError.h"
#include "state/LocalDatabase.h"

#include <fmt/format.h>

#include <cassert>
#include <utility>

namespace veskline {

SyncCoordinator::SyncCoordinator(PublicConfig config, SupabaseHTTPClient& client, LocalDatabase& database,
                                 RetryQueueStore& retryQueue, SessionStore& sessionStore, Surroundings surroundings)
    : pool_(surroundings.pool), serial_(pool_), main_(surroundings.main), clock_(surroundings.clock),
      watchFolders_(std::move(surroundings.watchFolders)), isQuitting_(surroundings.isQuitting),
      config_(std::move(config)), client_(client), database_(database), retryQueue_(retryQueue),
      sessionStore_(sessionStore) {}

async::Task<> SyncCoordinator::setLogHandler(LogHandler handler) {
    logHandler_ = std::move(handler);
    co_return;
}

async::Task<> SyncCoordinator::setIndexingHandler(IndexingHandler handler) {
    indexingHandler_ = std::move(handler);
    tellIndexingProgress();
    co_return;
}

async::Task<> SyncCoordinator::setUnsupportedFilesHandler(UnsupportedFilesHandler handler) {
    unsupportedFilesHandler_ = std::move(handler);
    tellUnsupportedFilesCount();
    co_return;
}

void SyncCoordinator::resetProgress() {
    indexingProgress_ = IndexingProgressSnapshot{
        .totalFiles = 0,
        .scannedFiles = 0,
        .isActive = true,
        .startedAt = clock_.wallTime(),
    };
    unsupportedFilesCount_ = 0;
    tellIndexingProgress();
    tellUnsupportedFilesCount();
}

void SyncCoordinator::markInitialScanComplete() {
    setIndexingProgress(false);
    log("Initial scan complete");
}

void SyncCoordinator::setIndexingProgress(bool isActive) {
    indexingProgress_.isActive = isActive;
    tellIndexingProgress();
}

void SyncCoordinator::tellIndexingProgress() const {
    assert(executor().isCurrent());
    if (indexingHandler_) {
        indexingHandler_(indexingProgress_);
    }
}

void SyncCoordinator::tellUnsupportedFilesCount() const {
    assert(executor().isCurrent());
    if (unsupportedFilesHandler_) {
        unsupportedFilesHandler_(unsupportedFilesCount_);
    }
}

void SyncCoordinator::log(std::string_view line) const {
    assert(executor().isCurrent());
    if (logHandler_) {
        logHandler_(std::string(line));
    }
}

// For the log, the queue and the window. A failure of the state database names the file and its disk in place of the
// statement that failed.
std::string SyncCoordinator::wordsOf(const std::exception& failure) const {
    const auto* const ofDatabase = dynamic_cast<const DatabaseError*>(&failure);
    if (ofDatabase == nullptr) {
        return platform::describe(failure);
    }
    const bool isRead = ofDatabase->sql() && ofDatabase->sql()->starts_with("select");
    const std::string words =
        fmt::format(R"(The state file "{}" on the disk mounted at "{}" could not be {}: {})", database_.path(),
                    platform::mountPoint(database_.path()), isRead ? "read" : "written", ofDatabase->message());
    return platform::withReplacementCharacters(words);
}

} // namespace veskline
