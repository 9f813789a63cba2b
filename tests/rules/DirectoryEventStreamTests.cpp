#include "rules/DirectoryEventStream.h"
#include "rules/WatchCalls.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <optional>
#include <set>

namespace veskline {

namespace {

using namespace std::chrono_literals;
using Names = std::vector<std::string>;
constexpr auto patience = 60s;

// The main thread, which is the test: jobs wait until it takes them.
class MainLoop {
public:
    [[nodiscard]] async::Executor executor() noexcept { return {&MainLoop::post, this}; }
    void runOne() {
        std::unique_lock lock(mutex_);
        if (!arrival_.wait_for(lock, patience, [this] { return !jobs_.empty(); })) {
            throw std::runtime_error("no batch came");
        }
        const async::Job job = jobs_.front();
        jobs_.pop_front();
        lock.unlock();
        job.run(job.context);
    }
    void waitForJob() {
        std::unique_lock lock(mutex_);
        ASSERT_TRUE(arrival_.wait_for(lock, patience, [this] { return !jobs_.empty(); }));
    }

private:
    static void post(void* self, async::Job job) {
        auto& loop = *static_cast<MainLoop*>(self);
        const std::lock_guard lock(loop.mutex_);
        loop.jobs_.push_back(job);
        loop.arrival_.notify_all();
    }
    std::mutex mutex_;
    std::condition_variable arrival_;
    std::deque<async::Job> jobs_;
};

class DirectoryEventStreamTest : public ::testing::Test {
protected:
    DirectoryEventStream& make(Names roots = {}) {
        if (roots.empty()) {
            roots = {folder_.string()};
        }
        stream_.emplace(std::move(roots), main_.executor(), options_,
                        [this](const Names& paths) { told_.insert(paths.begin(), paths.end()); });
        return *stream_;
    }
    void waitFor(const std::string& path) {
        while (!told_.contains(path)) {
            main_.runOne();
        }
    }

    TemporaryFolder folder_;
    MainLoop main_;
    std::shared_ptr<WatchCalls> calls_ = std::make_shared<WatchCalls>(WatchCalls::kernel());
    DirectoryEventStream::Options options_{.latency = 1ms, .lookInterval = 5ms, .ignoredFolders = {}, .calls = nullptr};
    std::optional<DirectoryEventStream> stream_;
    std::set<std::string> told_;
};

} // namespace

TEST_F(DirectoryEventStreamTest, TellsWhatChangesUnderEveryRoot) {
    const Names roots{folder_.makeFolder("one"), folder_.at("later"), folder_.makeFolder("one/inner")};
    make(roots).start();
    folder_.makeFolder("later");
    waitFor(folder_.at("later"));
    for (int round = 0; round < 3; ++round) {
        waitFor(folder_.write("one/deep/a.txt", std::to_string(round)));
        waitFor(folder_.write("one/inner/b.txt", std::to_string(round)));
        waitFor(folder_.write("later/c.txt", std::to_string(round)));
        told_.clear();
    }
}

TEST_F(DirectoryEventStreamTest, HoldsABatchForItsLatency) {
    options_.latency = 50ms;
    const auto begin = std::chrono::steady_clock::now(); // the folder itself, just made, may be the batch's first
    make().start();
    waitFor(folder_.write("a.txt", ""));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, options_.latency);
}

TEST_F(DirectoryEventStreamTest, ReachesNobodyOnceItIsStopped) {
    make().start();
    folder_.write("a.txt", "");
    main_.waitForJob();
    stream_->stop();
    EXPECT_FALSE(stream_->onPathsChanged);
    stream_->stop();
    stream_->onPathsChanged = [&](const Names&) { FAIL() << "a batch of the run before"; };
    main_.runOne();

    make().start(); // destroys the one before; a batch of the new one outlives it
    folder_.write("b.txt", "");
    main_.waitForJob();
    stream_.reset();
    main_.runOne();
    EXPECT_EQ(told_, std::set<std::string>{});
}

TEST_F(DirectoryEventStreamTest, MayBeDestroyedByItsCallback) {
    make().start();
    auto held = std::make_shared<int>(7);
    stream_->onPathsChanged = [this, held](const Names& paths) {
        stream_.reset();
        told_.insert(paths.begin(), paths.end());
    };
    waitFor(folder_.write("a.txt", ""));
    EXPECT_FALSE(stream_);
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(DirectoryEventStreamTest, StartsOnceUntilItIsStopped) {
    std::atomic<int> instances = 0;
    calls_->createInstance = [&, real = calls_->createInstance] {
        ++instances;
        return real();
    };
    options_.calls = calls_;
    make().start();
    stream_->start();
    waitFor(folder_.write("a.txt", ""));
    EXPECT_EQ(instances, 1);
    stream_->stop();
    stream_->onPathsChanged = [&](const Names& paths) { told_.insert(paths.begin(), paths.end()); };
    stream_->start();
    waitFor(folder_.write("b.txt", ""));
    EXPECT_EQ(instances, 2);
    stream_->stop();
}

TEST_F(DirectoryEventStreamTest, NeitherStartNorStopWaitsForTheSettingUp) {
    for (int i = 0; i < 10; ++i) {
        folder_.makeFolder(std::to_string(i));
    }
    std::promise<void> reached, released;
    std::promise<void> ended;
    std::atomic<int> watches = 0;
    calls_->watch = [&, real = calls_->watch](int instance, int folder) {
        if (++watches == 3) {
            reached.set_value();
            released.get_future().wait();
        }
        return real(instance, folder);
    };
    // The last thing that a reader lets go of.
    std::shared_ptr<WatchCalls> calls(new WatchCalls(*calls_), [&](const WatchCalls* each) {
        delete each;
        ended.set_value();
    });
    options_.calls = std::move(calls);
    make().start();
    options_.calls.reset();
    reached.get_future().wait();
    stream_.reset();
    released.set_value();
    EXPECT_EQ(ended.get_future().wait_for(patience), std::future_status::ready);
    EXPECT_EQ(watches, 3);
}

} // namespace veskline
