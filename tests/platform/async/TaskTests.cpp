#include "platform/async/Cancelled.h"
#include "platform/async/SerialExecutor.h"
#include "platform/async/Spawn.h"
#include "platform/async/TaskGroup.h"
#include "simulation/OneThread.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

using namespace async;
using namespace std::chrono_literals;
using veskline::testing::OneThread;

namespace {

class Counter {
public:
    explicit Counter(Executor base) : serial_(base) {}
    [[nodiscard]] Executor executor() const noexcept { return serial_.executor(); }

    Task<bool> isHere() { co_return executor().isCurrent(); }
    Task<bool> isHereToo(int) const { co_return executor().isCurrent(); }
    template <class T>
    Task<T> echo(T value) {
        co_return value;
    }
    Task<> fail(std::string words) {
        throw std::runtime_error(words);
        co_return;
    }
    Task<bool> callsItself() {
        const bool before = co_await isHere();
        const bool after = co_await isHereToo(1);
        co_return before&& after&& executor().isCurrent();
    }

private:
    SerialExecutor serial_;
};
static_assert(Actor<Counter> && !Actor<int>);

Task<bool> runsOnItsCaller(Executor caller) {
    co_return caller.isCurrent();
}

// Sleeps, and counts how the sleep ended; with words it fails then.
struct Sleeps {
    int completed = 0;
    int cancelled = 0;
    std::string order;
    Task<int> sleep(Clock clock, std::chrono::milliseconds span, std::string words = "") {
        try {
            co_await clock.sleepFor(span);
            ++completed;
        } catch (const Cancelled&) {
            ++cancelled;
        }
        order += std::to_string(span.count()) + " ";
        co_return words.empty() ? 1 : throw std::runtime_error(words);
    }
};

} // namespace

TEST(Task, RunsAnActorsOperationsOnTheActorAndOthersOnTheirCaller) {
    OneThread thread;
    Counter counter(thread.executor());
    Counter caller(thread.executor());
    const auto onCaller = [&]() -> Task<bool> {
        const Executor mine = (co_await currentContext()).executor;
        bool right = mine == caller.executor();
        right = right && co_await counter.isHere() && mine.isCurrent();
        right = right && co_await counter.isHereToo(2) && mine.isCurrent();
        right = right && co_await counter.callsItself() && mine.isCurrent();
        right = right && co_await runsOnItsCaller(mine);
        try {
            co_await counter.fail("no room");
        } catch (const std::runtime_error& error) {
            right = right && std::string(error.what()) == "no room";
        }
        co_return right&& mine.isCurrent();
    };
    bool right = false;
    const TaskHandle task = spawn(caller.executor(), [&]() -> Task<> { right = co_await onCaller(); });
    thread.settle();
    EXPECT_TRUE(task.hasEnded());
    EXPECT_TRUE(right);
}

TEST(Task, KeepsTheStackFlatOverAMillionAwaitsThatEndAtOnce) {
    OneThread thread;
    long sum = 0;
    thread.run([&]() -> Task<> {
        const auto one = [](long n) -> Task<long> { co_return n; };
        for (long i = 0; i < 1'000'000; ++i) {
            sum += co_await one(1);
        }
    });
    EXPECT_EQ(sum, 1'000'000);
}

TEST(AllInOrder, GivesTheResultsInTheOrderOfTheArguments) {
    OneThread thread;
    Counter counter(thread.executor());
    Sleeps sleeps;
    const auto results = thread.run([&] {
        return allInOrder(sleeps.sleep(thread.clock(), 30ms), counter.echo(7), sleeps.sleep(thread.clock(), 10ms),
                          counter.echo(std::string("a text too long for the small buffer of a string")));
    });
    EXPECT_EQ(sleeps.order, "10 30 ");
    EXPECT_EQ(std::get<1>(results), 7);
    EXPECT_EQ(std::get<3>(results), "a text too long for the small buffer of a string");
}

TEST(AllInOrder, ReportsTheFirstFailureInOrderAndReturnsAfterAllHaveEnded) {
    OneThread thread;
    Sleeps sleeps;
    const auto begin = thread.clock().now();
    std::string words;
    bool isCancelled = true;
    thread.run([&]() -> Task<> {
        try {
            co_await allInOrder(sleeps.sleep(thread.clock(), 20ms, "first"),
                                sleeps.sleep(thread.clock(), 1ms, "second"), sleeps.sleep(thread.clock(), 1h),
                                sleeps.sleep(thread.clock(), 5ms));
        } catch (const std::runtime_error& error) {
            words = error.what();
        }
        isCancelled = (co_await currentContext()).isCancelled();
    });
    EXPECT_EQ(words, "first");
    EXPECT_EQ(sleeps.completed, 3);
    EXPECT_EQ(sleeps.cancelled, 1);
    EXPECT_EQ(thread.clock().now() - begin, 20ms) << "the hour's sleep was cancelled, not waited for";
    EXPECT_FALSE(isCancelled) << "a group's failure leaves the caller uncancelled";
}

TEST(Cancellation, IsStickyForSleepsAndLeavesStoresAlone) {
    for (const auto& [cancelAt, completed] : {std::pair(0ms, 0), std::pair(15ms, 1), std::pair(60ms, 4)}) {
        OneThread thread;
        Counter store(thread.executor());
        Sleeps sleeps;
        int stored = 0;
        const TaskHandle task = spawn(thread.executor(), [&]() -> Task<> {
            for (int i = 0; i < 4; ++i) {
                co_await sleeps.sleep(thread.clock(), 10ms);
                stored += co_await store.echo(1);
            }
        });
        cancelAt > 0ms ? thread.advance(cancelAt) : void();
        task.cancel();
        thread.settle();
        EXPECT_TRUE(task.hasEnded()) << "no sleep after the cancel takes any time";
        EXPECT_EQ(sleeps.completed, completed);
        EXPECT_EQ(stored, 4);
        EXPECT_FALSE(thread.hasTimers());
    }
}

TEST(Spawn, LetsManyWaitForTheEndAlsoCancelledAndFreesTheBodyBefore) {
    OneThread thread;
    auto witness = std::make_shared<int>(1);
    int told = 0;
    const TaskHandle task =
        spawn(thread.executor(), [clock = thread.clock(), witness]() -> Task<> { co_await clock.sleepFor(5ms); });
    const auto waits = [&]() -> Task<> {
        co_await task.end();
        told += witness.use_count() == 1 ? 1 : 100;
    };
    const TaskHandle first = spawn(thread.executor(), waits);
    const TaskHandle second = spawn(thread.executor(), waits);
    thread.settle();
    first.cancel();
    thread.settle();
    EXPECT_EQ(told, 0) << "a cancelled wait for another task's end goes on";
    thread.advance(5ms);
    EXPECT_EQ(told, 2);
    thread.run([&]() -> Task<> { co_await task.end(); });
}
