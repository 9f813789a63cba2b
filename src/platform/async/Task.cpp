#include "platform/async/Task.h"

namespace async {

[[gnu::noinline]] void TaskState::end(TaskState& state) noexcept {
    const Executor mine = state.executor;
    const Executor theirs = state.waiterExecutor;
    void* const waiting = state.waiter.exchange(&state, std::memory_order_acq_rel);
    if (waiting == nullptr) {
        return;
    }
    const auto waiter = std::coroutine_handle<>::from_address(waiting);
    if (mine == theirs) {
        resumeNext(waiter);
    } else {
        const HandOver here;
        theirs.post(waiter);
    }
}

} // namespace async
