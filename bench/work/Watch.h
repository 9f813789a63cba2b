#pragma once

#include "measure/Changes.h"
#include "measure/Sample.h"
#include "platform/async/SerialExecutor.h"
#include "platform/async/ThreadPool.h"
#include "rules/DirectoryEventStream.h"
#include "rules/WatchCalls.h"

#include <cstdint>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace bench {

// The agent's change stream on a tree, with a look at what it asks the kernel: that tells when the watch stands, which
// the stream itself tells nobody.
class Watch {
public:
    // The tree has so many folders, itself among them. `changes` are those that will be made in it.
    Watch(const std::string& tree, std::int64_t folders, std::shared_ptr<const Changes> changes = nullptr);
    ~Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    // From the start until each folder is watched and listed to its end; counts the watches. Throws std::runtime_error
    // where that takes minutes.
    [[nodiscard]] Sample setUp();
    // From the first change to the delivery of the last one; counts the events.
    [[nodiscard]] Sample takeChanges();

private:
    struct SetUp;

    // They own what they look at: the reader may outlive the stream by a step.
    [[nodiscard]] std::shared_ptr<const veskline::WatchCalls> observedCalls() const;
    void takePaths(const std::vector<std::string>& paths);

    std::shared_ptr<const Changes> changes_;
    std::shared_ptr<SetUp> setUp_;
    async::ThreadPool pool_;
    async::SerialExecutor main_;
    veskline::DirectoryEventStream stream_;

    std::optional<Stopwatch> deliveryTime_; // while changes are made
    std::promise<Sample> deliveryCost_;
};

} // namespace bench
