#pragma once

#include "platform/async/Task.h"

#include <optional>
#include <stop_token>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>

namespace async {

// What a child without a result leaves in the tuple of allInOrder().
template <class T>
using Stored = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

// A stop source of its own that follows an enclosing token as well.
class StopGroup {
public:
    explicit StopGroup(const std::stop_token& outer) : token_(source_.get_token()), follow_(outer, Follow{&source_}) {}
    void cancel() noexcept { source_.request_stop(); }
    [[nodiscard]] const std::stop_token& token() const noexcept { return token_; }

private:
    struct Follow {
        std::stop_source* source;
        void operator()() const noexcept { source->request_stop(); }
    };
    std::stop_source source_;
    std::stop_token token_;
    std::stop_callback<Follow> follow_;
};

template <class T, class Result>
void takeInto(Task<T>& task, Result& result, std::exception_ptr& first, StopGroup& group) {
    try {
        if constexpr (std::is_void_v<T>) {
            task.take();
            result.emplace();
        } else {
            result.emplace(task.take());
        }
    } catch (...) {
        if (!first) {
            first = std::current_exception();
            group.cancel();
        }
    }
}

template <std::size_t I, class Tasks, class Results>
Task<> joinFrom(Tasks& tasks, Results& results, std::exception_ptr& first, StopGroup& group) {
    if constexpr (I < std::tuple_size_v<Results>) {
        auto& task = std::get<I>(tasks);
        co_await task.join();
        takeInto(task, std::get<I>(results), first, group);
        co_await joinFrom<I + 1>(tasks, results, first, group);
    }
    co_return;
}

// Runs the tasks at once and waits for them in the order of the arguments. The first failure in that order, not in
// time, cancels the others and is thrown, once every task has ended. Cancelling the caller cancels them all.
template <class... T>
Task<std::tuple<Stored<T>...>> allInOrder(Task<T>... tasks) {
    const Context self = co_await currentContext();
    StopGroup group(*self.stop);
    (tasks.start(self.executor, group.token()), ...);
    std::exception_ptr first;
    std::tuple<std::optional<Stored<T>>...> results;
    auto all = std::tie(tasks...);
    co_await joinFrom<0>(all, results, first, group);
    if (first) {
        std::rethrow_exception(first);
    }
    co_return std::apply([](auto&... result) { return std::tuple<Stored<T>...>(std::move(*result)...); }, results);
}

} // namespace async
