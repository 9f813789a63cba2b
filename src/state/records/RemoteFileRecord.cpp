#include "state/records/RemoteFileRecord.h"

#include "platform/json/JsonObject.h"

#include <nlohmann/json.hpp>

namespace veskline {

RemoteFileRecord readRecord(std::type_identity<RemoteFileRecord>, const platform::JsonObject& object) {
    return {.id = object.required<std::string>("id"),
            .userID = object.optional<std::string>("user_id"),
            .storageBucket = object.optional<std::string>("storage_bucket"),
            .storageKey = object.optional<std::string>("storage_key"),
            .sha256 = object.optional<std::string>("sha256"),
            .ingestedSHA256 = object.optional<std::string>("ingested_sha256"),
            .isDeleted = object.optional<bool>("is_deleted"),
            .path = object.optional<std::string>("path"),
            .bytes = object.optional<std::int64_t>("bytes"),
            .mime = object.optional<std::string>("mime"),
            .ingestError = object.optional<std::string>("ingest_error")};
}

platform::Json toJson(const RemoteFileRecord& record) {
    platform::Json json = {{"id", record.id}};
    const auto put = [&json](const char* key, const auto& value) {
        if (value) {
            json[key] = *value;
        }
    };
    put("user_id", record.userID);
    put("storage_bucket", record.storageBucket);
    put("storage_key", record.storageKey);
    put("sha256", record.sha256);
    put("ingested_sha256", record.ingestedSHA256);
    put("is_deleted", record.isDeleted);
    put("path", record.path);
    put("bytes", record.bytes);
    put("mime", record.mime);
    put("ingest_error", record.ingestError);
    return json;
}

} // namespace veskline
