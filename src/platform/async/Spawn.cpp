#include "platform/async/Spawn.h"

namespace async {

bool TaskRecord::hasEnded() const {
    const std::lock_guard lock(mutex_);
    return hasEnded_;
}

bool TaskRecord::addWaiter(Executor executor, std::coroutine_handle<> waiter) {
    const std::lock_guard lock(mutex_);
    if (hasEnded_) {
        return false;
    }
    waiters_.push_back(Waiter{executor, waiter});
    return true;
}

void TaskRecord::waitBlocking() const {
    std::unique_lock lock(mutex_);
    ended_.wait(lock, [this] { return hasEnded_; });
}

void TaskRecord::end() {
    std::vector<Waiter> waiters;
    {
        const std::lock_guard lock(mutex_);
        hasEnded_ = true;
        waiters.swap(waiters_);
        ended_.notify_all();
    }
    for (const Waiter& waiter : waiters) {
        waiter.executor.post(waiter.coroutine);
    }
}

} // namespace async
