#pragma once

#include "platform/json/Json.h"

#include <cstdint>
#include <string>
#include <type_traits>

namespace veskline {

// Which hosted project this installation belongs to. Not compared: there is one for the life of the process.
// The keys of its JSON form are the names of the environment variables: SUPABASE_URL and so on.
struct PublicConfig {
    static constexpr const char* defaultFilesBucket = "files";
    static constexpr std::int64_t defaultMaxUploadBytes = 5368709120; // 5 GiB

    std::string supabaseURL;     // base URL of the hosted project
    std::string supabaseAnonKey; // its public API key
    std::string filesBucket = defaultFilesBucket;
    std::string dashboardURL;
    std::int64_t maxUploadBytes = defaultMaxUploadBytes; // largest file that is uploaded
};

// Both URLs must be absolute URLs. Bucket and limit take their defaults when missing; what is there stands, also 0.
[[nodiscard]] PublicConfig readRecord(std::type_identity<PublicConfig>, const platform::JsonObject& object);
[[nodiscard]] platform::Json toJson(const PublicConfig& config);

} // namespace veskline
