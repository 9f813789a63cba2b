#include "platform/async/SerialExecutor.h"
#include "platform/async/ThreadPool.h"
#include "simulation/OneThread.h"

#include <gtest/gtest.h>

#include <atomic>

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
