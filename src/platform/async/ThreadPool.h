#pragma once

#include "platform/async/Executor.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace async {

// The process's worker threads. Jobs start in the order they were posted and run in parallel. A job may block (a digest
// does), so there are at least six threads whatever the cores.
//
// Owned by whoever builds the engine, outlives everything that runs on it. The destructor first runs all jobs that are
// queued, and those that they post.
class ThreadPool {
public:
    static constexpr unsigned leastThreads = 6;

    explicit ThreadPool(unsigned threads = leastThreads);
    ~ThreadPool();
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    [[nodiscard]] Executor executor() const noexcept;

    // For the end of the process: drops all queued jobs and every later one, and waits at most `patience` for the jobs
    // that run. False when one of them still runs; its thread is then left to the end of the process.
    bool close(std::chrono::milliseconds patience);

private:
    static void post(void* pool, Job job);
    void work();

    mutable std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable rest_;
    std::deque<Job> jobs_;
    unsigned idle_ = 0;
    bool stopping_ = false;
    bool closed_ = false;
    std::vector<std::thread> threads_;
};

} // namespace async
