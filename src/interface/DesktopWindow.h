#pragma once

#include "model/DesktopAppModel.h"

#include <QString>

#include <memory>
#include <string>
#include <vector>

class QQuickWindow;

namespace veskline {

// The window of the program. Made before the model, which asks the user through it; then shown once, over the model or
// over the reason why there is none. Lives on the main thread, from the application object to the end of its loop.
class DesktopWindow {
public:
    // Rendering settings that have to stand before the application object is made.
    static void prepareApplication();

    // `statePath` is the file in which the window remembers its screen; defaultStatePath() for the user's own.
    explicit DesktopWindow(const QString& statePath);
    ~DesktopWindow();
    DesktopWindow(const DesktopWindow&) = delete;
    DesktopWindow& operator=(const DesktopWindow&) = delete;

    [[nodiscard]] static QString defaultStatePath();

    // The folder dialog of this window and the user's browser.
    [[nodiscard]] UserSurroundings userSurroundings();

    // Both show the window, and throw std::runtime_error where it can't be built since a QML module of Qt is missing.
    //
    // The interface over `model`, whose bootstrap starts with it.
    void show(std::shared_ptr<DesktopAppModel> model);
    // Why there is no model, in three lines. Nothing else ever runs.
    void showFailure(const std::vector<std::string>& lines);

    // Shows the window over those of other programs, also where it was closed to its icon or minimised. Where the
    // desktop doesn't let a program do so, the window asks for attention. Once it was shown.
    void bringToFront();

    // Null before it is shown.
    [[nodiscard]] QQuickWindow* window() const;

private:
    class Content;
    std::unique_ptr<Content> content_;
};

} // namespace veskline
