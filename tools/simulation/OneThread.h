#pragma once

#include "platform/async/Clock.h"
#include "platform/async/Executor.h"
#include "platform/async/Spawn.h"
#include "platform/async/TimerQueue.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <random>
#include <stdexcept>
#include <utility>

namespace veskline::testing {

// A whole engine on the thread of a test or a simulation: the executor that all serial executors rest on, and a clock
// that moves only when its owner says so. With a seed the ready jobs run in an order drawn from it, which keeps every
// serial executor's own order and mixes those of different ones: the same seed gives the same run.
class OneThread {
public:
    explicit OneThread(std::optional<std::uint64_t> seed = std::nullopt)
        : random_(seed.value_or(0)), isSeeded_(seed.has_value()) {}
    OneThread(const OneThread&) = delete;
    OneThread& operator=(const OneThread&) = delete;

    [[nodiscard]] async::Executor executor() noexcept { return {&OneThread::post, this}; }
    [[nodiscard]] async::Clock clock() noexcept { return {operations, this}; }

    // Runs one ready job; false when there is none.
    bool step() {
        if (jobs_.empty()) {
            return false;
        }
        const std::size_t place = isSeeded_ ? random_() % jobs_.size() : 0;
        const async::Job job = jobs_[place];
        jobs_.erase(jobs_.begin() + static_cast<std::ptrdiff_t>(place));
        const async::RunningOn here(this);
        job.run(job.context);
        return true;
    }
    // Runs until nothing is ready: everything waits for time, or for the test.
    void settle() {
        while (step()) {
        }
    }
    // Moves the time, stopping at each timer on the way and settling there.
    void advance(std::chrono::nanoseconds span) {
        const async::Instant end = now_ + span;
        settle();
        for (auto next = timers_.nextDue(); next && *next <= end; next = timers_.nextDue()) {
            moveTo(*next);
            timers_.fireNextDue(now_);
            settle();
        }
        moveTo(end);
    }
    // Moves the time without running anything: who slept is ready then, and whatever else was under way has taken long.
    void pass(std::chrono::nanoseconds span) {
        const async::Instant end = now_ + span;
        for (auto next = timers_.nextDue(); next && *next <= end; next = timers_.nextDue()) {
            moveTo(*next);
            timers_.fireNextDue(now_);
        }
        moveTo(end);
    }
    [[nodiscard]] bool hasTimers() const { return timers_.nextDue().has_value(); }
    [[nodiscard]] std::chrono::system_clock::time_point wallTime() const noexcept { return wallTime_; }

    // Runs `body()` to its end, moving the time on where everything waits for it.
    template <class Body>
    auto run(Body body) {
        return async::runToEnd(executor(), std::move(body), [this](const async::TaskHandle& task) { waitFor(task); });
    }

private:
    void waitFor(const async::TaskHandle& task) {
        for (settle(); !task.hasEnded(); settle()) {
            const auto next = timers_.nextDue();
            if (!next) {
                throw std::logic_error("the task waits for something that will not come");
            }
            moveTo(*next);
            timers_.fireNextDue(now_);
        }
    }
    static void post(void* self, async::Job job) { static_cast<OneThread*>(self)->jobs_.push_back(job); }
    void moveTo(async::Instant at) {
        if (at > now_) {
            wallTime_ += std::chrono::duration_cast<std::chrono::system_clock::duration>(at - now_);
            now_ = at;
        }
    }
    static const async::Clock::Operations operations;

    std::deque<async::Job> jobs_;
    async::TimerQueue timers_;
    async::Instant now_{std::chrono::hours(1)};
    std::chrono::system_clock::time_point wallTime_{std::chrono::seconds(1'700'000'000)};
    std::mt19937_64 random_;
    bool isSeeded_;
};

inline const async::Clock::Operations OneThread::operations{
    .now = [](const void* self) { return static_cast<const OneThread*>(self)->now_; },
    .wallTime = [](const void* self) { return static_cast<const OneThread*>(self)->wallTime_; },
    .add = [](void* self, async::Sleeper& sleeper,
              async::Instant at) { static_cast<OneThread*>(self)->timers_.add(sleeper, at); },
    .cancel = [](void* self, async::Sleeper& sleeper) { static_cast<OneThread*>(self)->timers_.cancel(sleeper); },
};

} // namespace veskline::testing
