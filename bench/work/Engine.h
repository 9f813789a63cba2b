#pragma once

#include "app/Heap.h"
#include "measure/Sample.h"
#include "model/Collaborators.h"
#include "platform/async/SerialExecutor.h"
#include "platform/async/ThreadPool.h"
#include "platform/async/TimerThread.h"
#include "platform/http/CurlTransport.h"
#include "sync/ScanResult.h"

#include <functional>
#include <future>
#include <optional>
#include <string>
#include <vector>

namespace bench {

// The whole agent below its model, on real threads and the real network. Changes on the disk are told by hand: what
// the watch costs is not measured here.
class Engine {
public:
    static constexpr const char* userID = "8c1f2d3e-5b7a-4e21-9a3c-1234567890ab";

    // `url` is the hosted project. State lies where the environment says.
    explicit Engine(const std::string& url);

    void signIn();

    // Starts sync at full speed and gives what its first scan made of the files. Throws what the start throws.
    veskline::ScanCounters startSync(const std::string& root);

    // Tells the running engine that something in the root has changed, and gives the cost of the scan that follows;
    // it counts the files that had not changed.
    [[nodiscard]] Sample rescan(const std::string& root);

    // Puts one file into the bucket.
    void upload(const std::string& file);

private:
    [[nodiscard]] veskline::AppSurroundings surroundings();
    void takeLine(const std::string& line);

    veskline::Heap heap_;                                         // as the program has it
    async::ThreadPool pool_{async::ThreadPool::leastThreads + 1}; // one waits for the network
    async::SerialExecutor main_;
    async::TimerThread timers_;
    platform::CurlTransport http_{pool_.executor()};
    veskline::Collaborators agent_;

    std::function<void(std::vector<std::string>)> tellChanges_;
    veskline::ScanCounters counters_;
    std::optional<Stopwatch> rescanTime_; // while a rescan runs
    std::promise<Sample> rescanCost_;
};

} // namespace bench
