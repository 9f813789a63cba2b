#include "state/PublicConfigLoader.h"

#include "platform/files/FileError.h"
#include "platform/files/WholeFile.h"
#include "platform/json/AbsoluteUrl.h"
#include "platform/json/JsonObject.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace veskline::PublicConfigLoader {

namespace {

constexpr const char* resourceFileName = "public-config.json";
constexpr std::array<const char*, 3> neededVariables{"SUPABASE_URL", "SUPABASE_ANON_KEY", "DASHBOARD_URL"};
constexpr std::size_t mostFileBytes = std::size_t{1} << 20U;

using Environment = std::map<std::string, std::string>;

std::optional<std::string> valueOf(const Environment& environment, const std::string& name) {
    const auto found = environment.find(name);
    return found == environment.end() ? std::nullopt : std::optional(found->second);
}

// A whole text that is one decimal number, with a sign or without.
std::optional<std::int64_t> decimal(std::string_view text) {
    if (text.starts_with('+') && !text.starts_with("+-")) {
        text.remove_prefix(1);
    }
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole ? std::optional(number) : std::nullopt;
}

std::optional<PublicConfig> fromEnvironment(const Environment& environment) {
    const std::optional<std::string> supabaseURL = valueOf(environment, "SUPABASE_URL");
    const std::optional<std::string> anonKey = valueOf(environment, "SUPABASE_ANON_KEY");
    const std::optional<std::string> dashboardURL = valueOf(environment, "DASHBOARD_URL");
    if (!supabaseURL || !anonKey || !dashboardURL || !platform::isAbsoluteUrl(*supabaseURL) ||
        !platform::isAbsoluteUrl(*dashboardURL)) {
        return std::nullopt;
    }
    const std::optional<std::string> bucket =
        valueOf(environment, "SUPABASE_BUCKET").or_else([&] { return valueOf(environment, "SUPABASE_FILES_BUCKET"); });
    const std::optional<std::string> limit = valueOf(environment, "VESK_MAX_UPLOAD_BYTES");
    return PublicConfig{.supabaseURL = *supabaseURL,
                        .supabaseAnonKey = *anonKey,
                        .filesBucket = bucket.value_or(PublicConfig::defaultFilesBucket),
                        .dashboardURL = *dashboardURL,
                        .maxUploadBytes = limit.and_then([](const std::string& text) { return decimal(text); })
                                              .value_or(PublicConfig::defaultMaxUploadBytes)};
}

// The resource in a folder, where the folder is given and holds it.
std::optional<std::string> resourceIn(const std::optional<std::string>& folder) {
    const std::optional<std::string> path =
        folder.transform([](const std::string& name) { return fmt::format("{}/{}", name, resourceFileName); });
    return path && ::access(path->c_str(), F_OK) == 0 ? path : std::nullopt;
}

std::optional<std::string> firstCandidate(const std::optional<std::string>& bundle,
                                          const std::optional<std::string>& resourceDirectory) {
    if (std::optional<std::string> given = resourceIn(bundle)) {
        return given;
    }
    // The application's own stands also where there is no such file: reading it then names it in the failure.
    return resourceDirectory.transform(
        [](const std::string& folder) { return fmt::format("{}/{}", folder, resourceFileName); });
}

// The file behind a link, which is the one that can be mended; the path itself where it is no link.
std::string linkTarget(const std::string& path) {
    std::error_code error;
    const std::filesystem::path target = std::filesystem::read_symlink(path, error);
    return error ? path : (std::filesystem::path(path).parent_path() / target).lexically_normal().string();
}

PublicConfig fromFile(const std::string& candidate) {
    const std::string path = linkTarget(candidate);
    const std::string bytes = platform::WholeFile(path).read(mostFileBytes);
    try {
        PublicConfig config = platform::decodeJson<PublicConfig>(bytes);
        if (config.maxUploadBytes == 0) {
            config.maxUploadBytes = PublicConfig::defaultMaxUploadBytes;
        }
        return config;
    } catch (const platform::JsonError& error) {
        throw platform::JsonError(fmt::format("{} (in the file \"{}\")", error.what(), path));
    }
}

std::optional<std::string> faultOfAddress(const Environment& environment, const std::string& name) {
    const std::optional<std::string> value = valueOf(environment, name);
    if (!value) {
        return std::nullopt;
    }
    if (!platform::isAbsoluteUrl(*value)) {
        return fmt::format("{} is \"{}\", which is no absolute address. The variables of the environment don't count; "
                           "the project is that of public-config.json.",
                           name, *value);
    }
    const bool isWeb = value->starts_with("http://") || value->starts_with("https://");
    return isWeb ? std::nullopt
                 : std::optional(
                       fmt::format("{} is \"{}\", which begins with neither http:// nor https://.", name, *value));
}

std::optional<std::string> faultOfTheLimit(const Environment& environment) {
    const std::optional<std::string> limit = valueOf(environment, "VESK_MAX_UPLOAD_BYTES");
    if (!limit || decimal(*limit)) {
        return std::nullopt;
    }
    return fmt::format("VESK_MAX_UPLOAD_BYTES is \"{}\", which is no whole number of bytes. The limit is {}.", *limit,
                       PublicConfig::defaultMaxUploadBytes);
}

} // namespace

std::vector<std::string> environmentFaults(const Surroundings& surroundings) {
    const Environment& environment = surroundings.environment;
    std::vector<std::string> missing(neededVariables.begin(), neededVariables.end());
    std::erase_if(missing, [&](const std::string& name) { return environment.contains(name); });
    if (missing.size() == neededVariables.size()) {
        return {};
    }
    std::vector<std::string> faults;
    if (!missing.empty()) {
        faults.push_back(fmt::format("The environment names a project in part: {} {} not set. Its variables don't "
                                     "count; the project is that of public-config.json.",
                                     fmt::join(missing, " and "), missing.size() == 1 ? "is" : "are"));
    }
    for (std::optional<std::string> fault :
         {faultOfAddress(environment, "SUPABASE_URL"), faultOfAddress(environment, "DASHBOARD_URL"),
          faultOfTheLimit(environment)}) {
        if (fault) {
            faults.push_back(*std::move(fault));
        }
    }
    return faults;
}

Surroundings processSurroundings() {
    Surroundings result;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        const std::size_t equals = text.find('=');
        if (equals != std::string_view::npos) {
            result.environment.emplace(text.substr(0, equals), text.substr(equals + 1));
        }
    }
    std::error_code error;
    const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", error);
    if (!error) {
        const std::filesystem::path folder = executable.parent_path() / "../share/veskline";
        result.resourceDirectory = folder.lexically_normal().string();
    }
    return result;
}

PublicConfig load(const std::optional<std::string>& bundle, const Surroundings& surroundings) {
    if (const std::optional<PublicConfig> config = fromEnvironment(surroundings.environment)) {
        return *config;
    }
    const std::optional<std::string> candidate = firstCandidate(bundle, surroundings.resourceDirectory);
    return candidate ? fromFile(*candidate) : throw platform::FileError(resourceFileName, "opened", ENOENT);
}

} // namespace veskline::PublicConfigLoader
