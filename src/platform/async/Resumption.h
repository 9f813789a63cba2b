#pragma once

#include "platform/async/Executor.h"

#include <atomic>
#include <coroutine>

namespace async {

// The one-shot bridge from a callback on any thread to a suspended coroutine. The awaiter that holds it arms it as the
// last step of its suspension; whoever completes the operation fires it exactly once. Whichever comes second makes the
// coroutine go on: fire() posts it, or arm() says not to suspend at all.
class Resumption {
public:
    // The suspending side, last step. True: stay suspended, and touch nothing of the awaiter again.
    [[nodiscard]] bool arm() noexcept { return state_.exchange(armed, std::memory_order_acq_rel) == open; }

    // The completing side. The frame that holds this may be gone as soon as the state is exchanged, so the executor
    // and the waiter are handed in by value.
    void fire(Executor executor, std::coroutine_handle<> waiter) noexcept {
        if (state_.exchange(fired, std::memory_order_acq_rel) == armed) {
            executor.post(waiter);
        }
    }

private:
    enum State : int { open, armed, fired };
    std::atomic<int> state_{open};
};

} // namespace async
