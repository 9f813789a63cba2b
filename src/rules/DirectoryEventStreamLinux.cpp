#include "platform/async/PostCall.h"
#include "platform/files/OpenDescriptor.h"
#include "rules/DirectoryEventStream.h"
#include "rules/PathBatch.h"
#include "rules/StartMoment.h"
#include "rules/WatchCalls.h"
#include "rules/WatchedRoot.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace veskline {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Instant = Clock::time_point;

// After events the reader lets some more come together: one wake-up for many, and equal ones become one in the kernel's
// queue. Short enough for that queue, which holds 16384, never to fill meanwhile.
constexpr auto gathering = 5ms;
// Enough to empty the kernel's queue.
constexpr int readsAtOnce = 64;
// Visits between two readings of events.
constexpr int visitsAtOnce = 64;
// How long the reader sleeps at most where nothing can wake it.
constexpr auto longestUnwakeableSleep = 1s;

std::shared_ptr<const WatchCalls> kernelCalls() {
    return std::make_shared<const WatchCalls>(WatchCalls::kernel(WatchCalls::takeOwnWorkingFolder()));
}

} // namespace

// What both threads hold. The owner ends it; from then on nothing is posted, and nothing that was posted is delivered.
class DirectoryEventStream::Stream {
public:
    // For the main thread.
    void end() {
        {
            const std::lock_guard lock(mutex_);
            isOver_ = true;
        }
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(wake_.number(), &one, sizeof one);
    }

    // For the reader.
    [[nodiscard]] const std::atomic<bool>& isOver() const noexcept { return isOver_; }
    [[nodiscard]] int wake() const noexcept { return wake_.number(); }
    [[nodiscard]] bool isDelivering() const noexcept { return isDelivering_; }
    static void post(const std::shared_ptr<Stream>& self, DirectoryEventStream* owner, std::vector<std::string> paths) {
        const std::lock_guard lock(self->mutex_);
        if (self->isOver_) {
            return;
        }
        self->isDelivering_ = true;
        // The owner lives as long as its stream is not over, and ends it on the thread that runs this.
        async::postCall(owner->main_, [self, owner, batch = std::move(paths)]() mutable {
            self->isDelivering_ = false;
            if (!self->isOver_) {
                owner->deliver(std::move(batch));
            }
        });
    }

private:
    const platform::OpenDescriptor wake_{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    std::mutex mutex_;
    std::atomic<bool> isOver_ = false;
    std::atomic<bool> isDelivering_ = false;
};

// All of it, the constructor too, on the thread of its own.
class DirectoryEventStream::Reader {
public:
    Reader(std::shared_ptr<Stream> stream, DirectoryEventStream* owner, const std::vector<std::string>& roots,
           const Options& options)
        : stream_(std::move(stream)), owner_(owner), lookInterval_(options.lookInterval),
          calls_(options.calls ? options.calls : kernelCalls()), batch_(roots, options.latency) {
        const WatchedRoot::Surroundings surroundings{
            .calls = calls_,
            .report = [this](std::string path) { batch_.add(std::move(path), Clock::now()); },
            .ignoredFolders = options.ignoredFolders,
            .isStopped = &stream_->isOver(),
        };
        for (const std::string& root : roots) {
            roots_.emplace_back(root, surroundings);
        }
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    void run(StartMoment since) {
        for (WatchedRoot& root : roots_) {
            root.begin(since);
        }
        nextLook_ = now_ + lookInterval_;
        while (!stream_->isOver()) {
            const bool hadEvents = readEvents();
            work();
            now_ = Clock::now();
            lookWhereDue();
            deliverWhereDue();
            wait(hadEvents);
        }
    }

private:
    bool readEvents() {
        bool hadEvents = false;
        for (WatchedRoot& root : roots_) {
            for (int i = 0; i < readsAtOnce && root.readEvents(); ++i) {
                hadEvents = true;
            }
        }
        return hadEvents;
    }

    void work() {
        for (WatchedRoot& root : roots_) {
            for (int i = 0; i < visitsAtOnce && root.nextWork() <= now_ && !stream_->isOver(); ++i) {
                root.work();
            }
        }
    }

    void lookWhereDue() {
        if (now_ >= nextLook_) {
            std::ranges::for_each(roots_, &WatchedRoot::look);
            nextLook_ = now_ + lookInterval_;
        }
    }

    // One batch at a time is on its way, so that a busy main thread is not buried in them.
    void deliverWhereDue() {
        if (!batch_.due() || *batch_.due() > now_) {
            return;
        }
        if (stream_->isDelivering()) {
            batch_.postpone(now_);
        } else {
            Stream::post(stream_, owner_, batch_.take());
        }
    }

    void wait(bool isGathering) {
        Instant until = std::min(nextLook_, batch_.due().value_or(Instant::max()));
        for (const WatchedRoot& root : roots_) {
            until = std::min(until, root.nextWork());
        }
        if (isGathering) {
            until = std::min(until, now_ + gathering);
        }
        if (until <= now_) {
            return;
        }
        std::vector<struct pollfd> sources{{.fd = stream_->wake(), .events = POLLIN, .revents = 0}};
        for (std::size_t i = 0; i < roots_.size() && !isGathering; ++i) {
            sources.push_back({.fd = roots_[i].instance(), .events = POLLIN, .revents = 0});
        }
        const std::chrono::nanoseconds span =
            stream_->wake() < 0 ? std::min<std::chrono::nanoseconds>(until - now_, longestUnwakeableSleep)
                                : until - now_;
        const auto seconds = std::chrono::floor<std::chrono::seconds>(span);
        const struct timespec timeout{.tv_sec = seconds.count(), .tv_nsec = (span - seconds).count()};
        calls_->rest();
        ::ppoll(sources.data(), sources.size(), &timeout, nullptr);
        now_ = Clock::now();
    }

    const std::shared_ptr<Stream> stream_;
    DirectoryEventStream* const owner_; // only for Stream::post
    const std::chrono::nanoseconds lookInterval_;
    const std::shared_ptr<const WatchCalls> calls_;
    PathBatch batch_;
    std::deque<WatchedRoot> roots_;
    Instant now_ = Clock::now();
    Instant nextLook_;
};

DirectoryEventStream::DirectoryEventStream(std::vector<std::string> roots, async::Executor main, Options options,
                                           PathsHandler handler)
    : onPathsChanged(std::move(handler)), roots_(std::move(roots)), main_(main), options_(std::move(options)) {}

DirectoryEventStream::~DirectoryEventStream() {
    stop();
}

void DirectoryEventStream::start() {
    if (stream_) {
        return;
    }
    const StartMoment since = StartMoment::now();
    stream_ = std::make_shared<Stream>();
    try {
        // Not joined: a folder on a dead network mount can hold the reader for minutes.
        std::thread([stream = stream_, owner = this, roots = roots_, options = options_, since] {
            ::pthread_setname_np(::pthread_self(), "file changes");
            Reader(stream, owner, roots, options).run(since);
        }).detach();
    } catch (const std::system_error&) {
        stream_.reset(); // no thread was to be had; without one no event comes
    }
}

void DirectoryEventStream::stop() {
    onPathsChanged = nullptr;
    if (stream_) {
        stream_->end();
        stream_.reset();
    }
}

void DirectoryEventStream::deliver(std::vector<std::string> paths) {
    // A copy: the callback may stop the stream, which takes the callback away.
    if (const PathsHandler handler = onPathsChanged) {
        handler(std::move(paths));
    }
}

} // namespace veskline
