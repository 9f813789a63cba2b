#include "endurance/HandClock.h"

#include <algorithm>

namespace veskline::endurance {

const async::Clock::Operations HandClock::operations{
    .now = [](const void* self) { return static_cast<const HandClock*>(self)->now(); },
    .wallTime =
        [](const void* self) {
            const auto& clock = *static_cast<const HandClock*>(self);
            return clock.wallBegin_ + std::chrono::duration_cast<std::chrono::system_clock::duration>(
                                          std::chrono::nanoseconds(clock.passed_));
        },
    .add = [](void* self, async::Sleeper& sleeper,
              async::Instant at) { static_cast<HandClock*>(self)->timers_.add(sleeper, at); },
    .cancel = [](void* self, async::Sleeper& sleeper) { static_cast<HandClock*>(self)->timers_.cancel(sleeper); },
};

void HandClock::advance(std::chrono::nanoseconds span) {
    const async::Instant end = now() + span;
    for (auto next = timers_.nextDue(); next && *next <= end; next = timers_.nextDue()) {
        passed_ = std::max(passed_.load(), (*next - begin_).count());
        timers_.fireNextDue(*next);
    }
    passed_ = (end - begin_).count();
}

} // namespace veskline::endurance
