#include "simulation/Judgement.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <utility>

namespace veskline::simulation {

namespace {

constexpr const char* hostedEqualsDisk = "the hosted side equals the disk";
constexpr const char* stateEqualsDisk = "the state rows equal the disk";

constexpr const char* anotherContent = "another content";

constexpr const char* unseenRewrite = "same size and time";
constexpr const char* anotherUsers = "another user's rows";
constexpr const char* nestedRoots = "nested roots";
constexpr const char* staleRetry = "a stale retry item's digest over a later success";
constexpr const char* halfDone = "content that came back after a half-done upload";
constexpr const char* changedOnItsWay = "content that changed between its digest and its upload, and came back";

std::string userOf(std::string_view key) {
    return std::string(key.substr(0, key.find('/')));
}

// What a row says of the file's attributes; times of different writes are a second apart and more.
bool describes(const FileStateRow& row, const std::string& content, std::int64_t nanoseconds) {
    return row.bytes == static_cast<std::int64_t>(content.size()) &&
           std::abs(row.mtimeMilliseconds - static_cast<double>(nanoseconds) / 1e6) < 0.01;
}

} // namespace

Judgement::Judgement(World& world, Layout layout, std::string userID, Findings& findings)
    : world_(world), layout_(layout), userID_(std::move(userID)), findings_(findings) {}

void Judgement::violate(std::string_view promise, std::string_view words) {
    findings_.violate(promise, words);
}

void Judgement::pass() {
    for (const std::string& root : world_.tree().roots()) {
        for (const auto& [path, document] : Oracle::list(root).documents) {
            documents_.emplace(Oracle::storageKey(userID_, document), document);
        }
    }
    for (const auto& [key, document] : documents_) {
        judge(document);
    }
    judgeKeysWithoutFile();
    judgeStateRows();
    judgeQueue();
    if (const std::string word = world_.databaseIntegrity(); word != "ok") {
        violate("the stores are whole at every moment", word);
    }
}

void Judgement::judge(const Oracle::Document& document) {
    const std::string content = Oracle::contentOf(document.path);
    const std::int64_t time = modificationTime(document.path);
    const auto found = world_.ledger().rows().find(document.path);
    if (found == world_.ledger().rows().end() || !describes(found->second, content, time)) {
        return violate(stateEqualsDisk, document.path);
    }
    const FileStateRow& row = found->second;
    if (static_cast<std::int64_t>(content.size()) > World::maxUploadBytes) {
        return row.sha256 == "skipped-too-large" ? findings_.allow("too large") : violate(stateEqualsDisk, row.path);
    }
    if (userOf(row.storageKey) != "user-" + userID_) {
        return findings_.allow(anotherUsers);
    }
    if (row.sha256 != Oracle::sha256(content)) {
        return world_.tree().wasRewrittenUnseen(time) ? findings_.allow(unseenRewrite)
                                                      : violate(stateEqualsDisk, "digest of " + row.path);
    }
    const std::string key = Oracle::storageKey(userID_, document);
    if (layout_ != Layout::nested && row.storageKey != key) {
        return violate(stateEqualsDisk, "key of " + row.path);
    }
    judgeContent(document, key, content);
}

void Judgement::judgeContent(const Oracle::Document& document, const std::string& key, const std::string& content) {
    const std::string difference = differenceOf(document, key, content);
    if (difference.empty()) {
        return;
    }
    const auto file = world_.project().files.find(key);
    if (file != world_.project().files.end() &&
        file->second.isDeleted) { // the file was gone then: the ledger saw to it
        findings_.allow("a record marked deleted whose deletion did not end and whose content came back");
    } else if (world_.tree().wasRewrittenUnseen(modificationTime(document.path))) {
        findings_.allow(unseenRewrite);
    } else if (difference == anotherContent && world_.ledger().of(key).isOtherThanDigested) {
        findings_.allow(changedOnItsWay);
    } else if (layout_ == Layout::nested && world_.ledger().rows().at(document.path).storageKey != key) {
        findings_.allow(nestedRoots); // the row is the other root's, and tells nothing of this key
    } else if (file != world_.project().files.end() && world_.ledger().of(key).isUnconfirmed) {
        findings_.allow(world_.queue().hasHeld(key, file->second.sha256) ? staleRetry : halfDone);
    } else {
        violate(hostedEqualsDisk, difference + " of " + document.path);
    }
}

// What of the hosted side is not as the file has it; empty where all is.
std::string Judgement::differenceOf(const Oracle::Document& document, const std::string& key,
                                    const std::string& content) const {
    const auto file = world_.project().files.find(key);
    const auto object = world_.project().objects.find(key);
    if (file == world_.project().files.end() || object == world_.project().objects.end()) {
        return "nothing";
    }
    const testing::InProcessProject::File& row = file->second;
    const bool isSame = !row.isDeleted && row.userID == userID_ && row.path == document.logicalPath &&
                        row.mime == Oracle::mimeType(document.path) && row.sha256 == Oracle::sha256(content) &&
                        row.bytes == static_cast<std::int64_t>(content.size());
    const bool hasJob = row.ingestedSHA256 == row.sha256 || !world_.ledger().of(key).lacksJob;
    return !isSame ? "another row" : object->second != content ? anotherContent : !hasJob ? "no job" : "";
}

// Files that the hosted side still has, and the disk has not.
void Judgement::judgeKeysWithoutFile() {
    for (const auto& [key, file] : world_.project().files) {
        if (file.isDeleted || file.userID != userID_ || documents_.contains(key)) {
            continue;
        }
        if (world_.ledger().of(key).isUnconfirmed) {
            findings_.allow("a file gone between its hosted row and its state row");
        } else if (world_.ledger().wasSharedByUsers(key)) {
            findings_.allow(anotherUsers);
        } else if (liesInBothRoots(file)) {
            findings_.allow(nestedRoots);
        } else {
            violate(hostedEqualsDisk, "still there: " + key);
        }
    }
}

bool Judgement::liesInBothRoots(const testing::InProcessProject::File& file) const {
    const std::vector<std::string>& roots = world_.tree().roots();
    const bool isOfOuterRoot = file.storageKey.contains("/root-" + Oracle::rootTag(roots.front()) + "/");
    return layout_ == Layout::nested && (!isOfOuterRoot || file.path.starts_with("Client Notes/"));
}

void Judgement::judgeStateRows() {
    for (const auto& [path, row] : world_.ledger().rows()) {
        const bool isThere =
            std::ranges::any_of(documents_, [&](const auto& entry) { return entry.second.path == path; });
        if (!isThere) {
            violate(stateEqualsDisk, "a row without its file: " + path);
        }
    }
}

void Judgement::judgeQueue() {
    for (const RetryQueueItem& item : world_.queue().items()) {
        if (item.userID == userID_ && std::filesystem::is_regular_file(item.localPath)) {
            violate("a well service empties the queue", item.storageKey);
        }
    }
}

} // namespace veskline::simulation
