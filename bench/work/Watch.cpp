#include "work/Watch.h"

#include "platform/async/Spawn.h"

#include <algorithm>
#include <chrono>
#include <span>
#include <stdexcept>
#include <utility>

namespace bench {

namespace {

using namespace veskline;

// So short that waiting for a batch to be due is little of what is measured.
constexpr auto latency = std::chrono::milliseconds(10);

Sample require(std::promise<Sample>& cost) {
    std::future<Sample> future = cost.get_future();
    if (future.wait_for(std::chrono::minutes(2)) != std::future_status::ready) {
        throw std::runtime_error("the change stream did not get there within two minutes");
    }
    return future.get();
}

} // namespace

struct Watch::SetUp {
    std::int64_t unlisted;
    std::int64_t watches = 0;
    std::optional<Stopwatch> time = std::nullopt;
    std::promise<Sample> cost = {};
};

Watch::Watch(const std::string& tree, std::int64_t folders, std::shared_ptr<const Changes> changes)
    : changes_(std::move(changes)), setUp_(std::make_shared<SetUp>(folders)), main_(pool_.executor()),
      stream_({tree}, main_.executor(), {.latency = latency, .ignoredFolders = {}, .calls = observedCalls()},
              [this](const std::vector<std::string>& paths) { takePaths(paths); }) {}

Watch::~Watch() {
    const auto stop = [this]() -> async::Task<> {
        stream_.stop();
        co_return;
    };
    async::runBlocking(main_.executor(), stop);
}

// This thread begins the reader, which takes its working folder over.
std::shared_ptr<const WatchCalls> Watch::observedCalls() const {
    const WatchCalls kernel = WatchCalls::kernel(WatchCalls::takeOwnWorkingFolder());
    auto calls = std::make_shared<WatchCalls>(kernel);
    calls->watch = [kernel, setUp = setUp_](int instance, int folder) {
        const int watch = kernel.watch(instance, folder);
        setUp->watches += watch >= 0 ? 1 : 0;
        return watch;
    };
    calls->list = [kernel, setUp = setUp_](int folder, std::span<std::byte> buffer) {
        const ssize_t count = kernel.list(folder, buffer);
        if (count == 0 && --setUp->unlisted == 0) {
            setUp->cost.set_value(setUp->time->stop(setUp->watches));
        }
        return count;
    };
    if (changes_) {
        calls->read = [kernel, changes = changes_](int instance, std::span<std::byte> buffer) {
            const ssize_t count = kernel.read(instance, buffer);
            changes->take(buffer.first(static_cast<std::size_t>(std::max<ssize_t>(count, 0))));
            return count;
        };
    }
    return calls;
}

// Nothing else uses the stream yet, so this thread may begin it.
Sample Watch::setUp() {
    setUp_->time.emplace();
    stream_.start();
    return require(setUp_->cost);
}

Sample Watch::takeChanges() {
    deliveryTime_.emplace();
    changes_->begin();
    return require(deliveryCost_);
}

void Watch::takePaths(const std::vector<std::string>& paths) {
    if (std::ranges::find(paths, changes_->newFile()) != paths.end()) {
        deliveryCost_.set_value(deliveryTime_->stop(changes_->taken()));
    }
}

} // namespace bench
