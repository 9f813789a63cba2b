#include "local_project/Journal.h"

#include <stdexcept>

#include <fmt/format.h>

namespace local_project {

using nlohmann::json;

namespace {

json pairsOf(const Fields& fields) {
    json pairs = json::array();
    for (const auto& [name, value] : fields) {
        pairs.push_back(json::array({name, value}));
    }
    return pairs;
}

json bodyOf(const JournalEntry& entry) {
    if (!entry.bodyDigest.empty()) {
        return {{"bytes", entry.bodyBytes}, {"sha256", entry.bodyDigest}};
    }
    return entry.text.empty() ? json() : json(entry.text);
}

json entryJson(const JournalEntry& entry) {
    const RequestHead head{.method = entry.method, .target = entry.target, .version = {}, .headers = {}};
    return {{"seq", entry.sequence},
            {"connection", entry.connection},
            {"method", entry.method},
            {"target", entry.target},
            {"path", entry.path},
            {"query", pairsOf(head.query())},
            {"headers", pairsOf(entry.headers)},
            {"body", bodyOf(entry)},
            {"status", entry.status ? json(*entry.status) : json()},
            {"fault", entry.fault.empty() ? json() : json(entry.fault)}};
}

} // namespace

Journal::Journal(std::size_t limit, const std::optional<std::filesystem::path>& file) : limit_(limit) {
    if (!file) {
        return;
    }
    file_.open(*file, std::ios::app);
    if (!file_) {
        throw std::runtime_error(fmt::format("cannot write the journal {}", file->string()));
    }
}

std::uint64_t Journal::begin(JournalEntry entry) {
    const std::lock_guard lock(mutex_);
    entry.sequence = ++last_;
    entries_.push_back(std::move(entry));
    if (entries_.size() > limit_) {
        entries_.pop_front();
    }
    changed_.notify_all();
    return last_;
}

JournalEntry* Journal::find(std::uint64_t sequence) {
    if (entries_.empty() || sequence < entries_.front().sequence) {
        return nullptr;
    }
    return &entries_[static_cast<std::size_t>(sequence - entries_.front().sequence)];
}

void Journal::finish(std::uint64_t sequence, const std::function<void(JournalEntry&)>& change) {
    const std::lock_guard lock(mutex_);
    JournalEntry* const entry = find(sequence);
    if (entry == nullptr) {
        return;
    }
    change(*entry);
    if (file_.is_open()) {
        file_ << textOf(entryJson(*entry)) << '\n' << std::flush;
    }
    changed_.notify_all();
}

void Journal::clear() {
    const std::lock_guard lock(mutex_);
    entries_.clear();
}

std::vector<JournalEntry> Journal::entries() const {
    const std::lock_guard lock(mutex_);
    return {entries_.begin(), entries_.end()};
}

bool Journal::waitFor(const std::function<bool(const std::deque<JournalEntry>&)>& isReached,
                      std::chrono::milliseconds patience) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, patience, [&] { return isReached(entries_); });
}

json Journal::since(std::uint64_t sequence) const {
    json list = json::array();
    for (const JournalEntry& entry : entries()) {
        if (entry.sequence > sequence) {
            list.push_back(entryJson(entry));
        }
    }
    return list;
}

} // namespace local_project
