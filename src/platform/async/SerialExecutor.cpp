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

// Takes the next job. When there is none, the drain is over and `lastOwner` gets the state's owner, to be let go of
// only after the lock.
bool SerialExecutor::takeNext(State& state, Job& job, std::shared_ptr<State>& lastOwner) {
    const std::lock_guard lock(state.mutex);
    if (state.jobs.empty()) {
        lastOwner = std::move(state.self);
        return false;
    }
    job = state.jobs.front();
    state.jobs.pop_front();
    return true;
}

void SerialExecutor::drain(void* target) noexcept {
    auto& state = *static_cast<State*>(target);
    std::shared_ptr<State> lastOwner;
    {
        const RunningOn here(target);
        Job job;
        for (int i = 0; i < jobsInARow; ++i) {
            if (!takeNext(state, job, lastOwner)) {
                return;
            }
            job.run(job.context);
        }
    }
    state.base.post(Job{&SerialExecutor::drain, target});
}

} // namespace async
