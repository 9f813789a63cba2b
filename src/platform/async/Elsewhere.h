#pragma once

#include "platform/async/Task.h"

#include <type_traits>

namespace async {

// Calls a plain function on another executor and waits for it: `co_await Elsewhere(main).call(function)`. The function
// may not wait; what it throws comes back to the caller.
class Elsewhere {
public:
    explicit Elsewhere(Executor executor) noexcept : executor_(executor) {}
    [[nodiscard]] Executor executor() const noexcept { return executor_; }

    template <class Function>
    Task<std::invoke_result_t<Function&>> call(Function function) const {
        co_return function();
    }

private:
    Executor executor_;
};
static_assert(Actor<Elsewhere>);

} // namespace async
