#pragma once

#include "platform/async/Executor.h"

#include <atomic>
#include <cassert>
#include <concepts>
#include <coroutine>
#include <exception>
#include <optional>
#include <stop_token>
#include <utility>

// Tasks: what an asynchronous operation returns.
//
// A task is lazy, moved and never copied, and awaited exactly once. Where it runs is settled by who declares it:
//   - a member coroutine of an actor (a class with `Executor executor() const noexcept`) runs on the actor's executor
//     for its whole life, so that the actor is serial by construction and no code hops by hand;
//   - any other coroutine runs on its caller's executor.
// Awaiting a task of one's own executor is a call. Awaiting another's gives one's own executor up and resumes on it.
// So an actor's operations are serialised, not atomic: others may have run at every co_await.
//
// Two traps. An actor whose executor() is missing, private or not const would silently run on the caller: put
// `static_assert(async::Actor<Name>)` beside each. A free, static or lambda coroutine whose first parameter is an
// actor runs on that actor: take none first.

namespace async {

template <class S>
concept Actor = requires(const S& self) {
    { self.executor() } noexcept -> std::same_as<Executor>;
};

// What every promise holds. Plain data of the layer; code above never touches it.
struct TaskState {
    Executor executor;                     // none until started: the caller's
    const std::stop_token* stop = nullptr; // of the enclosing root or group
    Executor waiterExecutor;
    std::atomic<void*> waiter{nullptr}; // null, the waiter's address, or this state's own: the task has ended
    std::exception_ptr error;

    [[nodiscard]] bool hasEnded() const noexcept { return waiter.load(std::memory_order_acquire) == this; }
    // True when `coroutine` waits for the end from now on, false when the end has come already.
    bool waitFor(std::coroutine_handle<> coroutine) noexcept {
        void* none = nullptr;
        return waiter.compare_exchange_strong(none, coroutine.address(), std::memory_order_acq_rel);
    }
    void rethrowError() {
        if (error) {
            std::rethrow_exception(std::exchange(error, nullptr));
        }
    }
    // Ends the task and makes the waiter ready. A waiter on another thread may destroy the frame from here on.
    static void end(TaskState& state) noexcept;
};

struct EndOfTask {
    bool await_ready() const noexcept { return false; }
    template <class P>
    void await_suspend(std::coroutine_handle<P> coroutine) const noexcept {
        TaskState::end(coroutine.promise().state);
    }
    void await_resume() const noexcept {}
};

template <class T>
class Task;

template <class T>
struct TaskPromise {
    TaskState state;
    std::optional<T> value;

    TaskPromise() = default;
    template <class Self, class... Arguments>
        requires Actor<Self>
    explicit TaskPromise(const Self& self, const Arguments&...) {
        state.executor = self.executor();
    }
    Task<T> get_return_object() noexcept;
    std::suspend_always initial_suspend() const noexcept { return {}; }
    EndOfTask final_suspend() const noexcept { return {}; }
    void unhandled_exception() noexcept { state.error = std::current_exception(); }
    template <class U>
    void return_value(U&& result) {
        value.emplace(std::forward<U>(result));
    }
    T take() {
        state.rethrowError();
        return std::move(*value);
    }
};

template <>
struct TaskPromise<void> {
    TaskState state;

    TaskPromise() = default;
    template <class Self, class... Arguments>
        requires Actor<Self>
    explicit TaskPromise(const Self& self, const Arguments&...) {
        state.executor = self.executor();
    }
    Task<void> get_return_object() noexcept;
    std::suspend_always initial_suspend() const noexcept { return {}; }
    EndOfTask final_suspend() const noexcept { return {}; }
    void unhandled_exception() noexcept { state.error = std::current_exception(); }
    void return_void() const noexcept {}
    void take() { state.rethrowError(); }
};

template <class T = void>
class [[nodiscard]] Task {
public:
    using promise_type = TaskPromise<T>;
    using Handle = std::coroutine_handle<promise_type>;

    explicit Task(Handle coroutine) noexcept : coroutine_(coroutine) {}
    Task(Task&& other) noexcept : coroutine_(std::exchange(other.coroutine_, {})) {}
    Task& operator=(Task&&) = delete;
    ~Task() {
        if (coroutine_) {
            assert(coroutine_.promise().state.stop == nullptr || coroutine_.promise().state.hasEnded());
            coroutine_.destroy();
        }
    }

    struct Awaiter;
    Awaiter operator co_await() && noexcept { return Awaiter{std::move(*this)}; }

    // For groups: starts the task as a concurrent child of a coroutine on `caller`; join() then waits for its end, and
    // take() gives its result or throws its failure.
    void start(Executor caller, const std::stop_token& stop) {
        prepare(caller, stop).executor.post(std::coroutine_handle<>(coroutine_));
    }
    struct Join;
    Join join() & noexcept { return Join{*this}; }
    decltype(auto) take() { return coroutine_.promise().take(); }

private:
    TaskState& prepare(Executor caller, const std::stop_token& stop) noexcept;
    bool startAndWait(Executor caller, const std::stop_token& stop, std::coroutine_handle<> waiter);

    Handle coroutine_;
};

template <class T>
struct Task<T>::Awaiter {
    Task task;
    bool await_ready() const noexcept { return false; }
    template <class P>
    [[gnu::noinline]] bool await_suspend(std::coroutine_handle<P> waiter) {
        TaskState& state = waiter.promise().state;
        return task.startAndWait(state.executor, *state.stop, waiter);
    }
    T await_resume() { return task.take(); }
};

template <class T>
struct Task<T>::Join {
    Task& task;
    bool await_ready() const noexcept { return task.coroutine_.promise().state.hasEnded(); }
    bool await_suspend(std::coroutine_handle<> waiter) const noexcept {
        return task.coroutine_.promise().state.waitFor(waiter);
    }
    void await_resume() const noexcept {}
};

template <class T>
TaskState& Task<T>::prepare(Executor caller, const std::stop_token& stop) noexcept {
    TaskState& state = coroutine_.promise().state;
    assert(state.stop == nullptr && "a task is awaited once");
    state.stop = &stop;
    state.waiterExecutor = caller;
    if (!state.executor) {
        state.executor = caller;
    }
    return state;
}

// Runs the task as a call on the caller's own executor, or hands it to its own. True when the caller stays suspended.
template <class T>
bool Task<T>::startAndWait(Executor caller, const std::stop_token& stop, std::coroutine_handle<> waiter) {
    TaskState& state = prepare(caller, stop);
    if (state.executor == caller) {
        coroutine_.resume();
        return state.waitFor(waiter);
    }
    // Published by the post. Nothing of the task or the caller may be touched after it.
    state.waiter.store(waiter.address(), std::memory_order_relaxed);
    const HandOver here;
    state.executor.post(std::coroutine_handle<>(coroutine_));
    return true;
}

template <class T>
Task<T> TaskPromise<T>::get_return_object() noexcept {
    return Task<T>(Task<T>::Handle::from_promise(*this));
}

inline Task<void> TaskPromise<void>::get_return_object() noexcept {
    return Task<void>(Task<void>::Handle::from_promise(*this));
}

// What a coroutine may ask about itself: `co_await currentContext()`. The token lives as long as the task.
struct Context {
    Executor executor;
    const std::stop_token* stop = nullptr;
    [[nodiscard]] bool isCancelled() const noexcept { return stop->stop_requested(); }
};

struct CurrentContext {
    Context context;
    bool await_ready() const noexcept { return false; }
    template <class P>
    bool await_suspend(std::coroutine_handle<P> coroutine) noexcept {
        context = Context{coroutine.promise().state.executor, coroutine.promise().state.stop};
        return false;
    }
    [[nodiscard]] Context await_resume() const noexcept { return context; }
};

[[nodiscard]] inline CurrentContext currentContext() noexcept {
    return {};
}

} // namespace async
