#pragma once

#include "platform/async/Executor.h"

#include <chrono>
#include <deque>
#include <memory>
#include <mutex>

class QObject;

namespace async {

// Runs jobs on the main thread, out of Qt's event loop, in the order they were posted.
//
// One wake-up of the loop carries many jobs, and at most 4 ms of them before the loop gets its turn, so that tens of
// thousands a second leave the window smooth. Jobs are taken singly: a job that runs a nested event loop (a modal
// dialog) does not hold the others up.
//
// Built and destroyed on the main thread, after the application object was built. Jobs left at the end are dropped.
class MainExecutor {
public:
    static constexpr std::chrono::milliseconds longestTurn{4};

    MainExecutor();
    ~MainExecutor();
    MainExecutor(const MainExecutor&) = delete;
    MainExecutor& operator=(const MainExecutor&) = delete;

    [[nodiscard]] Executor executor() const noexcept;

    // For the end of the process: drops all queued jobs and every later one.
    void close();

private:
    static void post(void* executor, Job job);
    void takeTurn();
    bool takeNext(Job& job);
    void wake();

    std::mutex mutex_;
    std::deque<Job> jobs_;
    bool isWakeUpUnderWay_ = false;
    bool isClosed_ = false;
    std::unique_ptr<QObject> receiver_;
};

} // namespace async
