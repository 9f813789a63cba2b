#pragma once

#include <functional>
#include <optional>
#include <string>

namespace veskline {

// Asks the user for one folder in a modal dialog, and answers on the main thread with its absolute path, or with none
// where the user cancelled. It may answer at once or later, once at most; a dialog that lets its answer go unused
// counts as cancelled.
using FolderPicker = std::function<void(std::function<void(std::optional<std::string> path)> answer)>;

// What only a user's desktop can give: the window puts its own in, a test puts in what it needs. Called on the main
// thread. Where one is missing, nothing happens.
struct UserSurroundings {
    FolderPicker folderPicker;
    std::function<void(std::string url)> openURL; // in the user's default browser
};

} // namespace veskline
