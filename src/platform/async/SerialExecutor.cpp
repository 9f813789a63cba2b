#include "platform/async/SerialExecutor.h"

#include <utility>

namespace async {

namespace {

constexpr int jobsInARow = 32;

} // namespace

SerialExecutor::SerialExecutor(Executor base) : state_(std::make_shared<State>()) {
    state_->base = base;
}

Executor SerialExecutor::executor() const noexcept {
    return {&SerialExecutor::post, state_.get()};
}

void SerialExecutor::post(void* target, Job job) {
    auto& state = *static_cast<State*>(target);
    Executor base;
    {
        const std::lock_guard lock(state.mutex);
        state.jobs.push_back(job);
        if (state.self) {
            return;
        }
        state.self = state.shared_from_this();
        base = state.base;
    }
    base.post(Job{&SerialExecutor::drain, &state});
}

// There is one: a drain is queued for a job, and goes on where more are left.
Job SerialExecutor::takeNext(State& state) {
    const std::lock_guard lock(state.mutex);
    const Job job = state.jobs.front();
    state.jobs.pop_front();
    return job;
}

// When no job is left, the drain is over and `lastOwner` gets the state's owner, to be let go of only after the lock.
bool SerialExecutor::isDone(State& state, std::shared_ptr<State>& lastOwner) {
    const std::lock_guard lock(state.mutex);
    if (!state.jobs.empty()) {
        return false;
    }
    lastOwner = std::move(state.self);
    return true;
}

void SerialExecutor::drain(void* target) noexcept {
    auto& state = *static_cast<State*>(target);
    std::shared_ptr<State> lastOwner;
    {
        const RunningOn here(target);
        for (int i = 0; i < jobsInARow && !HandOver::isTaken(); ++i) {
            const Job job = takeNext(state);
            job.run(job.context);
            if (isDone(state, lastOwner)) {
                return;
            }
        }
    }
    state.base.post(Job{&SerialExecutor::drain, target});
}

} // namespace async
