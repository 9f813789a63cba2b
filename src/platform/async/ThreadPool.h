#pragma once

#include "platform/async/Executor.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace async {

// The process's worker threads. Jobs start in the order they were posted and run in parallel. A job may block (a digest
// does), so there are at least six threads whatever the cores.
//
// A post wakes an idle thread, unless one of the pool's own hands over (HandOver): it takes the job itself then, so
// that coroutines which wait for each other in turn cost no switch between threads. Signals are blocked on all of them:
// they are for the threads that expect them, and a lost TLS connection would raise SIGPIPE.
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

    // How often a post has woken a thread so far.
    [[nodiscard]] std::uint64_t wakeUps() const;

private:
    static void post(void* pool, Job job);
    void work();

    mutable std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable rest_;
    std::deque<Job> jobs_;
    unsigned idle_ = 0;
    std::uint64_t wakeUps_ = 0;
    bool stopping_ = false;
    bool closed_ = false;
    std::vector<std::thread> threads_;
};

} // namespace async
