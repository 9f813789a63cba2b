#include "platform/files/DirectoryWalk.h"

#include "platform/async/PostCall.h"
#include "platform/files/FolderWalker.h"
#include "platform/files/Paths.h"

#include <condition_variable>
#include <dirent.h>
#include <exception>
#include <fcntl.h>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace platform::DirectoryWalk {

namespace {

// A walk by one thread, and by a second one once that has time: whoever has nothing left to see takes a part of what
// the other still has. Both own it, as the second may come when all is over; it then touches nothing else.
class SharedWalk {
public:
    SharedWalk(const std::string& root, const Visitor& visitor, const Visitor& helpersVisitor,
               const std::atomic<bool>* stop, const Calls& calls)
        : own_(root, visitor, stop, calls), helpers_(root, helpersVisitor, stop, calls) {}

    // On the calling thread, until both have seen all. Throws what a visitor threw.
    Outcome run() {
        see(own_, [this] { return own_.enterRoot(); });
        waitForEnd();
        if (failure_) {
            std::rethrow_exception(failure_);
        }
        return together();
    }

    // On the second thread.
    void help() {
        if (join()) {
            see(helpers_, [this] { return take(); });
        }
    }

private:
    template <class First>
    void see(FolderWalker& walker, const First& first) noexcept {
        try {
            for (std::optional<Rest> rest = first(); rest; rest = take()) {
                walker.walk(std::move(*rest), [this](Rest& mine) { share(mine); });
            }
        } catch (...) {
            breakOff(std::current_exception());
        }
    }

    // Between any two folders, so it costs next to nothing while both have enough to see.
    void share(Rest& mine) {
        if (isWanted_.load(std::memory_order_relaxed)) {
            if (std::optional<Rest> part = mine.split()) {
                give(std::move(*part));
            }
        }
    }

    void give(Rest part) {
        const std::lock_guard lock(mutex_);
        given_ = std::move(part);
        isWanted_ = false;
        changed_.notify_all();
    }

    // False when all is seen.
    bool join() {
        const std::lock_guard lock(mutex_);
        const bool isOver = busy_ == 0;
        busy_ += isOver ? 0 : 1;
        return !isOver;
    }

    // Waits for something to see; none when all is seen.
    std::optional<Rest> take() {
        std::unique_lock lock(mutex_);
        --busy_;
        ++waiting_;
        isWanted_ = !given_;
        changed_.notify_all();
        changed_.wait(lock, [this] { return given_ || busy_ == 0; });
        --waiting_;
        if (!given_) {
            return std::nullopt;
        }
        ++busy_;
        isWanted_ = waiting_ > 0;
        return std::exchange(given_, std::nullopt);
    }

    void breakOff(std::exception_ptr failure) {
        const std::lock_guard lock(mutex_);
        --busy_;
        failure_ = std::move(failure);
        given_.reset();
        changed_.notify_all();
    }

    void waitForEnd() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return busy_ == 0; });
    }

    Outcome together() {
        Outcome all = std::move(own_.outcome());
        Outcome& helpers = helpers_.outcome();
        std::ranges::move(helpers.failures, std::back_inserter(all.failures));
        std::ranges::move(helpers.fileSystems, std::back_inserter(all.fileSystems));
        if (own_.isStopped()) {
            all.failures.push_back({.path = own_.root(), .reason = "the listing was broken off"});
        }
        return all;
    }

    FolderWalker own_;
    FolderWalker helpers_;
    std::atomic<bool> isWanted_ = false; // by who waits for something to see

    std::mutex mutex_; // guards the rest
    std::condition_variable changed_;
    int busy_ = 1; // with something to see
    int waiting_ = 0;
    std::optional<Rest> given_; // not yet taken
    std::exception_ptr failure_;
};

} // namespace

Calls Calls::kernel() {
    return {
        .read = [](int folder,
                   std::span<std::byte> buffer) { return ::getdents64(folder, buffer.data(), buffer.size()); },
        .stat =
            [](int folder, const char* name, struct stat& found) {
                return *name == '\0' ? ::fstat(folder, &found) : ::fstatat(folder, name, &found, AT_SYMLINK_NOFOLLOW);
            },
        .identify = [](int folder) { return fileSystemIdentity(folder); },
    };
}

Outcome run(const std::string& root, const Visitor& visitor, const std::atomic<bool>* stop, const Calls& calls,
            const Helper& helper) {
    const auto walk = std::make_shared<SharedWalk>(root, visitor, helper.visitor, stop, calls);
    if (helper.executor) {
        async::postCall(helper.executor, [walk] { walk->help(); });
    }
    return walk->run();
}

} // namespace platform::DirectoryWalk
