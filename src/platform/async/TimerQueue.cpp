#include "platform/async/TimerQueue.h"

namespace async {

namespace {

void fire(Sleeper& sleeper) noexcept {
    const Executor executor = sleeper.executor;
    const std::coroutine_handle<> waiter = sleeper.waiter;
    sleeper.resumption.fire(executor, waiter);
}

} // namespace

bool TimerQueue::add(Sleeper& sleeper, Instant at) {
    const std::lock_guard lock(mutex_);
    if (sleeper.state != Sleeper::State::idle) {
        return false;
    }
    sleeper.place = sleepers_.emplace(at, &sleeper);
    sleeper.state = Sleeper::State::queued;
    return sleeper.place == sleepers_.begin();
}

void TimerQueue::cancel(Sleeper& sleeper) {
    {
        const std::lock_guard lock(mutex_);
        if (sleeper.state == Sleeper::State::fired) {
            return;
        }
        if (sleeper.state == Sleeper::State::queued) {
            sleepers_.erase(sleeper.place);
        }
        sleeper.state = Sleeper::State::fired;
        sleeper.wasCancelled = true;
    }
    fire(sleeper);
}

bool TimerQueue::fireNextDue(Instant now) {
    Sleeper* due = nullptr;
    {
        const std::lock_guard lock(mutex_);
        if (sleepers_.empty() || sleepers_.begin()->first > now) {
            return false;
        }
        due = sleepers_.begin()->second;
        sleepers_.erase(sleepers_.begin());
        due->state = Sleeper::State::fired;
    }
    fire(*due);
    return true;
}

std::optional<Instant> TimerQueue::nextDue() const {
    const std::lock_guard lock(mutex_);
    if (sleepers_.empty()) {
        return std::nullopt;
    }
    return sleepers_.begin()->first;
}

} // namespace async
