#include "sync/StoredSelection.h"

#include "platform/json/JsonObject.h"
#include "state/LocalDatabase.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <utility>

namespace veskline {

namespace {

constexpr const char* autoStartKey = "auto_index";
constexpr const char* modeKey = "pref_mode";
constexpr const char* foldersKey = "watched_folders";

std::vector<std::string> decodeFolders(const std::string& text) {
    try {
        return platform::decodeJson<std::vector<std::string>>(text);
    } catch (const platform::JsonError&) {
        return {};
    }
}

} // namespace

async::Task<> StoredSelection::write(std::vector<std::string> folders, SyncMode mode) {
    co_await database_.setPreference("true", autoStartKey);
    co_await database_.setPreference(std::string(rawValue(mode)), modeKey);
    std::string text = platform::encodeCompact(platform::Json(folders));
    co_await database_.setPreference(std::move(text), foldersKey);
}

async::Task<std::vector<std::string>> StoredSelection::folders() {
    const std::optional<std::string> text = co_await database_.preference(foldersKey);
    co_return text ? decodeFolders(*text) : std::vector<std::string>();
}

async::Task<SyncMode> StoredSelection::mode() {
    const std::optional<std::string> text = co_await database_.preference(modeKey);
    co_return fromRawValue(text.value_or("")).value_or(SyncMode::regular);
}

async::Task<bool> StoredSelection::autoStart() {
    const std::optional<std::string> text = co_await database_.preference(autoStartKey);
    co_return text == "true";
}

} // namespace veskline
