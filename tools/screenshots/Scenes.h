#pragma once

#include <QSize>

#include <filesystem>
#include <string>
#include <vector>

class QQuickWindow;

namespace veskline {

// One state of the window that is worth a picture.
struct Scene {
    std::string name;  // of the picture's file
    QSize size;        // of the window, in points
    double scroll = 0; // how far the screen is scrolled, from 0 at its top to 1 at its end
    // Brings the program into that state, with everything it needs under `folder`, and gives its window, which lives on
    // to the end of the process. Throws std::runtime_error where it can't.
    QQuickWindow* (*play)(const std::filesystem::path& folder);
};

[[nodiscard]] const std::vector<Scene>& allScenes();

} // namespace veskline
