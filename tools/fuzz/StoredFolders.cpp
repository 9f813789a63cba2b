#include "Target.h"
#include "platform/text/Utf8.h"
#include "simulation/OneThread.h"
#include "state/LocalDatabase.h"
#include "support/TemporaryFolder.h"
#include "sync/StoredSelection.h"

#include <algorithm>
#include <string>
#include <vector>

namespace veskline::fuzz {

namespace {

using Folders = std::vector<std::string>;

class Preferences {
public:
    void set(std::string_view value, const std::string& key) {
        thread_.run([&] { return database_.setPreference(std::string(value), key); });
    }
    [[nodiscard]] std::optional<std::string> value(const std::string& key) {
        return thread_.run([&] { return database_.preference(key); });
    }
    [[nodiscard]] Folders folders() {
        return thread_.run([this] { return selection_.folders(); });
    }
    [[nodiscard]] SyncMode mode() {
        return thread_.run([this] { return selection_.mode(); });
    }
    void write(const Folders& folders, SyncMode mode) {
        thread_.run([&] { return selection_.write(folders, mode); });
    }

private:
    TemporaryFolder folder_;
    testing::OneThread thread_;
    LocalDatabase database_{thread_.executor(), StorePlace{.path = folder_.at("state.sqlite3")}, std::nullopt};
    StoredSelection selection_{database_};
};

} // namespace

// The values of the folders' preference and of the mode's.
void check(std::string_view input) {
    static Preferences preferences;
    preferences.set(input, "watched_folders");
    preferences.set(input, "pref_mode");
    require(preferences.value("watched_folders") == std::string(input.substr(0, input.find('\0'))),
            "a preference is kept as the text that it is");
    const Folders folders = preferences.folders();
    const SyncMode mode = preferences.mode();
    require(std::ranges::all_of(folders, &platform::isValidUtf8), "a stored folder is text");

    preferences.write(folders, mode);
    require(preferences.folders() == folders && preferences.mode() == mode,
            "a selection that is written and read again is the same");
}

} // namespace veskline::fuzz
