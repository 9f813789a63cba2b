#pragma once

#include "platform/async/Executor.h"

#include <deque>
#include <memory>
#include <mutex>

namespace async {

// Runs its jobs one after the other, in the order they were posted, on the threads of another executor. This is the
// lock of every actor: a store or the coordinator owns one and never meets itself on two threads.
//
// After some jobs in a row it queues itself anew behind the others of its base, so that none starves the rest; and
// after a job that has handed over (HandOver), whose thread is waited for. It may be destroyed while jobs are queued:
// they still run.
class SerialExecutor {
public:
    explicit SerialExecutor(Executor base);

    [[nodiscard]] Executor executor() const noexcept;

private:
    struct State : std::enable_shared_from_this<State> {
        Executor base;
        std::mutex mutex;
        std::deque<Job> jobs;
        std::shared_ptr<State> self; // set while a drain is queued or running: it owns the state
    };

    static void post(void* state, Job job);
    static void drain(void* state) noexcept;
    static Job takeNext(State& state);
    static bool isDone(State& state, std::shared_ptr<State>& lastOwner);

    std::shared_ptr<State> state_;
};

} // namespace async
