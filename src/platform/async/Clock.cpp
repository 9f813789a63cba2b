#include "platform/async/Clock.h"

#include "platform/async/Cancelled.h"

namespace async {

bool Sleep::begin(Executor executor, const std::stop_token& stop, std::coroutine_handle<> waiter) {
    if (stop.stop_requested()) {
        sleeper_.wasCancelled = true;
        return false;
    }
    sleeper_.executor = executor;
    sleeper_.waiter = waiter;
    // A cancel from here on marks the sleeper; add() then leaves it alone, and arm() sees that it was fired.
    onStop_.emplace(stop, OnStop{this});
    clock_.operations_->add(clock_.timers_, sleeper_, clock_.now() + span_);
    return sleeper_.resumption.arm();
}

void Sleep::await_resume() {
    onStop_.reset(); // first: it waits for a cancel that is under way on another thread
    if (sleeper_.wasCancelled) {
        throw Cancelled();
    }
}

} // namespace async
