#pragma once

#include "platform/async/Clock.h"
#include "platform/async/TimerQueue.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace async {

// Real time: one thread that sleeps until the next timer is due. Owned by whoever builds the engine; destroyed before
// the executors that its sleepers run on. Sleepers that still wait then are left as they are.
class TimerThread {
public:
    TimerThread();
    ~TimerThread();
    TimerThread(const TimerThread&) = delete;
    TimerThread& operator=(const TimerThread&) = delete;

    [[nodiscard]] Clock clock() noexcept;

private:
    static const Clock::Operations operations;
    void add(Sleeper& sleeper, Instant at);
    void run();

    TimerQueue queue_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool lookAgain_ = false;
    bool stopping_ = false;
    std::thread thread_;
};

} // namespace async
