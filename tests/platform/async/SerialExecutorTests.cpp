#include "platform/async/SerialExecutor.h"
#include "platform/async/ThreadPool.h"
#include "simulation/OneThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

using namespace async;
using namespace std::chrono_literals;
using veskline::testing::OneThread;

namespace {

void increment(void* count) noexcept {
    ++*static_cast<int*>(count);
}

} // namespace

TEST(SerialExecutor, LetsOthersOfItsBaseHaveTheirTurnAndRunsAllAlsoWhenItIsGone) {
    OneThread thread;
    int busyJobs = 0;
    int otherJobs = 0;
    {
        const SerialExecutor busy(thread.executor());
        const SerialExecutor other(thread.executor());
        for (int i = 0; i < 1000; ++i) {
            busy.executor().post(Job{increment, &busyJobs});
        }
        other.executor().post(Job{increment, &otherJobs});
    }
    while (otherJobs == 0 && thread.step()) {
    }
    EXPECT_LE(busyJobs, 64);
    thread.settle();
    EXPECT_EQ(busyJobs, 1000);
}

// What a job has handed over waits for its thread: a next job in a row may not keep that thread.
TEST(SerialExecutor, EndsItsTurnAfterAJobThatHandedOver) {
    struct Work {
        std::promise<void> isQueued, isDone;
        std::future<void> queued = isQueued.get_future(), done = isDone.get_future();
        std::future_status seen = std::future_status::timeout;
        std::promise<void> isOver;
        ThreadPool pool{2};
        SerialExecutor busy{pool.executor()}, other{pool.executor()};
    } work;
    const auto post = [&work](const SerialExecutor& executor, void (*run)(void*) noexcept) {
        executor.executor().post(Job{run, &work});
    };
    post(work.busy, [](void* context) noexcept {
        auto& all = *static_cast<Work*>(context);
        all.queued.wait();
        const HandOver here;
        all.other.executor().post(Job{[](void* self) noexcept { static_cast<Work*>(self)->isDone.set_value(); }, &all});
    });
    post(work.busy, [](void* context) noexcept {
        auto& all = *static_cast<Work*>(context);
        all.seen = all.done.wait_for(10s);
        all.isOver.set_value();
    });
    work.isQueued.set_value();
    work.isOver.get_future().wait();
    EXPECT_EQ(work.seen, std::future_status::ready);
}

TEST(ThreadPool, ClosedDropsWhatIsQueuedAndWaitsForWhatRuns) {
    ThreadPool pool(1);
    struct Latch {
        std::atomic<bool> isRunning = false;
        std::atomic<bool> mayEnd = false;
    } latch;
    int later = 0;
    pool.executor().post(Job{[](void* job) noexcept {
                                 auto& both = *static_cast<Latch*>(job);
                                 both.isRunning = true;
                                 both.isRunning.notify_one();
                                 both.mayEnd.wait(false);
                             },
                             &latch});
    pool.executor().post(Job{increment, &later});
    latch.isRunning.wait(false);
    EXPECT_FALSE(pool.close(0ms)) << "its one job still runs";
    latch.mayEnd = true;
    latch.mayEnd.notify_one();
    EXPECT_TRUE(pool.close(10s));
    EXPECT_EQ(later, 0);
}
