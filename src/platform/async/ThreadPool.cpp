#include "platform/async/ThreadPool.h"

#include <algorithm>
#include <csignal>
#include <pthread.h>

namespace async {

namespace {

thread_local const ThreadPool* poolOfThread = nullptr;

void blockSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

} // namespace

ThreadPool::ThreadPool(unsigned threads) {
    const unsigned count = std::max(threads, 1U);
    threads_.reserve(count);
    for (unsigned i = 0; i < count; ++i) {
        threads_.emplace_back([this] { work(); });
    }
}

ThreadPool::~ThreadPool() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
}

Executor ThreadPool::executor() const noexcept {
    return {&ThreadPool::post, const_cast<ThreadPool*>(this)};
}

bool ThreadPool::close(std::chrono::milliseconds patience) {
    std::unique_lock lock(mutex_);
    closed_ = true;
    jobs_.clear();
    return rest_.wait_for(lock, patience, [this] { return idle_ == threads_.size(); });
}

void ThreadPool::post(void* pool, Job job) {
    auto& self = *static_cast<ThreadPool*>(pool);
    const std::lock_guard lock(self.mutex_);
    if (self.closed_) {
        return;
    }
    self.jobs_.push_back(job);
    const bool isHandedOver = poolOfThread == &self && HandOver::take();
    // Under the lock: once the job is seen, it may end the wait of whoever owns the pool, and the pool with it.
    if (self.idle_ > 0 && !isHandedOver) {
        ++self.wakeUps_;
        self.wake_.notify_one();
    }
}

std::uint64_t ThreadPool::wakeUps() const {
    const std::lock_guard lock(mutex_);
    return wakeUps_;
}

void ThreadPool::work() {
    const RunningOn here(this);
    poolOfThread = this;
    blockSignals();
    std::unique_lock lock(mutex_);
    for (;;) {
        if (!jobs_.empty()) {
            const Job job = jobs_.front();
            jobs_.pop_front();
            lock.unlock();
            HandOver::forget();
            job.run(job.context);
            lock.lock();
        } else if (stopping_) {
            return;
        } else {
            ++idle_;
            rest_.notify_all();
            wake_.wait(lock);
            --idle_;
        }
    }
}

} // namespace async
