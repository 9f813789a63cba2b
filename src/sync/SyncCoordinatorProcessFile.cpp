#include "hosted/SupabaseHTTPClient.h"
#include "hosted/SupabaseHTTPError.h"
#include "platform/files/FileAttributes.h"
#include "platform/text/ErrorDescription.h"
#include "rules/FileRules.h"
#include "state/DatabaseError.h"
#include "state/LocalDatabase.h"
#include "state/RetryQueueStore.h"
#include "sync/FolderScan.h"
#include "sync/SyncCoordinator.h"

#include <exception>
#include <stdexcept>

namespace veskline {

namespace {

// Stands in the place of a digest in the row of a file that is over the limit.
constexpr const char* tooLargeMarker = "skipped-too-large";

// Compared exactly, on purpose: any difference, however small, is worth a look at the content.
platform::FileAttributes attributesIn(const FileStateRow& row) {
    return {.bytes = row.bytes, .mtimeMilliseconds = row.mtimeMilliseconds};
}

RetryQueueItem retryItem(const FileStateRow& row, const std::string& userID, const std::string& lastError) {
    return RetryQueueItem{
        .localPath = row.path,
        .storageKey = row.storageKey,
        .legacyStorageKey = FileRules::legacyStorageKey(userID, row.logicalPath),
        .bytes = row.bytes,
        .mimeType = FileRules::mimeType(row.path),
        .sha256 = row.sha256,
        .logicalPath = row.logicalPath,
        .userID = userID,
        .attempts = 0,
        .lastError = lastError,
    };
}

} // namespace

// All that most files of most scans take: one look at the attributes, with nothing copied and no coroutine. A file that
// is too large is told of each time.
bool SyncCoordinator::isUnchanged(FolderScan& scan, std::size_t index) const {
    if (!scan.rows().has(index)) {
        return false;
    }
    const auto& attributes = scan.attributes().of(index);
    return attributes && attributes->bytes <= config_.maxUploadBytes && scan.rows().has(index, *attributes);
}

// The row of a file that is to be processed, as it stood when the scan began. Its key is read from the row as it
// stands: empty where that has gone meanwhile, or went over to another root.
async::Task<std::optional<FileStateRow>> SyncCoordinator::previousRow(const FolderScan& scan, std::size_t index) {
    if (!scan.rows().has(index)) {
        co_return std::nullopt;
    }
    FileStateRow previous{
        .path = std::string(scan.files()[index]),
        .rootPath = scan.root(),
        .logicalPath = FileRules::logicalPath(scan.files()[index], scan.root()),
        .sha256 = scan.rows().sha256(index),
        .bytes = scan.rows().attributes(index).bytes,
        .mtimeMilliseconds = scan.rows().attributes(index).mtimeMilliseconds,
    };
    const std::optional<FileStateRow> row = co_await database_.fileRecord(previous.path);
    if (row && row->rootPath == scan.root()) {
        previous.storageKey = row->storageKey;
    }
    co_return previous;
}

// The pipeline of one file, cheapest test first: attributes, then the content, then the service.
// The state row is written last, so that whatever interrupts it has the file worked on again by the next scan.
async::Task<ScanResult> SyncCoordinator::processFile(std::string path, std::string root,
                                                     std::optional<FileStateRow> previous) {
    const platform::FileAttributes attributes = platform::readFileAttributes(path);
    FileStateRow row{
        .path = path,
        .rootPath = root,
        .logicalPath = FileRules::logicalPath(path, root),
        .bytes = attributes.bytes,
        .mtimeMilliseconds = attributes.mtimeMilliseconds,
    };
    if (config_.maxUploadBytes < row.bytes) {
        log("File too large for upload, skipped: " + path);
        row.storageKey = previous ? previous->storageKey : std::string();
        row.sha256 = tooLargeMarker;
        co_await database_.upsert(std::move(row));
        co_return ScanResult::skipped;
    }
    if (previous && attributesIn(*previous) == attributes) {
        co_return ScanResult::skipped;
    }
    row.sha256 = FileRules::sha256Hex(path, isQuitting_);
    const std::string userID = co_await signedInUserID();
    row.storageKey = FileRules::buildStorageKey(userID, root, row.logicalPath);
    if (previous && previous->sha256 == row.sha256) {
        row.storageKey = previous->storageKey.empty() ? row.storageKey : previous->storageKey;
        co_await database_.upsert(std::move(row));
        co_return ScanResult::skipped;
    }
    if (const auto pause = processingDelayNanoseconds(currentMode_); pause > pause.zero()) {
        co_await clock_.sleepFor(pause);
    }
    co_await uploadOrQueue(std::move(row), userID);
    co_return ScanResult::uploaded;
}

// The stored session mostly names the user; only without that does it cost a request.
async::Task<std::string> SyncCoordinator::signedInUserID() {
    const std::optional<StoredSession> session = co_await client_.currentSession();
    if (session && session->user) {
        co_return session->user->id;
    }
    const std::optional<StoredUser> user = co_await client_.currentUser();
    if (!user) {
        throw SupabaseHTTPError::notAuthenticated();
    }
    co_return user->id;
}

// A failure of the upload leaves an item in the retry queue before it goes up; a failure of that goes up in its place.
// Where only the row is missing, the words say that the document is uploaded.
async::Task<> SyncCoordinator::uploadOrQueue(FileStateRow row, std::string userID) {
    std::exception_ptr failure;
    std::string uploaded;
    try {
        co_await upload(row);
    } catch (const DatabaseError& error) {
        uploaded = "The document is uploaded but not recorded. ";
        failure = std::make_exception_ptr(std::runtime_error(uploaded + wordsOf(error)));
    } catch (const std::exception&) {
        failure = std::current_exception();
    }
    if (!failure) {
        co_return;
    }
    RetryQueueItem item = retryItem(row, userID, platform::describe(failure));
    try {
        co_await retryQueue_.append(std::move(item));
    } catch (const std::exception& error) {
        if (uploaded.empty()) {
            throw;
        }
        throw std::runtime_error(uploaded + platform::describe(error));
    }
    std::rethrow_exception(failure);
}

async::Task<> SyncCoordinator::upload(FileStateRow row) {
    const std::string mimeType = FileRules::mimeType(row.path);
    co_await client_.uploadFile(row.path, row.storageKey, mimeType);
    const RemoteFileRecord record =
        co_await client_.upsertRemoteFile(row.logicalPath, row.storageKey, row.bytes, mimeType, row.sha256);
    if (record.ingestedSHA256 != row.sha256) {
        co_await client_.insertJob(record.id, "ingest");
    }
    co_await database_.upsert(std::move(row));
}

} // namespace veskline
