#pragma once

#include "sync/SyncCoordinator.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace veskline::testing {

// A change stream that reports what the test says. One stands at a time.
class ScriptedEventStream {
public:
    [[nodiscard]] SyncCoordinator::WatchFolders watcher() {
        return [this](std::vector<std::string> roots, std::function<void(std::vector<std::string>)> onPathsChanged) {
            watched = std::move(roots);
            callback_ = std::move(onPathsChanged);
            ++starts;
            return SyncCoordinator::EventStream{.stop = [this] {
                watched.clear();
                callback_ = {};
                ++stops;
            }};
        };
    }
    // A batch, as it comes on the main thread.
    void report(std::vector<std::string> paths) {
        if (callback_) {
            callback_(std::move(paths));
        }
    }
    // What the engine would be called with by a stream that does not know of its stop yet.
    [[nodiscard]] std::function<void(std::vector<std::string>)> callback() const { return callback_; }

    std::vector<std::string> watched;
    int starts = 0;
    int stops = 0;

private:
    std::function<void(std::vector<std::string>)> callback_;
};

} // namespace veskline::testing
