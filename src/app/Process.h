#pragma once

#include "model/Collaborators.h"
#include "platform/async/MainExecutor.h"
#include "platform/async/ThreadPool.h"
#include "platform/async/TimerThread.h"
#include "platform/http/CurlTransport.h"

#include <atomic>
#include <chrono>

namespace veskline {

// What the whole program runs on: the threads, the timers and the network of this process. Built first, on the main
// thread, after the application object.
class Process {
public:
    // No job of ours is longer than the time between two looks at the flag, a commit of the database apart.
    static constexpr std::chrono::milliseconds patience{1500};

    Process() = default;
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    [[nodiscard]] AppSurroundings surroundings();

    // Ends everything at once and cancels nothing, since a cancelled run would queue every file that is left: no
    // further job is taken, exchanges are dropped, walks and digests end at their next look, a write that was begun is
    // finished. Waiting coroutines stay as they are, so the process has to be left by std::quick_exit.
    void quit();

private:
    std::atomic<bool> isQuitting_ = false;
    async::MainExecutor main_;
    async::ThreadPool pool_{async::ThreadPool::leastThreads + 1}; // one waits for the network
    async::TimerThread timers_;
    platform::CurlTransport http_{pool_.executor()};
};

} // namespace veskline
