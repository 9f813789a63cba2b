#pragma once

#include "state/records/StoredUser.h"
#include "state/records/SyncMode.h"

#include <optional>
#include <string>
#include <vector>

namespace veskline {

// What the sync coordinator hands back when it restores its state at start-up.
struct SyncStateSnapshot {
    std::optional<StoredUser> user;
    bool running = false;
    std::vector<std::string> folders; // stored folder paths
    SyncMode mode = SyncMode::regular;
    bool autoStart = false; // whether sync was ever started on this machine

    friend bool operator==(const SyncStateSnapshot&, const SyncStateSnapshot&) = default;
};

} // namespace veskline
