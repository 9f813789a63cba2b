#pragma once

#include "platform/async/Task.h"

#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <utility>
#include <vector>

namespace async {

// What a spawned task and its handles share.
class TaskRecord {
public:
    std::stop_source source;

    [[nodiscard]] bool hasEnded() const;
    // True when `waiter` will be posted to `executor` at the end, false when the end has come.
    bool addWaiter(Executor executor, std::coroutine_handle<> waiter);
    void waitBlocking() const;
    void end();

private:
    struct Waiter {
        Executor executor;
        std::coroutine_handle<> coroutine;
    };
    mutable std::mutex mutex_;
    mutable std::condition_variable ended_;
    std::vector<Waiter> waiters_;
    bool hasEnded_ = false;
};

// The owner's grip on a spawned task; may be copied, and empty. Dropping it cancels nothing.
class TaskHandle {
public:
    TaskHandle() = default;
    explicit TaskHandle(std::shared_ptr<TaskRecord> record) : record_(std::move(record)) {}

    // From here on each sleep and each HTTP exchange of the task fails at once; everything else still works.
    void cancel() const noexcept {
        if (record_) {
            record_->source.request_stop();
        }
    }
    [[nodiscard]] bool hasEnded() const { return !record_ || record_->hasEnded(); }
    explicit operator bool() const noexcept { return record_ != nullptr; }
    friend bool operator==(const TaskHandle&, const TaskHandle&) = default;

    struct End {
        std::shared_ptr<TaskRecord> record;
        bool await_ready() const { return !record || record->hasEnded(); }
        template <class P>
        bool await_suspend(std::coroutine_handle<P> waiter) const {
            return record->addWaiter(waiter.promise().state.executor, waiter);
        }
        void await_resume() const noexcept {}
    };
    // `co_await handle.end()` goes on when the task has ended and all that it owned is gone. A cancelled task waits
    // here like any other.
    [[nodiscard]] End end() const { return End{record_}; }

    // Blocks the thread until then. For tools and tests, on a thread that the task does not need.
    void waitBlocking() const {
        if (record_) {
            record_->waitBlocking();
        }
    }

private:
    std::shared_ptr<TaskRecord> record_;
};

// The outermost coroutine of a spawned task. A failure that leaves the body is a mistake of the program's own.
struct SpawnedTask {
    struct promise_type {
        TaskState state;
        std::shared_ptr<TaskRecord> record = std::make_shared<TaskRecord>();
        std::stop_token token = record->source.get_token();

        promise_type() { state.stop = &token; }
        struct End {
            bool await_ready() const noexcept { return false; }
            [[gnu::noinline]] void await_suspend(std::coroutine_handle<promise_type> task) const noexcept {
                const std::shared_ptr<TaskRecord> kept = std::move(task.promise().record);
                task.destroy(); // with all that the body owned, and this awaiter too, before anyone is told
                kept->end();
            }
            void await_resume() const noexcept {}
        };
        SpawnedTask get_return_object() noexcept { return {std::coroutine_handle<promise_type>::from_promise(*this)}; }
        std::suspend_always initial_suspend() const noexcept { return {}; }
        End final_suspend() const noexcept { return {}; }
        void return_void() const noexcept {}
        void unhandled_exception() const noexcept { std::terminate(); }
    };
    std::coroutine_handle<promise_type> coroutine;
};

template <class Body>
SpawnedTask runBody(Body body) {
    co_await body();
}

// Runs `body()`, a callable that returns a Task, on `executor` as a task of its own. The callable lives as long as the
// task. Every spawned task has an owner that keeps the handle, can cancel it, and outlives what it touches.
template <class Body>
[[nodiscard]] TaskHandle spawn(Executor executor, Body body) {
    const SpawnedTask task = runBody(std::move(body));
    task.coroutine.promise().state.executor = executor;
    TaskHandle handle(task.coroutine.promise().record);
    executor.post(std::coroutine_handle<>(task.coroutine));
    return handle;
}

// Runs `body()` on `executor`, calls `wait` with its handle, which returns once it has ended, and gives its result or
// throws its failure. What `wait` throws goes to the caller; the task must not go on then, since its result has no
// place.
template <class Body, class Wait>
auto runToEnd(Executor executor, Body body, Wait wait) {
    using T = decltype(body().take());
    std::exception_ptr error;
    std::optional<std::conditional_t<std::is_void_v<T>, bool, T>> result;
    wait(spawn(executor, [&]() -> Task<> {
        try {
            if constexpr (std::is_void_v<T>) {
                co_await body();
            } else {
                result.emplace(co_await body());
            }
        } catch (...) {
            error = std::current_exception();
        }
    }));
    if (error) {
        std::rethrow_exception(error);
    }
    if constexpr (!std::is_void_v<T>) {
        return std::move(*result);
    }
}

// The same, blocking until the end. For tools and tests, on a thread that the body does not need.
template <class Body>
auto runBlocking(Executor executor, Body body) {
    return runToEnd(executor, std::move(body), [](const TaskHandle& task) { task.waitBlocking(); });
}

} // namespace async
