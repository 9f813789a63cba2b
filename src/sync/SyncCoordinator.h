#pragma once

#include "platform/async/Clock.h"
#include "platform/async/Exclusion.h"
#include "platform/async/SerialExecutor.h"
#include "platform/async/Spawn.h"
#include "platform/async/Task.h"
#include "state/records/FileStateRow.h"
#include "state/records/IndexingProgressSnapshot.h"
#include "state/records/PublicConfig.h"
#include "state/records/RetryQueueItem.h"
#include "state/records/SyncMode.h"
#include "state/records/SyncStateSnapshot.h"
#include "sync/ScanResult.h"
#include "sync/StoredSelection.h"

#include <atomic>
#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace veskline {

class LocalDatabase;
class RetryQueueStore;
class SessionStore;
class SupabaseHTTPClient;
class FolderScan;

// The sync engine: brings the hosted side level with the folders that the user chose, and keeps it so.
//
// One instance, owned by the application model for the life of the process. It runs on an executor of its own, which is
// the only lock of its fields: operations are serialised but not atomic, and any of them may run while another waits.
// Files are worked on strictly one after the other.
//
// It keeps nothing that must survive: file rows and preferences lie in the state database, failed uploads in the retry
// queue, each written as it happens. A file's state row is written last and is the commit of that file, so a crash at
// any moment costs at most the repetition of one file.
//
// It reports upward through three handlers alone. They are called on its executor, in the midst of the operation that
// reports: a handler hands over to its own thread and returns.
class SyncCoordinator {
public:
    using LogHandler = std::function<void(std::string line)>;
    using IndexingHandler = std::function<void(IndexingProgressSnapshot progress)>;
    using UnsupportedFilesHandler = std::function<void(std::int64_t count)>;

    // A watch over some folders that stands until `stop` is called.
    struct EventStream {
        std::function<void()> stop;
    };
    // Begins to watch folders, with all below them, and hands over the paths of what changes from then on, in batches.
    // It is called, its stream is stopped, and batches come, all on the main thread; none comes after the stop.
    using WatchFolders = std::function<EventStream(std::vector<std::string> roots,
                                                   std::function<void(std::vector<std::string>)> onPathsChanged)>;

    // Where and when it runs. `isQuitting` is looked at between the blocks of a digest and the folders of a walk, so
    // that the process can end while one is under way.
    struct Surroundings {
        async::Executor pool;
        async::Executor main;
        async::Clock clock;
        WatchFolders watchFolders; // without one nothing is watched
        const std::atomic<bool>* isQuitting = nullptr;
    };

    SyncCoordinator(PublicConfig config, SupabaseHTTPClient& client, LocalDatabase& database,
                    RetryQueueStore& retryQueue, SessionStore& sessionStore, Surroundings surroundings);
    SyncCoordinator(const SyncCoordinator&) = delete;
    SyncCoordinator& operator=(const SyncCoordinator&) = delete;

    [[nodiscard]] async::Executor executor() const noexcept { return serial_.executor(); }

    // Lines that come before a handler is set are lost; the other two handlers are told the current value at once.
    async::Task<> setLogHandler(LogHandler handler);
    async::Task<> setIndexingHandler(IndexingHandler handler);
    async::Task<> setUnsupportedFilesHandler(UnsupportedFilesHandler handler);

    // What the last run left: never fails, each part falls back by itself.
    async::Task<SyncStateSnapshot> restoreSnapshot();

    // Stores the selection, tries the queued uploads again, scans each folder in turn and watches them from then on.
    // Returns when the initial scan is over. Does nothing, without a word, while it runs already or without folders.
    // Throws what the drain throws, and words about the state file where that fails: the engine then stands still, and
    // a new start works.
    // A stop on the way ends it without a failure: what was begun ends, nothing new begins.
    async::Task<> startSync(std::vector<std::string> roots, SyncMode mode);

    // Ends the run: pending work is dropped, a scan under way ends at its next file. Silent when nothing runs.
    async::Task<> stopSync();

    // Removes the stored session and stops. Rows, preferences and the retry queue stay.
    async::Task<> signOut();

private:
    // Each start has a number, so that whatever an earlier one left under way can tell that its time is over.
    using RunNumber = std::uint64_t;
    [[nodiscard]] bool isCurrent(RunNumber run) const noexcept { return isRunning_ && run == run_ && !isQuitting(); }
    [[nodiscard]] bool isQuitting() const noexcept { return isQuitting_ != nullptr && *isQuitting_; }

    // SyncCoordinatorScan.cpp
    async::Task<> scan(std::string root, std::string reason, bool tracksInitialIndexing);
    async::Task<> readStateRows(FolderScan& scan);
    async::Task<> keepUnavailableFolders(FolderScan& scan);
    void reportFound(const FolderScan& scan);
    async::Task<bool> runUploadPass(FolderScan& scan);
    async::Task<ScanResult> processCounted(const FolderScan& scan, std::size_t index);
    void reportScanned();
    async::Task<> runDeletePass(FolderScan& scan);
    async::Task<> deleteRemoteFile(FileStateRow row);

    // SyncCoordinatorProcessFile.cpp
    [[nodiscard]] bool isUnchanged(FolderScan& scan, std::size_t index) const;
    async::Task<std::optional<FileStateRow>> previousRow(const FolderScan& scan, std::size_t index);
    async::Task<ScanResult> processFile(std::string path, std::string root, std::optional<FileStateRow> previous);
    async::Task<std::string> signedInUserID();
    async::Task<> uploadOrQueue(FileStateRow row, std::string userID);
    async::Task<> upload(FileStateRow row);

    // SyncCoordinatorRetryDrain.cpp
    async::Task<> drainRetryQueue();
    async::Task<std::optional<std::string>> retryUpload(RetryQueueItem item);

    // SyncCoordinatorRescan.cpp
    async::Task<> startEventStream(RunNumber run, std::vector<std::string> roots);
    void deliver(RunNumber run, std::vector<std::string> paths);
    async::Task<> handleEventPaths(RunNumber run, std::vector<std::string> paths);
    void scheduleRescan(const std::string& root);
    async::Task<> rescan(std::string root);
    void cancelRescans();

    // SyncCoordinatorStartStop.cpp
    RunNumber beginRun(const std::vector<std::string>& roots, SyncMode mode);
    async::Task<> performStart(RunNumber run, std::vector<std::string> roots, SyncMode mode);
    async::Task<std::vector<std::string>> storedFolders();
    async::Task<SyncMode> storedMode();

    // SyncCoordinator.cpp
    void resetProgress();
    void markInitialScanComplete();
    void setIndexingProgress(bool isActive);
    void tellIndexingProgress() const;
    void tellUnsupportedFilesCount() const;
    void log(std::string_view line) const;
    [[nodiscard]] std::string wordsOf(const std::exception& failure) const;

    async::Executor pool_;
    async::SerialExecutor serial_;
    async::Executor main_;
    async::Clock clock_;
    WatchFolders watchFolders_;
    const std::atomic<bool>* isQuitting_;

    const PublicConfig config_;
    SupabaseHTTPClient& client_;
    LocalDatabase& database_;
    StoredSelection selection_{database_};
    RetryQueueStore& retryQueue_;
    SessionStore& sessionStore_;

    std::vector<std::string> roots_; // standardised; of the last start, kept after a stop
    SyncMode currentMode_ = SyncMode::regular;
    bool isRunning_ = false;
    RunNumber run_ = 0;
    async::Exclusion drain_;

    std::optional<EventStream> eventStream_;
    std::map<std::string, async::TaskHandle, std::less<>> rescanTasks_; // the latest of each root
    std::vector<async::TaskHandle> superseded_;                         // cancelled, perhaps still at a scan's end
    std::vector<async::TaskHandle> deliveries_;                         // of batches; on the main thread alone

    LogHandler logHandler_;
    IndexingHandler indexingHandler_;
    UnsupportedFilesHandler unsupportedFilesHandler_;
    IndexingProgressSnapshot indexingProgress_ = IndexingProgressSnapshot::idle;
    std::int64_t unsupportedFilesCount_ = 0;
};
static_assert(async::Actor<SyncCoordinator>);

} // namespace veskline
