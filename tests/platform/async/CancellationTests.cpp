#include "platform/async/Cancelled.h"
#include "platform/async/SerialExecutor.h"
#include "platform/async/Spawn.h"
#include "platform/async/TaskGroup.h"
#include "support/OneThread.h"

#include <gtest/gtest.h>

using namespace async;
using namespace std::chrono_literals;
using veskline::testing::OneThread;

namespace {

class Store {
public:
    explicit Store(Executor base) : serial_(base) {}
    [[nodiscard]] Executor executor() const noexcept { return serial_.executor(); }
    Task<> add() {
        ++count;
        co_return;
    }
    int count = 0;

private:
    SerialExecutor serial_;
};
static_assert(Actor<Store>);

// Sleeps `times` times and adds after each; counts how many sleeps failed.
Task<> sleepAndAdd(Clock clock, Store& store, int times, int& failures) {
    for (int i = 0; i < times; ++i) {
        try {
            co_await clock.sleepFor(10ms);
        } catch (const Cancelled&) {
            ++failures;
        }
        co_await store.add();
    }
}

} // namespace

TEST(Cancellation, IsStickyForSleepsAndLeavesStoresAlone) {
    struct Row {
        const char* name;
        std::chrono::milliseconds cancelAt;
        int failures;
        std::chrono::milliseconds length;
    };
    const Row rows[] = {
        {"before the first sleep", 0ms, 4, 0ms},
        {"during the second", 15ms, 3, 15ms},
        {"after the last", 60ms, 0, 40ms},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        OneThread thread;
        Store store(thread.executor());
        int failures = 0;
        std::chrono::nanoseconds length{0};
        const Instant begin = thread.clock().now();
        const TaskHandle task = spawn(thread.executor(), [&]() -> Task<> {
            co_await sleepAndAdd(thread.clock(), store, 4, failures);
            length = thread.clock().now() - begin;
        });
        if (row.cancelAt > 0ms) {
            thread.advance(row.cancelAt);
        }
        task.cancel();
        thread.settle();
        EXPECT_TRUE(task.hasEnded());
        EXPECT_EQ(failures, row.failures);
        EXPECT_EQ(store.count, 4);
        EXPECT_EQ(length, row.length);
        EXPECT_FALSE(thread.hasTimers());
    }
}

TEST(Cancellation, ReachesEveryChildAndGrandchild) {
    OneThread thread;
    Store store(thread.executor());
    int failures = 0;
    const auto group = [&]() -> Task<> {
        co_await allInOrder(sleepAndAdd(thread.clock(), store, 1, failures),
                            sleepAndAdd(thread.clock(), store, 2, failures));
    };
    const TaskHandle task = spawn(thread.executor(), [&]() -> Task<> {
        co_await allInOrder(group(), sleepAndAdd(thread.clock(), store, 1, failures));
    });
    thread.settle();
    task.cancel();
    thread.settle();
    EXPECT_TRUE(task.hasEnded());
    EXPECT_EQ(failures, 4);
    EXPECT_EQ(store.count, 4);
}

TEST(Cancellation, OfAGroupLeavesTheCallerUncancelled) {
    OneThread thread;
    int failures = 0;
    Store store(thread.executor());
    const auto fails = [](Clock clock) -> Task<> {
        co_await clock.sleepFor(1ms);
        throw std::runtime_error("x");
    };
    bool isCancelled = true;
    thread.run([&]() -> Task<> {
        try {
            co_await allInOrder(fails(thread.clock()), sleepAndAdd(thread.clock(), store, 1, failures));
        } catch (const std::runtime_error&) {
            ++failures;
        }
        isCancelled = (co_await currentContext()).isCancelled();
    });
    EXPECT_EQ(failures, 2) << "the sibling's sleep and the group";
    EXPECT_FALSE(isCancelled);
}

TEST(Cancellation, OfATaskThatWaitsForAnotherDoesNotEndTheWait) {
    OneThread thread;
    const TaskHandle slow = spawn(thread.executor(), [&]() -> Task<> { co_await thread.clock().sleepFor(1s); });
    const TaskHandle waits = spawn(thread.executor(), [&]() -> Task<> { co_await slow.end(); });
    thread.settle();
    waits.cancel();
    thread.settle();
    EXPECT_FALSE(waits.hasEnded());
    thread.advance(1s);
    EXPECT_TRUE(waits.hasEnded());
}
