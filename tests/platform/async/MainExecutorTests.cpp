#include "platform/async/MainExecutor.h"
#include "platform/async/SerialExecutor.h"
#include "platform/async/Spawn.h"
#include "platform/async/ThreadPool.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <gtest/gtest.h>

#include <string>
#include <thread>

using namespace async;

namespace {

class MainExecutorTest : public ::testing::Test {
protected:
    // Runs the loop until `isDone` holds.
    template <class Condition>
    void loopUntil(Condition isDone) {
        while (!isDone()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }
    int argc_ = 1;
    char name_[5] = "test";
    char* argv_[2] = {name_, nullptr};
    QCoreApplication application_{argc_, argv_};
    MainExecutor main_;
};

class Away {
public:
    explicit Away(Executor base) : serial_(base) {}
    [[nodiscard]] Executor executor() const noexcept { return serial_.executor(); }
    Task<int> fetch(int value) { co_return value; }

private:
    SerialExecutor serial_;
};

void increment(void* count) noexcept {
    ++*static_cast<int*>(count);
}

// A job that posts itself again for ever: a loop that ran its jobs to the end would never come to its timers.
struct Flood {
    Executor executor;
    bool isOver = false;
    static void run(void* flood) noexcept {
        const auto& self = *static_cast<Flood*>(flood);
        if (!self.isOver) {
            self.executor.post(Job{&Flood::run, flood});
        }
    }
};

} // namespace

TEST_F(MainExecutorTest, BringsACoroutineBackToTheMainThreadAndLosesNoThreadsJob) {
    ThreadPool pool;
    Away away(pool.executor());
    bool isHere = true;
    int count = 0;
    const auto home = std::this_thread::get_id();
    std::thread poster([&] {
        for (int i = 0; i < 20'000; ++i) {
            main_.executor().post(Job{increment, &count});
        }
    });
    const TaskHandle task = spawn(main_.executor(), [&]() -> Task<> {
        for (int i = 0; i < 500; ++i) {
            isHere = isHere && co_await away.fetch(i) == i && std::this_thread::get_id() == home;
        }
    });
    loopUntil([&] { return task.hasEnded() && count == 20'000; });
    poster.join();
    EXPECT_TRUE(isHere);
}

TEST_F(MainExecutorTest, GoesOnInsideANestedLoopAndAfterIt) {
    std::string trace;
    const TaskHandle dialog = spawn(main_.executor(), [&]() -> Task<> {
        trace += "open ";
        QEventLoop nested;
        const TaskHandle inside = spawn(main_.executor(), [&]() -> Task<> {
            trace += "inside ";
            nested.quit();
            co_return;
        });
        nested.exec();
        trace += "closed ";
        co_return;
    });
    const TaskHandle queuedBehind = spawn(main_.executor(), [&]() -> Task<> {
        trace += "behind ";
        co_return;
    });
    loopUntil([&] { return dialog.hasEnded() && queuedBehind.hasEnded(); });
    EXPECT_EQ(trace, "open behind inside closed ");
}

TEST_F(MainExecutorTest, LeavesTheLoopItsTurnUnderAFlood) {
    Flood flood{main_.executor()};
    flood.executor.post(Job{&Flood::run, &flood});
    QTimer::singleShot(0, [&] { flood.isOver = true; });
    loopUntil([&] { return flood.isOver; });
    QCoreApplication::processEvents();
}
