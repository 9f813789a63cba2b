#pragma once

#include "platform/async/Executor.h"
#include "platform/async/Resumption.h"

#include <chrono>
#include <coroutine>
#include <map>
#include <optional>
#include <stop_token>

namespace async {

using Instant = std::chrono::steady_clock::time_point;

// A coroutine that sleeps, as the timers see it. It lies in the sleeper's frame, which stays until it was fired.
struct Sleeper {
    enum class State { idle, queued, fired };

    Resumption resumption;
    Executor executor;
    std::coroutine_handle<> waiter;
    // The rest is guarded by the timers' lock until the sleeper goes on.
    std::multimap<Instant, Sleeper*>::iterator place;
    State state = State::idle;
    bool wasCancelled = false;
};

class Sleep;

// The time, and the only way to wait for it: a value, given to everything that needs one at construction. TimerThread
// gives the real one; a test gives its own and moves it by hand.
class Clock {
public:
    struct Operations {
        Instant (*now)(const void* timers);
        std::chrono::system_clock::time_point (*wallTime)(const void* timers);
        void (*add)(void* timers, Sleeper& sleeper, Instant at);
        void (*cancel)(void* timers, Sleeper& sleeper);
    };

    constexpr Clock(const Operations& operations, void* timers) : operations_(&operations), timers_(timers) {}

    // For spans: never jumps.
    [[nodiscard]] Instant now() const { return operations_->now(timers_); }
    // For points in time that mean something outside the process. May jump either way.
    [[nodiscard]] std::chrono::system_clock::time_point wallTime() const { return operations_->wallTime(timers_); }

    // `co_await clock.sleepFor(2s)`. Throws Cancelled at once in a cancelled task, and as soon as a task is cancelled
    // while it sleeps.
    [[nodiscard]] Sleep sleepFor(std::chrono::nanoseconds span) const;

private:
    friend class Sleep;
    const Operations* operations_;
    void* timers_;
};

class [[nodiscard]] Sleep {
public:
    Sleep(Clock clock, std::chrono::nanoseconds span) : clock_(clock), span_(span) {}
    Sleep(const Sleep&) = delete;
    Sleep& operator=(const Sleep&) = delete;

    bool await_ready() const noexcept { return false; }
    template <class P>
    [[gnu::noinline]] bool await_suspend(std::coroutine_handle<P> waiter) {
        return begin(waiter.promise().state.executor, *waiter.promise().state.stop, waiter);
    }
    void await_resume();

private:
    struct OnStop {
        Sleep* sleep;
        void operator()() const noexcept { sleep->clock_.operations_->cancel(sleep->clock_.timers_, sleep->sleeper_); }
    };
    bool begin(Executor executor, const std::stop_token& stop, std::coroutine_handle<> waiter);

    Clock clock_;
    std::chrono::nanoseconds span_;
    Sleeper sleeper_;
    std::optional<std::stop_callback<OnStop>> onStop_;
};

inline Sleep Clock::sleepFor(std::chrono::nanoseconds span) const {
    return {*this, span};
}

} // namespace async
