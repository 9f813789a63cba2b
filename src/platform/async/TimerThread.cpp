#include "platform/async/TimerThread.h"

namespace async {

const Clock::Operations TimerThread::operations{
    .now = [](const void*) { return std::chrono::steady_clock::now(); },
    .wallTime = [](const void*) { return std::chrono::system_clock::now(); },
    .add = [](void* timers, Sleeper& sleeper, Instant at) { static_cast<TimerThread*>(timers)->add(sleeper, at); },
    .cancel = [](void* timers, Sleeper& sleeper) { static_cast<TimerThread*>(timers)->queue_.cancel(sleeper); },
};

TimerThread::TimerThread() : thread_([this] { run(); }) {}

TimerThread::~TimerThread() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

Clock TimerThread::clock() noexcept {
    return {operations, this};
}

void TimerThread::add(Sleeper& sleeper, Instant at) {
    if (!queue_.add(sleeper, at)) {
        return;
    }
    const std::lock_guard lock(mutex_);
    lookAgain_ = true;
    wake_.notify_one();
}

void TimerThread::run() {
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        lookAgain_ = false;
        lock.unlock();
        while (queue_.fireNextDue(std::chrono::steady_clock::now())) {
        }
        const std::optional<Instant> next = queue_.nextDue();
        lock.lock();
        const auto hasNews = [this] { return lookAgain_ || stopping_; };
        if (next) {
            wake_.wait_until(lock, *next, hasNews);
        } else {
            wake_.wait(lock, hasNews);
        }
    }
}

} // namespace async
