#include "Target.h"
#include "platform/files/FileError.h"
#include "platform/json/AbsoluteUrl.h"
#include "platform/text/Utf8.h"
#include "state/PublicConfigLoader.h"
#include "support/TemporaryFolder.h"

#include <nlohmann/json.hpp>

#include <string>

namespace veskline::fuzz {

namespace {

using PublicConfigLoader::Surroundings;

constexpr const char* fileName = "public-config.json";

std::optional<PublicConfig> load(const Surroundings& surroundings) {
    try {
        return PublicConfigLoader::load(std::nullopt, surroundings);
    } catch (const platform::JsonError& error) {
        require(std::string_view(error.what()).contains(fileName), "a failure names the file");
        return std::nullopt;
    }
}

// Lines such as NAME=value.
std::map<std::string, std::string> environmentOf(std::string_view lines) {
    std::map<std::string, std::string> environment;
    while (!lines.empty()) {
        const std::string_view line = takeLine(lines);
        const std::size_t equals = line.find('=');
        if (equals != std::string_view::npos) {
            environment.emplace(line.substr(0, equals), line.substr(equals + 1));
        }
    }
    return environment;
}

bool isText(const PublicConfig& config) {
    return platform::isValidUtf8(config.supabaseURL + "\n" + config.supabaseAnonKey + "\n" + config.filesBucket + "\n" +
                                 config.dashboardURL);
}

void requireSound(const std::optional<PublicConfig>& config, const TemporaryFolder& folder) {
    if (!config) {
        return;
    }
    require(platform::isAbsoluteUrl(config->supabaseURL) && platform::isAbsoluteUrl(config->dashboardURL),
            "both URLs are absolute");
    if (!isText(*config)) {
        return; // only the environment can hold such a text, and no file can
    }
    const platform::Json json = toJson(*config);
    folder.write(fileName, platform::encodeCompact(json));
    const std::optional<PublicConfig> again = load({.environment = {}, .resourceDirectory = folder.string()});
    require(again.has_value(), "a configuration can be written and read again");
    platform::Json expected = json;
    if (config->maxUploadBytes == 0) {
        expected["VESK_MAX_UPLOAD_BYTES"] = PublicConfig::defaultMaxUploadBytes; // 0 in a file stands for the default
    }
    require(toJson(*again) == expected, "and is the same");
}

} // namespace

// The input as the file, and then as the environment.
void check(std::string_view input) {
    static const TemporaryFolder folder;
    folder.write(fileName, input);
    const std::optional<PublicConfig> ofFile = load({.environment = {}, .resourceDirectory = folder.string()});
    require(!ofFile || (isText(*ofFile) && ofFile->maxUploadBytes != 0),
            "a file's configuration is text, with a limit");
    requireSound(ofFile, folder);

    folder.write(fileName, "");
    const Surroundings process{.environment = environmentOf(input), .resourceDirectory = folder.string()};
    requireSound(load(process), folder);
}

} // namespace veskline::fuzz
