#pragma once

#include "platform/json/Json.h"

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>

namespace veskline {

// One upload that is waiting to be tried again. The keys of its JSON form are the names of the fields.
struct RetryQueueItem {
    std::string localPath;                       // absolute
    std::string storageKey;                      // object key to upload to
    std::optional<std::string> legacyStorageKey; // the file's key in the older form without a folder tag
    std::int64_t bytes = 0;                      // size at the time of queuing
    std::optional<std::string> mimeType;
    std::optional<std::string> sha256;
    std::optional<std::string> logicalPath; // path below the synced folder
    std::optional<std::string> userID;      // owner; where absent, the one that `storageKey` names
    std::int64_t attempts = 0;              // made so far
    std::optional<std::string> lastError;

    friend bool operator==(const RetryQueueItem&, const RetryQueueItem&) = default;
};

[[nodiscard]] RetryQueueItem readRecord(std::type_identity<RetryQueueItem>, const platform::JsonObject& object);
[[nodiscard]] platform::Json toJson(const RetryQueueItem& item);

} // namespace veskline
