#pragma once

#include "state/records/RemoteFileRecord.h"
#include "state/records/Time.h"

#include <optional>
#include <string>

namespace veskline {

// A failed ingest job joined with its file, for the activity screen.
struct FailedUploadItem {
    std::string id; // of the job
    std::optional<std::string> fileID;
    std::optional<std::string> error;
    std::optional<Time> createdAt; // when the job was created
    std::optional<RemoteFileRecord> file;

    friend bool operator==(const FailedUploadItem&, const FailedUploadItem&) = default;
};

} // namespace veskline
