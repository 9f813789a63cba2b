#pragma once

#include "app/Process.h"
#include "interface/DesktopWindow.h"
#include "model/DesktopAppModel.h"
#include "window/FrameTimes.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace bench {

// The program in its first scan of a folder, with its window or without: how long that takes, and what frames the
// window makes meanwhile. On the main thread, once; the process is left by std::quick_exit.
class FirstScan {
public:
    // State lies where the environment says, and the hosted project too.
    FirstScan(std::string documents, bool hasWindow, const std::string& windowState);

    // Signs in, picks the folder, and scans it at full speed. Throws std::runtime_error where the scan did not start.
    void run();

    [[nodiscard]] std::chrono::microseconds duration() const { return duration_; }
    // Absent without a window.
    [[nodiscard]] const std::optional<FrameTimes>& frames() const { return frames_; }

private:
    void signIn();
    void await(async::Task<> (veskline::DesktopAppModel::*operation)());

    std::string documents_;
    veskline::Process process_;
    std::optional<veskline::DesktopWindow> window_;
    std::shared_ptr<veskline::DesktopAppModel> model_;
    std::optional<FrameTimes> frames_;
    std::chrono::microseconds duration_{0};
};

} // namespace bench
