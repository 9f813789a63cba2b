#pragma once

#include "app/Process.h"
#include "endurance/Documents.h"
#include "endurance/HandClock.h"
#include "endurance/HostedSide.h"
#include "interface/DesktopWindow.h"
#include "model/DesktopAppModel.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <string_view>

namespace veskline::endurance {

// The whole program with its window, its threads, the network and the change events of the system, as it is used for
// hours; only the time is made. A minute of it brings what a busy user does: documents change, screens are switched,
// sync is stopped and started, the user signs out and in, tokens expire, the service fails.
//
// Lives on the main thread, once; the process is left by std::quick_exit.
class Life {
public:
    Life(const std::filesystem::path& folder, HostedSide& hosted, std::uint32_t seed);
    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;

    // Signs in, picks the documents and runs the first scan.
    void begin();
    void passMinute(int minute);
    // Brings the window to one size and screen, so that footprints can be compared, and lets the threads go on for a
    // moment, with the made time standing.
    void rest();

    // Ends with a well service and a last start: what it logged of the documents, which is to skip all of them after
    // the scan that brought the last ones over.
    [[nodiscard]] std::string lastSummary();

    [[nodiscard]] const Documents& documents() const noexcept { return documents_; }
    [[nodiscard]] std::size_t scans() const noexcept { return scans_; }
    [[nodiscard]] std::size_t starts() const noexcept { return starts_; }

private:
    void useWindow();
    void useAccount(int minute);
    void moveService(int minute);
    [[nodiscard]] bool chance(unsigned oneIn) { return random_() % oneIn == 0; }

    void run(async::Task<> (DesktopAppModel::*operation)());
    void until(std::string_view what, const std::function<bool()>& isReached);
    [[nodiscard]] std::string sync();
    [[nodiscard]] AppSurroundings surroundings();

    HostedSide& hosted_;
    std::mt19937 random_;
    Documents documents_;
    HandClock clock_;
    Process process_;
    DesktopWindow window_;
    std::shared_ptr<DesktopAppModel> model_;
    bool isAway_ = false; // the service
    std::size_t scans_ = 0;
    std::size_t starts_ = 0;
    std::string summary_; // the last one
};

} // namespace veskline::endurance
