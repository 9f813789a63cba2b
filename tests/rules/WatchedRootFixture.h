#pragma once

#include "rules/WatchedRoot.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <ctime>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace veskline {

namespace fs = std::filesystem;

// A watched folder "watched" on a real disk, driven by the test step by step, beside a folder "outside". What is told
// stands as names below the watched folder, the folder itself as ".".
class WatchedRootTest : public ::testing::Test {
protected:
    using Told = std::set<std::string>;

    WatchedRootTest() {
        folder_.makeFolder("watched");
        folder_.makeFolder("outside");
    }

    [[nodiscard]] std::string in(std::string_view name) const { return folder_.at("watched/" + std::string(name)); }
    [[nodiscard]] std::string outside(std::string_view name) const {
        return folder_.at("outside/" + std::string(name));
    }
    void write(std::string_view name, std::string_view content = "text") const {
        folder_.write("watched/" + std::string(name), content);
    }

    // Lets the clock of file times, which moves in steps, come past everything that was done so far: it counts as old
    // for a watch that is set up then.
    static void passTick() {
        const auto read = [](clockid_t clock) {
            struct timespec time{};
            ::clock_gettime(clock, &time);
            return std::pair(time.tv_sec, time.tv_nsec);
        };
        for (const auto now = read(CLOCK_REALTIME); read(CLOCK_REALTIME_COARSE) <= now;) {
        }
    }

    void begin() {
        passTick();
        root_.emplace(folder_.at("watched"), WatchedRoot::Surroundings{
                                                 .calls = calls_,
                                                 .report = [this](std::string path) { report(std::move(path)); },
                                                 .ignoredFolders = {in("own state")},
                                                 .isStopped = &isStopped_,
                                             });
        root_->begin(StartMoment::now());
    }
    // Until nothing is left to do and nothing to read.
    void settle() {
        while (root_->readEvents() || root_->nextWork() != WatchedRoot::Instant::max()) {
            root_->work();
        }
    }
    void start() {
        begin();
        settle();
        told_.clear();
    }
    [[nodiscard]] Told told() {
        settle();
        return std::exchange(told_, {});
    }
    // What a look tells that is made now.
    [[nodiscard]] Told toldByLook() {
        passTick();
        root_->look();
        return told();
    }

    TemporaryFolder folder_;
    std::shared_ptr<WatchCalls> calls_ = std::make_shared<WatchCalls>(WatchCalls::kernel());
    std::atomic<bool> isStopped_ = false;
    std::optional<WatchedRoot> root_;
    Told told_;

private:
    void report(std::string path) {
        const std::string root = folder_.at("watched");
        ASSERT_TRUE(path == root || path.starts_with(root + "/")) << path;
        told_.insert(path == root ? "." : path.substr(root.size() + 1));
    }
};

} // namespace veskline
