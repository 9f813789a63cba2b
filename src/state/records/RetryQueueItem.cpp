#include "state/records/RetryQueueItem.h"

#include "platform/json/JsonObject.h"

#include <nlohmann/json.hpp>

namespace veskline {

RetryQueueItem readRecord(std::type_identity<RetryQueueItem>, const platform::JsonObject& object) {
    return {.localPath = object.required<std::string>("localPath"),
            .storageKey = object.required<std::string>("storageKey"),
            .legacyStorageKey = object.optional<std::string>("legacyStorageKey"),
            .bytes = object.required<std::int64_t>("bytes"),
            .mimeType = object.optional<std::string>("mimeType"),
            .sha256 = object.optional<std::string>("sha256"),
            .logicalPath = object.optional<std::string>("logicalPath"),
            .userID = object.optional<std::string>("userID"),
            .attempts = object.required<std::int64_t>("attempts"),
            .lastError = object.optional<std::string>("lastError")};
}

platform::Json toJson(const RetryQueueItem& item) {
    platform::Json json = {{"localPath", item.localPath},
                           {"storageKey", item.storageKey},
                           {"bytes", item.bytes},
                           {"attempts", item.attempts}};
    const auto put = [&json](const char* key, const std::optional<std::string>& text) {
        if (text) {
            json[key] = *text;
        }
    };
    put("legacyStorageKey", item.legacyStorageKey);
    put("mimeType", item.mimeType);
    put("sha256", item.sha256);
    put("logicalPath", item.logicalPath);
    put("userID", item.userID);
    put("lastError", item.lastError);
    return json;
}

} // namespace veskline
