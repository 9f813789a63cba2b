#include "platform/async/SerialExecutor.h"
#include "platform/async/Spawn.h"
#include "platform/async/ThreadPool.h"
#include "support/OneThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>

using namespace async;
using namespace std::chrono_literals;
using veskline::testing::OneThread;

namespace {

class Diary {
public:
    explicit Diary(Executor base) : serial_(base) {}
    [[nodiscard]] Executor executor() const noexcept { return serial_.executor(); }

    // Two steps with a door between them.
    Task<> write(std::string name, Clock clock, std::chrono::milliseconds span) {
        text += name + "1 ";
        co_await clock.sleepFor(span);
        text += name + "2 ";
    }
    std::string text;

private:
    SerialExecutor serial_;
};

void increment(void* count) noexcept {
    ++*static_cast<int*>(count);
}

} // namespace

TEST(SerialExecutor, SerialisesOperationsThatStillInterleaveAtTheirWaits) {
    OneThread thread;
    Diary diary(thread.executor());
    const TaskHandle first = spawn(thread.executor(), [&] { return diary.write("a", thread.clock(), 20ms); });
    const TaskHandle second = spawn(thread.executor(), [&] { return diary.write("b", thread.clock(), 10ms); });
    thread.advance(30ms);
    EXPECT_EQ(diary.text, "a1 b1 b2 a2 ");
}

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
