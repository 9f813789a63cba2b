#pragma once

#include "state/records/Time.h"

#include <cstdint>
#include <optional>

namespace veskline {

// State of the user's hosted ingest queue.
struct IngestStatusSnapshot {
    std::int64_t queued = 0;
    std::int64_t running = 0;
    std::int64_t errors = 0;
    std::optional<Time> oldestQueuedAt; // when the oldest waiting job was queued
    std::optional<Time> lastIngestedAt; // time of the last finished ingest

    friend bool operator==(const IngestStatusSnapshot&, const IngestStatusSnapshot&) = default;
};

} // namespace veskline
