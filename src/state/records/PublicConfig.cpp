#include "state/records/PublicConfig.h"

#include "platform/json/AbsoluteUrl.h"
#include "platform/json/JsonObject.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace veskline {

namespace {

std::string readUrl(const platform::JsonObject& object, const char* key) {
    std::string url = object.required<std::string>(key);
    if (!platform::isAbsoluteUrl(url)) {
        throw platform::JsonError(fmt::format("The value of \"{}\" is not an absolute URL", key));
    }
    return url;
}

} // namespace

PublicConfig readRecord(std::type_identity<PublicConfig>, const platform::JsonObject& object) {
    return {.supabaseURL = readUrl(object, "SUPABASE_URL"),
            .supabaseAnonKey = object.required<std::string>("SUPABASE_ANON_KEY"),
            .filesBucket =
                object.optional<std::string>("SUPABASE_FILES_BUCKET").value_or(PublicConfig::defaultFilesBucket),
            .dashboardURL = readUrl(object, "DASHBOARD_URL"),
            .maxUploadBytes =
                object.optional<std::int64_t>("VESK_MAX_UPLOAD_BYTES").value_or(PublicConfig::defaultMaxUploadBytes)};
}

platform::Json toJson(const PublicConfig& config) {
    return {{"SUPABASE_URL", config.supabaseURL},
            {"SUPABASE_ANON_KEY", config.supabaseAnonKey},
            {"SUPABASE_FILES_BUCKET", config.filesBucket},
            {"DASHBOARD_URL", config.dashboardURL},
            {"VESK_MAX_UPLOAD_BYTES", config.maxUploadBytes}};
}

} // namespace veskline
