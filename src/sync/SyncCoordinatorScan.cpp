#include "hosted/SupabaseHTTPClient.h"
#include "platform/text/Utf8.h"
#include "state/LocalDatabase.h"
#include "sync/FolderScan.h"
#include "sync/SyncCoordinator.h"

#include <fmt/format.h>

#include <exception>

namespace veskline {

namespace {

// Which file systems a root was last seen on, by the root's path. Written before the first row of a scan, so that no
// crash leaves rows without it.
std::string fileSystemsKey(const std::string& root) {
    return "file_systems " + root;
}

} // namespace

async::Task<> SyncCoordinator::scan(std::string root, std::string reason, bool tracksInitialIndexing) {
    if (!isRunning_) {
        co_return;
    }
    log(reason + ": " + root);
    FolderScan scan(root, run_, tracksInitialIndexing, pool_, clock_, isQuitting_);
    if (isQuitting()) {
        co_return; // the walk may have been cut short, so it tells nothing about what has gone
    }
    co_await readStateRows(scan);
    co_await keepUnavailableFolders(scan);
    if (tracksInitialIndexing && isCurrent(scan.run())) {
        reportFound(scan);
    }
    const bool hasVisitedEveryFile = co_await runUploadPass(scan);
    if (hasVisitedEveryFile) {
        co_await runDeletePass(scan);
    }
    log(fmt::format("Summary: uploaded {}, skipped {}, deleted {}, failed {}.", scan.counters.uploaded,
                    scan.counters.skipped, scan.counters.deleted, scan.counters.failed));
}

async::Task<> SyncCoordinator::readStateRows(FolderScan& scan) {
    StateRows& rows = scan.rows();
    const LocalDatabase::RowVisitor visitor = [&rows](const FileStateRowView& row) { rows.add(row); };
    co_await database_.forEachRow(scan.root(), visitor);
}

// Decides which rows are kept although their files were not found, and logs each unavailable folder, sorted by path.
async::Task<> SyncCoordinator::keepUnavailableFolders(FolderScan& scan) {
    const std::string key = fileSystemsKey(scan.root());
    const std::string known = (co_await database_.ownPreference(key)).value_or("{}");
    scan.unavailable.emplace(scan.root(), scan.found(), readFileSystemIdentities(known), scan.rows().gone());
    const std::string identities = writeFileSystemIdentities(scan.unavailable->identities());
    if (identities != known) {
        co_await database_.setPreference(identities, key);
    }
    for (const auto& [path, folder] : scan.unavailable->folders()) {
        log(fmt::format("Folder not available: {} ({})", platform::withReplacementCharacters(path), folder.reason));
    }
}

void SyncCoordinator::reportFound(const FolderScan& scan) {
    const platform::PathList& unsupported = scan.found().unsupportedFiles;
    unsupportedFilesCount_ += static_cast<std::int64_t>(unsupported.size());
    tellUnsupportedFilesCount();
    for (const std::string_view path : unsupported) {
        log("Unsupported file type skipped: " + platform::withReplacementCharacters(path));
    }
    const std::int64_t total =
        indexingProgress_.totalFiles.value_or(0) + static_cast<std::int64_t>(scan.files().size());
    indexingProgress_.totalFiles = total;
    indexingProgress_.isActive = true;
    indexingProgress_.startedAt = indexingProgress_.startedAt.value_or(clock_.wallTime());
    tellIndexingProgress();
    log(fmt::format("Found {} files. Indexing...", total));
}

// True when every file was visited: only then may what was not seen be taken for deleted.
async::Task<bool> SyncCoordinator::runUploadPass(FolderScan& scan) {
    for (std::size_t index = 0; index < scan.files().size(); ++index) {
        if (!isCurrent(scan.run())) {
            co_return false;
        }
        ScanResult result = ScanResult::skipped;
        if (!isUnchanged(scan, index)) {
            scan.attributes().forget();
            result = co_await processCounted(scan, index);
        }
        scan.counters.count(result);
        if (scan.tracksInitialIndexing() && isCurrent(scan.run())) {
            reportScanned();
        }
    }
    co_return true;
}

// A failure of one file is told and counted, and never ends the scan.
async::Task<ScanResult> SyncCoordinator::processCounted(const FolderScan& scan, std::size_t index) {
    const std::string path(scan.files()[index]);
    ScanResult result = ScanResult::failed;
    try {
        std::optional<FileStateRow> previous = co_await previousRow(scan, index);
        result = co_await processFile(path, scan.root(), std::move(previous));
    } catch (const std::exception& error) {
        log(fmt::format("Upload failed, queued for retry: {} ({})", path, wordsOf(error)));
    }
    co_return result;
}

void SyncCoordinator::reportScanned() {
    ++indexingProgress_.scannedFiles;
    indexingProgress_.isActive = true;
    tellIndexingProgress();
    log(fmt::format("Scanned: {}", indexingProgress_.scannedFiles));
}

async::Task<> SyncCoordinator::runDeletePass(FolderScan& scan) {
    for (const FileStateRow& row : scan.rows().gone()) {
        if (scan.unavailable->holding(row.path) != nullptr) {
            continue;
        }
        try {
            co_await deleteRemoteFile(row);
            scan.counters.count(ScanResult::deleted);
        } catch (const std::exception& error) {
            scan.counters.count(ScanResult::failed);
            log(fmt::format("Delete sync warning for {}: {}", row.path, wordsOf(error)));
        }
    }
}

// Marks the hosted record deleted and has the worker forget it; the local row goes last. The stored object is the
// service's own to remove.
async::Task<> SyncCoordinator::deleteRemoteFile(FileStateRow row) {
    const std::optional<RemoteFileRecord> record = co_await client_.fetchRemoteFile(row.storageKey);
    if (record && record->isDeleted != true) {
        co_await client_.markFileDeleted(record->id);
        co_await client_.insertJob(record->id, "delete");
    }
    co_await database_.deleteRow(row.path);
}

} // namespace veskline
