#include "platform/async/SerialExecutor.h"
#include "platform/async/Spawn.h"
#include "platform/async/ThreadPool.h"
#include "support/OneThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

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
    Task<> enter(std::atomic<int>& inside, std::atomic<int>& most) {
        const int count = ++inside;
        most = std::max(most.load(), count);
        --inside;
        co_return;
    }
    std::string text;

private:
    SerialExecutor serial_;
};
static_assert(Actor<Diary>);

} // namespace

TEST(SerialExecutor, SerialisesOperationsThatStillInterleaveAtTheirWaits) {
    OneThread thread;
    Diary diary(thread.executor());
    const TaskHandle first = spawn(thread.executor(), [&] { return diary.write("a", thread.clock(), 20ms); });
    const TaskHandle second = spawn(thread.executor(), [&] { return diary.write("b", thread.clock(), 10ms); });
    thread.advance(30ms);
    EXPECT_EQ(diary.text, "a1 b1 b2 a2 ");
}

TEST(SerialExecutor, RunsOneJobAtATimeOnManyThreads) {
    ThreadPool pool(6);
    Diary diary(pool.executor());
    std::atomic<int> inside = 0;
    std::atomic<int> most = 0;
    std::vector<TaskHandle> tasks;
    for (int i = 0; i < 64; ++i) {
        tasks.push_back(spawn(pool.executor(), [&]() -> Task<> {
            for (int k = 0; k < 50; ++k) {
                co_await diary.enter(inside, most);
            }
        }));
    }
    for (const TaskHandle& task : tasks) {
        task.waitBlocking();
    }
    EXPECT_EQ(most, 1);
}

// A busy executor shares a single thread with another.
TEST(SerialExecutor, LetsOthersOfItsBaseHaveTheirTurn) {
    OneThread thread;
    SerialExecutor busy(thread.executor());
    SerialExecutor patient(thread.executor());
    struct Shared {
        int busyJobs = 0;
        int busyJobsBeforePatient = -1;
    } shared;
    for (int i = 0; i < 1000; ++i) {
        busy.executor().post(Job{[](void* s) noexcept { ++static_cast<Shared*>(s)->busyJobs; }, &shared});
    }
    patient.executor().post(Job{[](void* s) noexcept {
                                    auto& both = *static_cast<Shared*>(s);
                                    both.busyJobsBeforePatient = both.busyJobs;
                                },
                                &shared});
    thread.settle();
    EXPECT_EQ(shared.busyJobs, 1000);
    EXPECT_LE(shared.busyJobsBeforePatient, 64);
}

TEST(SerialExecutor, RunsWhatIsQueuedAlsoWhenItIsDestroyedBefore) {
    OneThread thread;
    int runs = 0;
    {
        const SerialExecutor gone(thread.executor());
        gone.executor().post(Job{[](void* count) noexcept { ++*static_cast<int*>(count); }, &runs});
    }
    thread.settle();
    EXPECT_EQ(runs, 1);
}

TEST(ThreadPool, ClosedDropsWhatIsQueuedAndWaitsForWhatRuns) {
    ThreadPool pool(1);
    struct Shared {
        std::atomic<bool> isRunning = false;
        std::atomic<bool> mayEnd = false;
        std::atomic<int> later = 0;
    } shared;
    pool.executor().post(Job{[](void* s) noexcept {
                                 auto& both = *static_cast<Shared*>(s);
                                 both.isRunning = true;
                                 both.isRunning.notify_one();
                                 both.mayEnd.wait(false);
                             },
                             &shared});
    pool.executor().post(Job{[](void* s) noexcept { ++static_cast<Shared*>(s)->later; }, &shared});
    shared.isRunning.wait(false);
    EXPECT_FALSE(pool.close(0ms)) << "its one job still runs";
    shared.mayEnd = true;
    shared.mayEnd.notify_one();
    EXPECT_TRUE(pool.close(10s));
    EXPECT_EQ(shared.later, 0);
}
