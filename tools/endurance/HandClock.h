#pragma once

#include "platform/async/Clock.h"
#include "platform/async/TimerQueue.h"

#include <atomic>
#include <chrono>
#include <cstdint>

namespace veskline::endurance {

// A clock that moves only when its owner says so, for a program on real threads. Owned by the main thread, which alone
// moves it; read from any. Sleepers that still wait in the end are left as they are.
class HandClock {
public:
    HandClock() = default;
    HandClock(const HandClock&) = delete;
    HandClock& operator=(const HandClock&) = delete;

    [[nodiscard]] async::Clock clock() noexcept { return {operations, this}; }

    // Moves both the time for spans and that of the wall; whoever is due on the way goes on.
    void advance(std::chrono::nanoseconds span);

private:
    static const async::Clock::Operations operations;
    [[nodiscard]] async::Instant now() const { return begin_ + std::chrono::nanoseconds(passed_); }

    const async::Instant begin_ = std::chrono::steady_clock::now();
    const std::chrono::system_clock::time_point wallBegin_ = std::chrono::system_clock::now();
    std::atomic<std::int64_t> passed_ = 0; // nanoseconds
    async::TimerQueue timers_;
};

} // namespace veskline::endurance
