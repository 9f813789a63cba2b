#pragma once

#include "state/records/Time.h"

#include <cstdint>
#include <optional>

namespace veskline {

// Progress of the initial scan, for the interface.
struct IndexingProgressSnapshot {
    static const IndexingProgressSnapshot idle;

    std::optional<std::int64_t> totalFiles; // as far as known; absent before the first run
    std::int64_t scannedFiles = 0;          // finished so far
    bool isActive = false;                  // whether the initial scan is under way
    std::optional<Time> startedAt;

    friend bool operator==(const IndexingProgressSnapshot&, const IndexingProgressSnapshot&) = default;
};

inline const IndexingProgressSnapshot IndexingProgressSnapshot::idle{};

} // namespace veskline
