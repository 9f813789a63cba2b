#include "platform/async/MainExecutor.h"
#include "platform/async/Spawn.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <gtest/gtest.h>

#include <string>

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

TEST_F(MainExecutorTest, GoesOnInsideANestedLoopAndAfterIt) {
    std::string trace;
    QEventLoop nested;
    const TaskHandle dialog = spawn(main_.executor(), [&]() -> Task<> {
        trace += "open ";
        nested.exec();
        trace += "closed ";
        co_return;
    });
    const TaskHandle queuedBehind = spawn(main_.executor(), [&]() -> Task<> {
        trace += "behind ";
        nested.quit();
        co_return;
    });
    loopUntil([&] { return dialog.hasEnded() && queuedBehind.hasEnded(); });
    EXPECT_EQ(trace, "open behind closed ");
}

TEST_F(MainExecutorTest, LeavesTheLoopItsTurnUnderAFlood) {
    Flood flood{main_.executor()};
    flood.executor.post(Job{&Flood::run, &flood});
    QTimer::singleShot(0, [&] { flood.isOver = true; });
    loopUntil([&] { return flood.isOver; });
    QCoreApplication::processEvents();
}
