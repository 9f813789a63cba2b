#include "state/AppPaths.h"

#include "platform/files/FileError.h"
#include "platform/files/Folders.h"
#include "platform/files/HomeFolder.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace veskline::AppPaths {

namespace {

std::string joined(std::string folder, std::string_view name) {
    if (!folder.ends_with('/')) {
        folder += '/';
    }
    return folder.append(name);
}

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::string dataFolder() {
    // A relative path there is invalid and to be ignored, says the XDG Base Directory Specification.
    if (std::string folder = environment("XDG_DATA_HOME"); folder.starts_with('/')) {
        return folder;
    }
    const std::string home = platform::homeFolder();
    if (!home.starts_with('/')) {
        throw platform::FileError("The home folder of this user is not known: the variable HOME is not set");
    }
    return joined(home, ".local/share");
}

std::string absolute(const std::string& path) {
    std::error_code error;
    std::string result = std::filesystem::absolute(path, error).string();
    return error ? throw platform::FileError(path, "found from the working directory", error.value()) : result;
}

std::optional<std::string> legacyFile(std::string_view name) {
    const std::optional<std::string> folder = legacyStateDirectory();
    return folder ? std::optional(joined(*folder, name)) : std::nullopt;
}

} // namespace

std::string stateDirectory() {
    const std::string chosen = environment("VESK_STATE_DIR");
    std::string folder = chosen.empty() ? joined(dataFolder(), appFolderName) : absolute(chosen);
    platform::createFolders(folder);
    return folder;
}

std::string sessionFile() {
    return joined(stateDirectory(), "session.json");
}

std::string retryQueueFile() {
    return joined(stateDirectory(), "retry-queue.json");
}

std::string databaseFile() {
    return joined(stateDirectory(), "state.sqlite3");
}

std::optional<std::string> legacyStateDirectory() {
    try {
        std::string folder = joined(dataFolder(), legacyElectronFolderName);
        return ::access(folder.c_str(), F_OK) == 0 ? std::optional(std::move(folder)) : std::nullopt;
    } catch (const platform::FileError&) {
        return std::nullopt;
    }
}

std::optional<std::string> legacySessionFile() {
    return legacyFile("session.json");
}

std::optional<std::string> legacyRetryQueueFile() {
    return legacyFile("retry-queue.json");
}

std::optional<std::string> legacyDatabaseFile() {
    return legacyFile("state.db");
}

} // namespace veskline::AppPaths
