#include "platform/async/SerialExecutor.h"
#include "platform/async/Spawn.h"
#include "platform/async/TaskGroup.h"
#include "support/OneThread.h"

#include <gtest/gtest.h>

#include <functional>
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
        if (!executor().isCurrent()) {
            throw std::logic_error("an actor's operation ran elsewhere");
        }
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
static_assert(Actor<Counter>);

class WithoutConstExecutor {
public:
    Executor executor() noexcept { return {}; }
};
class WithPrivateExecutor {
    [[nodiscard]] Executor executor() const noexcept { return {}; }
};
static_assert(!Actor<WithoutConstExecutor> && !Actor<WithPrivateExecutor> && !Actor<int>);

Task<bool> runsOnItsCaller(Executor caller) {
    co_return caller.isCurrent();
}

Task<> record(std::string& trace, Clock clock, std::string name, std::chrono::milliseconds span) {
    co_await clock.sleepFor(span);
    trace += name;
}

Task<int> failAfter(Clock clock, std::chrono::milliseconds span, std::string words) {
    co_await clock.sleepFor(span);
    throw std::runtime_error(words);
}

Task<int> endAfter(Clock clock, std::chrono::milliseconds span, int& ended) {
    try {
        co_await clock.sleepFor(span);
    } catch (const std::exception&) {
        ++ended;
        throw;
    }
    ++ended;
    co_return 1;
}

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
        const std::string text = co_await counter.echo(std::string("a text too long for the small buffer of a string"));
        co_return right&& text.size() == 48 && mine.isCurrent();
    };
    bool right = false;
    const TaskHandle task = spawn(caller.executor(), [&]() -> Task<> { right = co_await onCaller(); });
    thread.settle();
    EXPECT_TRUE(task.hasEnded());
    EXPECT_TRUE(right);
}

TEST(Task, ResumesItsCallerOnTheRightExecutorAfterAFailure) {
    OneThread thread;
    Counter counter(thread.executor());
    Counter caller(thread.executor());
    std::string words;
    bool isHere = false;
    const TaskHandle task = spawn(caller.executor(), [&]() -> Task<> {
        try {
            co_await counter.fail("no room");
        } catch (const std::runtime_error& error) {
            words = error.what();
        }
        isHere = caller.executor().isCurrent();
    });
    thread.settle();
    EXPECT_EQ(words, "no room");
    EXPECT_TRUE(isHere);
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

TEST(Task, IsDestroyedUnstartedWithItsArguments) {
    auto witness = std::make_shared<int>(1);
    OneThread thread;
    Counter counter(thread.executor());
    {
        const auto task = counter.echo(witness);
    }
    EXPECT_EQ(witness.use_count(), 1);
}

TEST(AllInOrder, GivesTheResultsInTheOrderOfTheArguments) {
    OneThread thread;
    Counter counter(thread.executor());
    std::string trace;
    const auto results = thread.run([&] {
        return allInOrder(record(trace, thread.clock(), "slow ", 30ms), counter.echo(7),
                          record(trace, thread.clock(), "quick ", 10ms), counter.echo(std::string("x")));
    });
    EXPECT_EQ(trace, "quick slow ");
    EXPECT_EQ(std::get<1>(results), 7);
    EXPECT_EQ(std::get<3>(results), "x");
}

TEST(AllInOrder, ReportsTheFirstFailureInOrderAndReturnsAfterAllHaveEnded) {
    OneThread thread;
    int ended = 0;
    const auto before = thread.clock().now();
    std::string words;
    try {
        thread.run([&] {
            return allInOrder(failAfter(thread.clock(), 20ms, "first"), failAfter(thread.clock(), 1ms, "second"),
                              endAfter(thread.clock(), 1h, ended), endAfter(thread.clock(), 5ms, ended));
        });
    } catch (const std::runtime_error& error) {
        words = error.what();
    }
    EXPECT_EQ(words, "first");
    EXPECT_EQ(ended, 2);
    EXPECT_EQ(thread.clock().now() - before, 20ms) << "the hour's sleep was cancelled, not waited for";
}

TEST(Spawn, LetsManyWaitForTheEndAndFreesTheBodyBefore) {
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
    EXPECT_EQ(told, 0);
    thread.advance(5ms);
    thread.run([&]() -> Task<> { co_await task.end(); });
    EXPECT_EQ(told, 2);
}
