#pragma once

#include "platform/json/Json.h"

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>

namespace veskline {

// One row of the hosted `files` table. A query that selects fewer columns gives the same record with less in it.
struct RemoteFileRecord {
    std::string id;
    std::optional<std::string> userID;
    std::optional<std::string> storageBucket;
    std::optional<std::string> storageKey;
    std::optional<std::string> sha256;         // of the uploaded content
    std::optional<std::string> ingestedSHA256; // of the content that the hosted worker last ingested
    std::optional<bool> isDeleted;
    std::optional<std::string> path; // as recorded on the hosted side
    std::optional<std::int64_t> bytes;
    std::optional<std::string> mime;
    std::optional<std::string> ingestError; // failure text of the hosted worker

    friend bool operator==(const RemoteFileRecord&, const RemoteFileRecord&) = default;
};

[[nodiscard]] RemoteFileRecord readRecord(std::type_identity<RemoteFileRecord>, const platform::JsonObject& object);
[[nodiscard]] platform::Json toJson(const RemoteFileRecord& record);

} // namespace veskline
