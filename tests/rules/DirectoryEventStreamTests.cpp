#include "rules/DirectoryEventStream.h"
#include "rules/WatchCalls.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <optional>
#include <set>

using namespace veskline;
using namespace std::chrono_literals;
using Names = std::vector<std::string>;

namespace {

// The main thread, which is the test: jobs wait until it takes them.
class MainLoop {
public:
    [[nodiscard]] async::Executor executor() noexcept { return {&MainLoop::post, this}; }
    void waitForJob() {
        std::unique_lock lock(mutex_);
        if (!arrival_.wait_for(lock, 60s, [this] { return !jobs_.empty(); })) {
            throw std::runtime_error("no batch came");
        }
    }
    void runOne() {
        waitForJob();
        std::unique_lock lock(mutex_);
        const async::Job job = jobs_.front();
        jobs_.pop_front();
        lock.unlock();
        job.run(job.context);
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
    void start(Names roots) {
        stream_.emplace(std::move(roots), main_.executor(), options_, add);
        stream_->start();
    }
    void waitFor(const std::string& path) {
        while (!told_.contains(path)) {
            main_.runOne();
        }
    }

    TemporaryFolder folder_;
    MainLoop main_;
    std::shared_ptr<WatchCalls> calls_ = std::make_shared<WatchCalls>(WatchCalls::kernel());
    DirectoryEventStream::Options options_{.latency = 1ms, .lookInterval = 5ms, .ignoredFolders = {}, .calls = calls_};
    std::set<std::string> told_;
    const DirectoryEventStream::PathsHandler add = [this](const Names& paths) {
        told_.insert(paths.begin(), paths.end());
    };
    std::optional<DirectoryEventStream> stream_;
};

} // namespace

TEST_F(DirectoryEventStreamTest, TellsWhatChangesUnderEveryRootAlsoOneThatComesLater) {
    start({folder_.makeFolder("one"), folder_.at("later"), folder_.makeFolder("one/inner")});
    waitFor(folder_.write("one/deep/a.txt", ""));
    waitFor(folder_.write("one/inner/b.txt", ""));
    waitFor(folder_.makeFolder("later")); // while the watch stands
    waitFor(folder_.write("later/c.txt", ""));
}

TEST_F(DirectoryEventStreamTest, HoldsABatchForItsLatency) {
    options_.latency = 50ms;
    const auto begin = std::chrono::steady_clock::now(); // the folder itself, just made, may be the batch's first
    start({folder_.string()});
    waitFor(folder_.write("a.txt", ""));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, options_.latency);
}

TEST_F(DirectoryEventStreamTest, ReachesNobodyOnceItIsStoppedOrDestroyed) {
    start({folder_.string()});
    folder_.write("a.txt", "");
    main_.waitForJob();
    stream_->stop();
    EXPECT_FALSE(stream_->onPathsChanged);
    stream_->stop();
    stream_->onPathsChanged = add;
    main_.runOne();
    start({folder_.string()}); // destroys the one before; a batch of the new one outlives it
    folder_.write("b.txt", "");
    main_.waitForJob();
    stream_.reset();
    main_.runOne();
    EXPECT_EQ(told_, std::set<std::string>{});
}

TEST_F(DirectoryEventStreamTest, NeitherStartNorStopWaitsForTheSettingUp) {
    for (int i = 0; i < 10; ++i) {
        folder_.makeFolder(std::to_string(i));
    }
    std::promise<void> reached, released, ended;
    std::atomic<int> watches = 0;
    calls_->watch = [&, real = calls_->watch](int instance, int folder) {
        if (++watches == 3) {
            reached.set_value();
            released.get_future().wait();
        }
        return real(instance, folder);
    };
    // The last thing that a reader lets go of.
    options_.calls = std::shared_ptr<WatchCalls>(new WatchCalls(*calls_), [&](const WatchCalls* each) {
        delete each;
        ended.set_value();
    });
    start({folder_.string()});
    options_.calls.reset();
    reached.get_future().wait();
    stream_.reset();
    released.set_value();
    EXPECT_EQ(ended.get_future().wait_for(60s), std::future_status::ready);
    EXPECT_EQ(watches, 3);
}
