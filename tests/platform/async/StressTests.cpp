#include "platform/async/Cancelled.h"
#include "platform/async/SerialExecutor.h"
#include "platform/async/Spawn.h"
#include "platform/async/TaskGroup.h"
#include "platform/async/ThreadPool.h"
#include "platform/async/TimerThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace async;
using namespace std::chrono_literals;

namespace {

void require(bool holds, const char* what) {
    if (!holds) {
        throw std::logic_error(what);
    }
}

// Unguarded on purpose: ThreadSanitizer shows that the executor is the lock.
class Store {
public:
    explicit Store(Executor base) : serial_(base) {}
    [[nodiscard]] Executor executor() const noexcept { return serial_.executor(); }
    Task<long> add(long count) {
        require(executor().isCurrent() && !isInside_, "the store met itself");
        isInside_ = true;
        sum_ += count;
        isInside_ = false;
        co_return sum_;
    }

private:
    SerialExecutor serial_;
    long sum_ = 0;
    bool isInside_ = false;
};

class Coordinator {
public:
    Coordinator(Executor pool, Clock clock, Store& store) : serial_(pool), clock_(clock), store_(store) {}
    [[nodiscard]] Executor executor() const noexcept { return serial_.executor(); }

    // A mixture of everything. True when the task was cancelled on the way.
    Task<bool> work(unsigned seed) {
        std::minstd_rand random(seed + 1);
        bool wasCancelled = false;
        for (int round = 0; round < 30; ++round) {
            require(executor().isCurrent(), "resumed elsewhere");
            co_await store_.add(1);
            wasCancelled = co_await nap(std::chrono::microseconds(random() % 40), wasCancelled);
            if (round % 10 == 0) {
                co_await readTogether(static_cast<int>(random() % 6));
            }
        }
        co_return wasCancelled;
    }

private:
    Task<bool> nap(std::chrono::microseconds span, bool wasCancelled) {
        try {
            co_await clock_.sleepFor(wasCancelled ? std::chrono::microseconds(1h) : span);
            require(!wasCancelled, "a cancel did not stick");
        } catch (const Cancelled&) {
            wasCancelled = true;
        }
        co_return wasCancelled;
    }
    Task<long> fetch(int number, bool fails) {
        co_await store_.add(1);
        co_await clock_.sleepFor(number * 50us);
        require(!fails, "refused");
        co_return number;
    }
    Task<> readTogether(int bad) {
        bool failed = false;
        try {
            co_await allInOrder(fetch(1, bad == 1), fetch(2, bad == 2), fetch(3, bad == 3), store_.add(1));
        } catch (const Cancelled&) {
            co_return;
        } catch (const std::logic_error& error) {
            failed = std::string(error.what()) == "refused";
            require(failed, error.what());
        }
        require(failed == (bad >= 1 && bad <= 3), "a group's failure got lost");
    }

    SerialExecutor serial_;
    Clock clock_;
    Store& store_;
};

} // namespace

TEST(Stress, ThousandsOfHopsSleepsGroupsAndCancels) {
    constexpr int count = 1500;
    ThreadPool pool;
    TimerThread timers;
    Store store(pool.executor());
    Coordinator coordinator(pool.executor(), timers.clock(), store);
    std::atomic<int> cancelled = 0;
    std::vector<TaskHandle> tasks;
    for (unsigned i = 0; i < count; ++i) {
        tasks.push_back(
            spawn(coordinator.executor(), [&, i]() -> Task<> { cancelled += co_await coordinator.work(i) ? 1 : 0; }));
    }
    const auto cancelEvery = [&](std::size_t stride) {
        for (std::size_t i = 0; i < tasks.size(); i += stride) {
            tasks[i].cancel();
            std::this_thread::yield();
        }
    };
    std::thread first(cancelEvery, 2);
    std::thread second(cancelEvery, 3);
    first.join();
    second.join();
    for (const TaskHandle& task : tasks) {
        task.waitBlocking();
    }
    EXPECT_GT(cancelled, 0);
    EXPECT_LT(cancelled, count);
}
