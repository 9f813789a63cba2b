#pragma once

#include "platform/async/Executor.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace veskline {

struct WatchCalls;

// Watches folders with all below them from the moment it starts, and hands each batch of changed paths to one callback.
// It knows nothing of scans and rules but where no scan would look, and sets up no watch there.
//
// A batch tells that something changed, never what: a creation, a change, a rename and a deletion read alike. Paths
// begin with the text of their root. A path may be told although nothing changed; a change is never passed over: where
// the system lost events, refused a watch or cannot tell what happened, the batch names the watched folder itself. A
// folder that is missing, replaced or mounted anew is found within a minute, and so are changes where no watch could be
// had. Changes from before the start are not told.
//
// One owner, who makes a new one for each run; all operations, and the callback, on the main thread. Nothing here ever
// waits for the disk: a reader thread of its own does, and ends by itself after stop(). Nothing is kept over a restart.
//
// Not seen: what another machine changes on a network file system, and a change made through a hard link from outside.
class DirectoryEventStream {
public:
    using PathsHandler = std::function<void(std::vector<std::string> paths)>;

    struct Options {
        // The time from the first change of a batch to its delivery.
        std::chrono::nanoseconds latency = std::chrono::seconds(1);
        // From one look at what no event tells of to the next.
        std::chrono::nanoseconds lookInterval = std::chrono::minutes(1);
        // Changes in these folders, which the agent makes itself, are not watched for.
        std::vector<std::string> ignoredFolders;
        // What the platform is asked; the system itself where there is none.
        std::shared_ptr<const WatchCalls> calls;
    };

    // Starts nothing. Each root is the absolute path of a folder, or of a link to one.
    DirectoryEventStream(std::vector<std::string> roots, async::Executor main, Options options,
                         PathsHandler onPathsChanged = {});
    DirectoryEventStream(std::vector<std::string> roots, async::Executor main)
        : DirectoryEventStream(std::move(roots), main, Options{}) {}
    // Performs stop().
    ~DirectoryEventStream();
    DirectoryEventStream(const DirectoryEventStream&) = delete;
    DirectoryEventStream& operator=(const DirectoryEventStream&) = delete;

    // Returns at once: the watch is set up meanwhile, and what changes until it stands is told. Does nothing while it
    // runs; stays idle, without a word, where the system gives no thread.
    void start();
    // Takes the callback away for good, so that a batch on its way reaches nobody. Does nothing more when idle.
    void stop();

    // Receives each batch; may call any operation, and may destroy the stream. Without one batches are dropped.
    PathsHandler onPathsChanged;

private:
    class Stream; // one run from start() to stop(), held by both threads
    class Reader; // what its thread does

    void deliver(std::vector<std::string> paths);

    const std::vector<std::string> roots_;
    const async::Executor main_;
    const Options options_;
    std::shared_ptr<Stream> stream_;
};

} // namespace veskline
