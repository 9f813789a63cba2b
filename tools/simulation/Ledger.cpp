#include "simulation/Ledger.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace veskline::simulation {

namespace {

constexpr std::string_view tooLarge = "skipped-too-large";

std::string userOf(std::string_view key) {
    return std::string(key.substr(0, key.find('/')));
}

const FileStateRow* rowOf(const std::string& key, const Ledger::Rows& rows) {
    const auto found = std::ranges::find_if(rows, [&](const auto& each) { return each.second.storageKey == key; });
    return found == rows.end() ? nullptr : &found->second;
}

} // namespace

void Ledger::scanBegins(const std::string& root) {
    ++walksUnderWay_;
    walks_.push_back({root, Oracle::list(root), rows_});
}

void Ledger::scanEnds(const std::string& summary) {
    if (walks_.size() == 1) { // else nobody knows whose end this is
        judgeSummary(summary);
    }
    if (--walksUnderWay_ <= 0) {
        isAtRest();
    }
}

// Deletions come behind the last file: a pass that ended early has none.
void Ledger::judgeSummary(const std::string& summary) {
    std::size_t uploaded = 0;
    std::size_t skipped = 0;
    std::size_t deleted = 0;
    std::size_t failed = 0;
    const int read = std::sscanf(summary.c_str(), "Summary: uploaded %zu, skipped %zu, deleted %zu, failed %zu.",
                                 &uploaded, &skipped, &deleted, &failed);
    if (read == 4 && deleted > 0 && uploaded + skipped + failed < walks_.front().listing.documents.size()) {
        findings_.violate("nothing is deleted before every file was visited", summary);
    }
}

const Ledger::KeyHistory& Ledger::of(const std::string& key) const {
    static const KeyHistory none;
    const auto found = keys_.find(key);
    return found == keys_.end() ? none : found->second;
}

void Ledger::carriedOut(std::string_view request, const std::string& key) {
    if (request.starts_with("POST /storage/")) {
        keys_[key].isUnconfirmed = true;
    } else if (request.starts_with("POST /rest/v1/files")) {
        upserted(key);
    } else if (request.starts_with("POST /rest/v1/jobs") && project_.jobs.back().kind == "ingest") {
        KeyHistory& history = keys_[key];
        history.lacksJob = false;
        history.jobbed.insert(history.recorded.begin(), history.recorded.end());
    } else if (request.starts_with("PATCH ")) {
        markedDeleted(key);
    }
}

void Ledger::upserted(const std::string& key) {
    const testing::InProcessProject::File& file = project_.files.at(key);
    KeyHistory& history = keys_[key];
    const bool isIngested = file.ingestedSHA256 == file.sha256;
    history.lacksJob = !isIngested && (history.lacksJob || !history.recorded.contains(file.sha256));
    history.recorded.insert(file.sha256);
    if (isIngested) {
        history.jobbed.insert(file.sha256);
    }
    history.isUnconfirmed = true;
}

void Ledger::markedDeleted(const std::string& key) {
    const FileStateRow* row = rowOf(key, rows_);
    for (const Walk& walk : walks_) {
        row = row == nullptr ? rowOf(key, walk.rows) : row;
    }
    if (row == nullptr) {
        findings_.violate("no file that may exist is taken for deleted", key + " has no state row");
    } else {
        requireGone(*row, "marked deleted");
    }
}

// What is told to be deleted was not there when some scan under way looked.
void Ledger::requireGone(const FileStateRow& row, std::string_view what) {
    const bool wasGone = std::ranges::any_of(walks_, [&](const Walk& walk) {
        return row.path.starts_with(walk.root + "/") && !walk.listing.mayHold(row.path);
    });
    if (!wasGone) {
        findings_.violate("no file that may exist is taken for deleted", fmt::format("{} was {}", row.path, what));
    }
}

void Ledger::rowsBecame(Rows rows) {
    const Rows before = std::exchange(rows_, std::move(rows));
    for (const auto& [path, row] : before) {
        if (!rows_.contains(path)) {
            rowDropped(row);
        }
    }
    for (const auto& [path, row] : rows_) {
        const auto old = before.find(path);
        if (old == before.end() || old->second != row) {
            rowWritten(old == before.end() ? nullptr : &old->second, row);
        }
    }
}

void Ledger::rowWritten(const FileStateRow* before, const FileStateRow& row) {
    const bool keepsKey = before != nullptr && before->storageKey == row.storageKey;
    if (before != nullptr && !keepsKey && userOf(before->storageKey) != userOf(row.storageKey)) {
        shared_.insert(before->storageKey);
    }
    if (row.sha256 == tooLarge || (keepsKey && before->sha256 == row.sha256)) {
        return;
    }
    KeyHistory& history = keys_[row.storageKey];
    const auto object = project_.objects.find(row.storageKey);
    if (object == project_.objects.end() || !history.recorded.contains(row.sha256) ||
        !history.jobbed.contains(row.sha256)) {
        return findings_.violate("the state row is written last", row.path);
    }
    history.isUnconfirmed = false;
    history.isOtherThanDigested = Oracle::sha256(object->second) != row.sha256;
    if (walksUnderWay_ == 1) { // else another run may be about to confirm what it recorded meanwhile
        const std::string& recorded = project_.files.at(row.storageKey).sha256;
        std::erase_if(history.recorded, [&](const std::string& digest) { return digest != recorded; });
        std::erase_if(history.jobbed, [&](const std::string& digest) { return digest != recorded; });
    }
}

void Ledger::rowDropped(const FileStateRow& row) {
    requireGone(row, "forgotten");
    if (userOf(row.storageKey) != "user-" + project_.userID()) {
        shared_.insert(row.storageKey);
    }
}

} // namespace veskline::simulation
