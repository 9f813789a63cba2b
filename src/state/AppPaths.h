#pragma once

#include <optional>
#include <string>

// The one place that knows where the state of this application lies, and that of the older desktop application, which
// is only ever read.
//
// Pure functions over the environment and the file system: each call works the answer out afresh. They run wherever
// they are called. All paths are absolute.

namespace veskline::AppPaths {

// The user's data folder, $XDG_DATA_HOME or ~/.local/share (XDG Base Directory Specification), holds both of these.
inline constexpr const char* appFolderName = "VesklineNative";
inline constexpr const char* legacyElectronFolderName = "vesk-desktop/state";

// The folder of this application's state: `VESK_STATE_DIR` where that is set and not empty, counted from the working
// directory, else `appFolderName` in the data folder. It is created with all that is missing above it, private to the
// user. Throws platform::FileError where it cannot be.
[[nodiscard]] std::string stateDirectory();

// The files in that folder; each call makes sure of the folder, and throws what stateDirectory() throws.
[[nodiscard]] std::string sessionFile();
[[nodiscard]] std::string retryQueueFile();
[[nodiscard]] std::string databaseFile();

// The older application's folder; absent where it never ran. `VESK_STATE_DIR` has no effect on it.
[[nodiscard]] std::optional<std::string> legacyStateDirectory();

// The files in that folder, whether they exist or not; absent where the folder is.
[[nodiscard]] std::optional<std::string> legacySessionFile();
[[nodiscard]] std::optional<std::string> legacyRetryQueueFile();
[[nodiscard]] std::optional<std::string> legacyDatabaseFile();

} // namespace veskline::AppPaths
