#pragma once

#include "local_project/Exchange.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace local_project {

// One request as it was sent, and what became of it.
struct JournalEntry {
    std::uint64_t sequence = 0;   // from 1, in the order of arrival
    std::uint64_t connection = 0; // from 1, one number for each distinct connection
    std::string method;
    std::string target; // undecoded
    std::string path;   // decoded
    Fields headers;     // as spelled, in order
    std::string text;   // the body, empty for an upload
    std::uint64_t bodyBytes = 0;
    std::string bodyDigest;    // SHA-256 of an upload's body
    std::optional<int> status; // absent while under way, 0 where the connection was cut without an answer
    std::string fault;         // the kind of the fault that was applied
};

// The requests to the three services, the newest last; the oldest go where there are too many. May be used from any
// thread. A request stands here from its arrival, and is complete before its client can read the answer.
class Journal {
public:
    // With a `file`, every finished request is also appended there as one line of JSON.
    Journal(std::size_t limit, const std::optional<std::filesystem::path>& file);

    // Returns the entry's sequence number.
    std::uint64_t begin(JournalEntry entry);

    // Completes the entry through `change`, unless it has been dropped meanwhile.
    void finish(std::uint64_t sequence, const std::function<void(JournalEntry&)>& change);

    void clear();

    [[nodiscard]] std::vector<JournalEntry> entries() const;

    // Waits until `isReached` holds for the entries. False where `patience` ended before that.
    [[nodiscard]] bool waitFor(const std::function<bool(const std::deque<JournalEntry>&)>& isReached,
                               std::chrono::milliseconds patience);

    // The entries behind a sequence number as a JSON array.
    [[nodiscard]] nlohmann::json since(std::uint64_t sequence) const;

private:
    [[nodiscard]] JournalEntry* find(std::uint64_t sequence);

    std::size_t limit_;
    std::ofstream file_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<JournalEntry> entries_;
    std::uint64_t last_ = 0;
};

} // namespace local_project
