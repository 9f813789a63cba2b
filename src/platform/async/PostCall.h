#pragma once

#include "platform/async/Executor.h"

#include <memory>
#include <utility>

namespace async {

// Posts a call of `callable`, which must not throw, as one job. Where the executor is closed it is never called, and
// left to the end of the process.
template <class Callable>
void postCall(Executor executor, Callable callable) {
    Job job;
    job.run = [](void* context) noexcept {
        const std::unique_ptr<Callable> call(static_cast<Callable*>(context));
        (*call)();
    };
    job.context = std::make_unique<Callable>(std::move(callable)).release();
    executor.post(job);
}

} // namespace async
