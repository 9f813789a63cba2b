#include "platform/async/SharedWork.h"

#include "platform/async/PostCall.h"
#include "platform/async/ThreadPool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <set>
#include <thread>
#include <vector>

using namespace async;

TEST(SharedWork, DoesEachPieceOnceAndAllBeforeItReturns) {
    ThreadPool pool;
    for (std::size_t count = 0; count < 2'000; ++count) {
        std::vector<int> done(count % 50);
        shareOut(pool.executor(), done.size(), [&](std::size_t piece) { ++done[piece]; });
        ASSERT_EQ(done, std::vector<int>(done.size(), 1));
    }
}

TEST(SharedWork, IsDoneByTwoThreadsAtATime) {
    ThreadPool pool;
    std::latch both(2);
    std::atomic<std::thread::id> helper;
    shareOut(pool.executor(), 2, [&](std::size_t) {
        both.arrive_and_wait();
        if (const std::thread::id here = std::this_thread::get_id(); here != helper.load()) {
            helper = here;
        }
    });
    EXPECT_NE(helper.load(), std::thread::id());
}

TEST(SharedWork, WaitsForNoHelperThatHasNoTime) {
    std::vector<int> done(100);
    std::latch end(1);
    {
        ThreadPool pool(1);
        // On the only thread itself, so that the helper's turn comes when all is over.
        postCall(pool.executor(), [&] {
            shareOut(pool.executor(), done.size(), [&](std::size_t piece) { ++done[piece]; });
            end.count_down();
        });
        end.wait();
    }
    EXPECT_EQ(done, std::vector<int>(100, 1));
    shareOut({}, done.size(), [&](std::size_t piece) { ++done[piece]; });
    EXPECT_EQ(done, std::vector<int>(100, 2));
}
