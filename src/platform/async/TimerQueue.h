#pragma once

#include "platform/async/Clock.h"

#include <map>
#include <mutex>
#include <optional>

namespace async {

// Sleepers in the order of their time. Thread-safe; owned by a TimerThread or by a clock that a test moves by hand.
class TimerQueue {
public:
    // True when the sleeper is the next one due, so that a waiting timer has to look again. A sleeper that was
    // cancelled before is left out.
    bool add(Sleeper& sleeper, Instant at);

    // Fires the sleeper as cancelled, unless it was fired already.
    void cancel(Sleeper& sleeper);

    // Fires the earliest sleeper that is due at `now`; false when none is.
    bool fireNextDue(Instant now);

    [[nodiscard]] std::optional<Instant> nextDue() const;

private:
    mutable std::mutex mutex_;
    std::multimap<Instant, Sleeper*> sleepers_;
};

} // namespace async
